#pragma once

// What the fuzz targets have in common. A target is a file NAMEFuzz.cpp with one function. The
// function gets the bytes of an input, makes arguments of them and calls the product. With
// `require` it checks what must hold for every input.

#include <QString>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// Ends the process and reports the broken \a promise, unless \a holds.
void require(bool holds, const char *promise);

/// An input that a person can read and write: lines with arguments, and then the main text.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : rest(reinterpret_cast<const char *>(data), size)
    {
    }

    /// Takes the bytes up to \a separator, which is dropped, or all bytes if there is none.
    std::string_view takeUntil(std::string_view separator);

    QString takeLine() { return text(takeUntil("\n")); }
    QString takeRest() { return text(takeUntil({})); }

private:
    static QString text(std::string_view bytes);

    std::string_view rest;
};

/// Whether \a pattern surely compiles and matches quickly. QRegExp copies the part in front of each
/// {n,m}, so that nested ones multiply, and captures and back-references make it try all ways to
/// match.
bool isCheapPattern(const QString &pattern);

/// Brings the library back to its state after start-up: without macros, with the units of the table
/// alone, with empty stacks, without patterns, and with nothing printed.
void startAfresh();

/// What was printed since the last call.
QString printed();
