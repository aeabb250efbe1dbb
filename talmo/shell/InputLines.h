#pragma once

#include "LineReader.h"

#include <QString>
#include <QtGlobal>

#include <string_view>

namespace Talmo
{

/// A line of an input, byte for byte. What stands here is valid until the next line is read.
struct InputLine {
    std::string_view mark; ///< the byte order mark before the first line, if there is one
    std::string_view text;
    std::string_view end; ///< "\n", "\r\n", or nothing at the end of the last line
};

/// The lines of a file or of standard input. They are read in blocks, so memory grows with the
/// longest line only. Before it may have to wait for a pipe or a terminal, what was printed so far
/// is written out.
class InputLines
{
public:
    /// So many bytes are surely possible as one text, also where Qt counts in int.
    static constexpr size_t longestText = 1U << 29U;

    /// A line of more than \a itsLongest bytes, with its end, is refused.
    explicit InputLines(size_t itsLongest = longestText)
        : longest(itsLongest)
    {
    }

    /// Opens \a name; "-" is standard input. False if it cannot be read; failure() then says so.
    bool open(const QString &name);

    /// Moves to the next line. False at the end, and if reading failed.
    bool next(InputLine &line);

    /// That of the latest line, from 1.
    qint64 number() const { return lineNumber; }

    /// Why the lines cannot be read to their end, as a sentence; null if they can.
    QString failure() const;

private:
    bool takeWindow();
    bool cut(std::string_view whole, InputLine &line);

    size_t longest;
    QString fileName;
    bool isOpen = false;
    LineReader lines;
    std::string_view window; // whole lines in memory that were not given away yet
    size_t given = 0;        // bytes of the window that were
    qint64 lineNumber = 0;
    bool isTooLong = false;
};

} // namespace Talmo
