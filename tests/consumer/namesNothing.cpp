// A program that names nothing of the libraries that it is linked with.

#include <cstdio>

int main()
{
    std::puts("main");
}
