// The whole program behind main().
#pragma once

// Assembles the source files that the command line names. Gives the exit status: 0 when every file
// assembled without error, else 1.
int run_assembler(int argc, char **argv);
