#pragma once

#include <utility>

#include <unistd.h>

/// Owns a file descriptor of the system's.
class Descriptor
{
public:
    explicit Descriptor(int openDescriptor = -1)
        : number(openDescriptor)
    {
    }
    Descriptor(Descriptor &&other) noexcept
        : number(std::exchange(other.number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor()
    {
        if (isOpen())
            close(number);
    }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }

private:
    int number;
};
