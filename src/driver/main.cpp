#include "driver/assembler.h"

int main(int argc, char **argv)
{
    return run_assembler(argc, argv);
}
