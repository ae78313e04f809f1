// Prints docs/instructions.md.
#include "instruction_list/instruction_list.h"

#include <cstdio>

int main()
{
    return std::fputs(instruction_list().c_str(), stdout) == EOF || std::fflush(stdout) != 0;
}
