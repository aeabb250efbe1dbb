// The table of the jobs, and what several of them use. See unavoidable.h.

#include "unavoidable.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Unavoidable
{

MappedFile::MappedFile(const std::string &name)
{
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0)
        return;
    // The address space of one page more is taken first, so that there is something behind the end.
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const auto length = static_cast<size_t>(status.st_size);
    const size_t pages = (length / page + 2) * page;
    void *const space = mmap(nullptr, pages, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (space != MAP_FAILED) {
        begin = static_cast<const char *>(space);
        reserved = pages;
        const int flags = MAP_PRIVATE | MAP_FIXED | MAP_POPULATE;
        if (length > 0 && mmap(space, length, PROT_READ, flags, file, 0) != MAP_FAILED)
            size = length;
    }
    close(file);
}

MappedFile::~MappedFile()
{
    if (reserved > 0)
        munmap(const_cast<char *>(begin), reserved);
}

bool writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0)
            return false;
        text.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

bool readNumber(std::string_view word, double &value)
{
    const bool negative = word.substr(0, 1) == "-";
    if (negative || word.substr(0, 1) == "+")
        word.remove_prefix(1);
    if (word.find_first_of("0123456789.") != 0) // a second sign, or "nan"
        return false;
    const char *const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (stop != end || error == std::errc::invalid_argument)
        return false;
    if (error == std::errc::result_out_of_range) // too large, or so small that it rounds to 0
        value = std::strtod(std::string(word).c_str(), nullptr);
    value = negative ? -value : value;
    return std::isfinite(value);
}

namespace
{

struct Job {
    const char *name;
    size_t argumentCount;
    int (*function)(const Arguments &arguments);
};

const Job jobs[] = {
    {"compare-columns", 4, compareColumns},
    {"compare-exactly", 2, compareExactly},
    {"testbeam", 10, testBeam},
    {"file", 2, bodyOfFile},
    {"scripts", 1, scripts},
    {"runs", 1, runs},
    {"evaluate", 1, evaluate},
    {"expand", 2, expand},
};

} // namespace

} // namespace Unavoidable

int main(int argc, char *argv[])
{
    const Unavoidable::Arguments words(argv, argv + argc);
    for (const Unavoidable::Job &job : Unavoidable::jobs) {
        if (words.size() == job.argumentCount + 2 && words[1] == job.name)
            return job.function({words.begin() + 2, words.end()});
    }
    std::fputs("usage: unavoidable JOB ARGUMENT ...; unavoidable.h names them\n", stderr);
    return 2;
}
