#pragma once

#include "ComparedFile.h"
#include "TextSource.h"

#include <QString>

#include <memory>

namespace Talmo
{

/// A text that is made of the lines of another one.
class PreparedText : public TextSource
{
public:
    /// Why what was read cannot be compared, as a sentence that goes on behind the file's name;
    /// null if all is well.
    virtual QString problem() const = 0;

    /// In which block, from 1, the line \a number of this text is, for the lines of which
    /// numberInFile is known; 0 if there are no blocks that begin with a heading.
    virtual qint64 blockOf(qint64 /*number*/) const { return 0; }
};

/// The lines of \a text that \a preparation keeps, as it makes them read, in their order. \a side
/// is told of their blocks as they are read.
std::unique_ptr<PreparedText> filteredText(
    std::unique_ptr<LineReader> text, const Preparation &preparation, const BlockSide &side);

/// The lines of \a text block by block, each in the order of the numbers in \a column: comments
/// first, as they stand there, then the others. The text, which reads from \a unsorted, is kept in
/// memory.
std::unique_ptr<PreparedText> sortedText(
    std::unique_ptr<LineReader> text, const PreparedText &unsorted, const QString &column);

} // namespace Talmo
