#pragma once

// Programs that do only what a job of ours needs at the least, with nothing but POSIX and the
// standard library: what is left of the time of a job when all that could be saved is saved.

#include <string>
#include <string_view>
#include <vector>

namespace Unavoidable
{

using Arguments = std::vector<std::string>;

// Each takes the words after its name, and returns the exit status.
int compareColumns(const Arguments &arguments); ///< FILE1 FILE2 COLUMNS TOLERANCE
int compareExactly(const Arguments &arguments); ///< FILE1 FILE2
int testBeam(const Arguments &arguments);       ///< FILE X0 X1 NX Y0 Y1 NY Z PDGID PZ
int bodyOfFile(const Arguments &arguments);     ///< SCRIPT FILE
int scripts(const Arguments &arguments);        ///< FOLDER
int runs(const Arguments &arguments);           ///< FOLDER
int evaluate(const Arguments &arguments);       ///< FILE
int expand(const Arguments &arguments);         ///< MACROS FILE

/// A file in memory, to be read only; empty if it cannot be mapped. At least eight bytes behind its
/// end can be read too, and are 0.
class MappedFile
{
public:
    explicit MappedFile(const std::string &name);
    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    std::string_view text() const { return {begin, size}; }

private:
    const char *begin = nullptr;
    size_t size = 0;
    size_t reserved = 0; ///< bytes of address space, those behind the end included
};

/// Writes all of \a text to the descriptor \a file; false if that fails.
bool writeAll(int file, std::string_view text);

/// Whether each of \a lines, which end with a newline, has as many \a columns at the least, and
/// nothing but numbers. False if that takes a closer look.
bool areSurelyNumbers(std::string_view lines, int columns);

/// Reads the whole word \a word as a number; false if it is none.
bool readNumber(std::string_view word, double &value);

} // namespace Unavoidable
