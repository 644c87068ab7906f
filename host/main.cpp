#include "program.h"

#include <iostream>

int main(int argc, char **argv)
{
    std::ios::sync_with_stdio(false);
    return rtu::runProgram(argc, argv, std::cout, std::cerr);
}
