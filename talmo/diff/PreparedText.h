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
};

/// The lines of \a text that \a preparation keeps, as it makes them read, in their order.
std::unique_ptr<PreparedText> filteredText(
    std::unique_ptr<LineReader> text, const Preparation &preparation);

/// The lines of \a text in the order of the numbers in \a column: comments first, as they stand
/// there, then the others. The text is kept in memory.
std::unique_ptr<PreparedText> sortedText(std::unique_ptr<LineReader> text, const QString &column);

} // namespace Talmo
