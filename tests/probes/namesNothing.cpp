// A program that is linked with the preferences and uses none of their symbols.

#include "talmo/StartupGuard.h"

#include <cstdio>

int main()
{
    Talmo::enterMain();
    std::puts("main");
}
