// A program that is linked with the preferences and names nothing of theirs.

#include "talmo/StartupGuard.h"

#include <cstdio>

int main()
{
    mainHasBeenEntered = true;
    std::puts("main");
}
