#pragma once

#include <csignal>

#include <sys/resource.h>

/// While it lives, a file of this process takes no more than some bytes, as if a disk were full.
class SmallDisk
{
public:
    explicit SmallDisk(rlim_t size)
        : handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit now = {size, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    rlimit before = {};
    void (*handler)(int);
};
