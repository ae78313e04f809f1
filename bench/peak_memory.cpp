// Runs a program and prints the greatest amount of memory that it held, in KiB. A program of its
// own, since what a process holds before it becomes another counts for that one, too: this one is
// small.

#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: peak_memory program [argument...]\n");
        return 2;
    }
    const pid_t child = fork();
    if (child == 0) {
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    int status;
    struct rusage usage;
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
        return 1;
    std::printf("%ld\n", usage.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
