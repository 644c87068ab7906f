// A library that refuses to be unloaded, with a variable to tell its copies apart.
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) int countCalls();

int countCalls()
{
    static int calls = 0;
    getpid(); // makes the library need another one, however sparing the linker is
    return ++calls;
}
