#include "host/commands/program.h"

#include <csignal>
#include <iostream>

int main(int argc, char **argv)
{
    std::ios::sync_with_stdio(false);
    // A reader that goes away is noticed by the failing write, which lets the program tidy up.
    std::signal(SIGPIPE, SIG_IGN);
    return rtu::runProgram(argc, argv, std::cout, std::cerr);
}
