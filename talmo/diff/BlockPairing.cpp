// Two files have the same blocks if each block begins after the same number of kept lines in both,
// and both end after the same number of blocks.

#include "BlockPairing.h"

#include <algorithm>

namespace Talmo
{

bool BlockPairing::Series::takes(const Mark &mark)
{
    const bool isSecond = count == 1;
    if (isSecond)
        distance = {mark.heading - first.heading, mark.linesBefore - first.linesBefore};
    if (mark.heading != first.heading + count * distance.heading ||
        mark.linesBefore != first.linesBefore + count * distance.linesBefore)
        return false;
    ++count;
    return true;
}

BlockPairing::Mark BlockPairing::Series::takeFirst()
{
    const Mark mark = first;
    first = {first.heading + distance.heading, first.linesBefore + distance.linesBefore};
    --count;
    return mark;
}

void BlockPairing::append(Marks &marks, const Mark &mark)
{
    if (!marks.empty() && marks.back().takes(mark))
        return;
    Series series;
    series.first = mark;
    series.count = 1;
    marks.push_back(series);
}

BlockPairing::Mark BlockPairing::takeFirst(Marks &marks)
{
    const Mark mark = marks.front().takeFirst();
    if (marks.front().count == 0)
        marks.pop_front();
    return mark;
}

void BlockPairing::begin(int file, qint64 heading, qint64 linesBefore)
{
    add(file, {heading, linesBefore});
}

void BlockPairing::end(int file, qint64 lines)
{
    add(file, {0, lines});
}

void BlockPairing::add(int file, const Mark &mark)
{
    if (found)
        return; // what follows is not looked at
    append(file == 1 ? marks1 : marks2, mark);
    if (marks1.empty() || marks2.empty())
        return;
    const Mark mark1 = takeFirst(marks1);
    const Mark mark2 = takeFirst(marks2);
    pair(mark1, mark2);
    if (found) {
        marks1.clear();
        marks2.clear();
    }
}

void BlockPairing::pair(const Mark &mark1, const Mark &mark2)
{
    const bool isMissing = (mark1.heading == 0) != (mark2.heading == 0);
    if (mark1.linesBefore != mark2.linesBefore) {
        // The block before has another size; that it may be the last one follows from it.
        found = {paired, {latest1.heading, latest2.heading},
            mark1.linesBefore - latest1.linesBefore, mark2.linesBefore - latest2.linesBefore,
            std::min(mark1.linesBefore, mark2.linesBefore)};
    } else if (isMissing) {
        found = {paired + 1, {mark1.heading, mark2.heading}, -1, -1, mark1.linesBefore};
    }
    ++paired;
    latest1 = mark1;
    latest2 = mark2;
}

} // namespace Talmo
