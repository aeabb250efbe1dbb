// usage: sim FILE
// A simulation program: doubles the numbers in a file.

#include <fstream>
#include <iostream>

int main(int argc, char *argv[])
{
    if (argc != 2)
        return 2;
    std::ifstream file(argv[1]);
    for (double number; file >> number;)
        std::cout << 2 * number << '\n';
}
