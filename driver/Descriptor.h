#pragma once

#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

/// Owns a file descriptor.
class Descriptor
{
public:
    explicit Descriptor(int openDescriptor = -1)
        : number(openDescriptor)
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

struct DirectoryCloser {
    void operator()(DIR *directory) const { closedir(directory); }
};

/// Owns a directory that is being listed.
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

/// The access for a directory that we only enter or ask about. With O_PATH it need not be readable.
#ifdef O_PATH
constexpr int asPlace = O_PATH;
#else
constexpr int asPlace = O_RDONLY;
#endif

inline Descriptor openDirectory(const char *path, int access)
{
    return Descriptor(open(path, access | O_DIRECTORY | O_CLOEXEC));
}
