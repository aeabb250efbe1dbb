#pragma once

#include "BlockPairing.h"
#include "LineReader.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

class PreparedText;

/// What is made of both files before they are compared.
struct Preparation {
    QString from; ///< patterns; null if there is none
    QString to;
    QStringList skip;
    std::vector<size_t> widths; ///< of the fields at the front of a line; none for words
    /// No line may have more columns than the first one, because nobody said which to compare.
    bool hasFixedColumns = false;
    QString sort; ///< the column, by number or name; null if there is none

    /// Whether there may be several blocks. Otherwise there is one, with all lines that are
    /// compared.
    bool hasBlocks() const { return !from.isNull() && !to.isNull(); }

    /// Whether the files are compared as they are.
    bool isNone() const
    {
        return from.isNull() && to.isNull() && skip.isEmpty() && widths.empty() && sort.isNull();
    }
};

/// Finds the column \a text, a number from 1 on or one of \a names. Returns 0, and puts a sentence
/// into \a problem, if there is none among \a count columns.
size_t columnOf(const QString &text, const QStringList &names, size_t count, QString &problem);

/// Opens \a name as \a preparation makes it read; "-" is standard input. Returns false if it cannot
/// be read.
bool openPrepared(LineReader &lines, const QString &name, const Preparation &preparation);

/// One of the two files, as it is compared.
class ComparedFile
{
public:
    /// Opens \a name; "-" is standard input. Returns false if it cannot be read. \a side is told
    /// of the blocks, if \a preparation has any with headings and ends.
    bool open(const QString &name, const Preparation &preparation, const BlockSide &side);

    LineReader lines;

    /// Why the lines cannot be read to their end, as a sentence; null if they can.
    QString failure() const;

    /// Why a comparison with the lines, which were read to their end, is worthless: a heading was
    /// not found. A sentence; null if all is well.
    QString objection() const;

private:
    QString calledName() const;

    QString fileName;
    bool isOpen = false;
    const PreparedText *filtered = nullptr; // inside of lines; null if the file is not prepared
    const PreparedText *sorted = nullptr;   // null if it is not sorted
};

} // namespace Talmo
