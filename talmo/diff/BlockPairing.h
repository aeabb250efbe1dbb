#pragma once

#include "Survey.h"

#include <QtGlobal>

#include <deque>
#include <optional>

namespace Talmo
{

/// Where the blocks of two files part: the first block that has not the same number of lines in
/// both, or that only one of them has.
struct BlockParting {
    qint64 number = 0;   ///< of the block, from 1; blocks without lines count, too
    LinePlaces headings; ///< in the files; 0 in a file that has no such block
    qint64 lines1 = 0;   ///< that the block has; -1 if one of the files has no such block
    qint64 lines2 = 0;
    qint64 linesPaired = 0; ///< so many lines at the fronts of both files are in the same blocks
};

/// Compares the sizes of the blocks of two files while the files are read, the one ahead of the
/// other. It remembers the blocks to which only one of the files has come. Those with lines are no
/// more than the lines that a LineReader has in memory. Those without lines may be any number, but
/// a series at equal distances takes as much room as one block.
class BlockPairing
{
public:
    /// A block begins in \a file, 1 or 2, behind its line \a heading, after \a linesBefore lines
    /// that were kept.
    void begin(int file, qint64 heading, qint64 linesBefore);

    /// \a file has ended, after \a lines lines that were kept.
    void end(int file, qint64 lines);

    /// None as long as the blocks are the same.
    const std::optional<BlockParting> &parting() const { return found; }

private:
    /// A block begins, or the file ends (heading 0).
    struct Mark {
        qint64 heading = 0;
        qint64 linesBefore = 0;
    };

    /// Marks at equal distances.
    struct Series {
        Mark first;
        Mark distance;
        qint64 count = 0;

        bool takes(const Mark &mark);
        Mark takeFirst();
    };

    /// The marks of a file that the other one does not have yet.
    using Marks = std::deque<Series>;

    static void append(Marks &marks, const Mark &mark);
    static Mark takeFirst(Marks &marks);
    void add(int file, const Mark &mark);
    void pair(const Mark &mark1, const Mark &mark2);

    Marks marks1;
    Marks marks2;
    qint64 paired = 0; // blocks that begin in both files
    Mark latest1;      // of these
    Mark latest2;
    std::optional<BlockParting> found;
};

/// Which of two files tells its blocks to whom.
struct BlockSide {
    BlockPairing *pairing = nullptr; ///< null if nobody wants to know
    int file = 0;                    ///< 1 or 2
};

} // namespace Talmo
