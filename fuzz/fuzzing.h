#pragma once

// What the fuzz targets have in common. A target is a file NAMEFuzz.cpp with one function, which
// gets the bytes of an input and calls the product with what it makes of them. What must hold for
// every input is checked with `require`.

#include <QString>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// Ends the process, with a report of the \a promise, unless \a holds.
void require(bool holds, const char *promise);

/// Tells libFuzzer that an input did something, one of 512 things, where it cannot see: inside Qt.
void note(std::size_t what);

/// An input that a person can read and write: lines of arguments, and then the text that matters.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : rest(reinterpret_cast<const char *>(data), size)
    {
    }

    /// Takes the bytes up to \a separator, which is dropped; all, if there is none.
    std::string_view takeUntil(std::string_view separator);

    QString takeLine() { return text(takeUntil("\n")); }
    QString takeRest() { return text(takeUntil({})); }

private:
    static QString text(std::string_view bytes);

    std::string_view rest;
};

/// Whether \a pattern surely compiles and matches in no time. QRegExp writes out each {n,m}, so
/// that nested ones multiply; and captures and back-references make it try all ways to match.
bool isCheapPattern(const QString &pattern);

/// Makes the library as it was after start-up: no macros, no unit but those of the table, nothing
/// on the stacks, no patterns, nothing printed.
void startAfresh();

/// What was printed since the last call.
QString printed();
