#include "talmo/Console.h"

#include <cstdio>

int main()
{
    Talmo::Console::printf("text without a newline; ");
    Talmo::Console::window();
    std::puts("after");
}
