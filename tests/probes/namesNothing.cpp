// A program that is linked with the preferences and names nothing of theirs.

#include "talmo/StartupGuard.h"

#include <cstdio>

int main()
{
    Talmo::enterMain();
    std::puts("main");
}
