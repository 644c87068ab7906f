// A library that refuses to be unloaded, with a variable to tell its copies apart.

extern "C" __attribute__((visibility("default"))) int countCalls();

int countCalls()
{
    static int calls = 0;
    return ++calls;
}
