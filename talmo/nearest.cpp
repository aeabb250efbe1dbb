#include "nearest.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace Talmo
{

namespace
{

/// The last rows of the table of distances between the beginnings of two texts.
struct Rows {
    std::vector<int> before; ///< the row before the last one
    std::vector<int> last;
    std::vector<int> next;
};

/// How many characters must be inserted, removed, replaced or exchanged with their neighbour to
/// make \a one of \a other (optimal string alignment; F. J. Damerau, Communications of the ACM 7,
/// 171, 1964). If that is more than \a limit, any number above it. \a rows are used again from one
/// call to the next.
int distance(const QString &one, const QString &other, int limit, Rows &rows)
{
    const auto height = static_cast<int>(one.size());
    const auto width = static_cast<int>(other.size());
    if (std::abs(height - width) > limit)
        return limit + 1;
    const auto size = static_cast<size_t>(width) + 1;
    rows.before.assign(size, 0);
    rows.next.assign(size, 0);
    rows.last.resize(size);
    std::iota(rows.last.begin(), rows.last.end(), 0);
    const QChar *const left = one.constData();
    const QChar *const above = other.constData();
    for (int row = 1; row <= height; ++row) {
        int least = row;
        rows.next[0] = row;
        for (int column = 1; column <= width; ++column) {
            const auto at = static_cast<size_t>(column);
            const bool isSame = left[row - 1] == above[column - 1];
            int &count = rows.next[at];
            count = std::min(
                {rows.last[at] + 1, rows.next[at - 1] + 1, rows.last[at - 1] + (isSame ? 0 : 1)});
            if (row > 1 && column > 1 && left[row - 1] == above[column - 2] &&
                left[row - 2] == above[column - 1])
                count = std::min(count, rows.before[at - 2] + 1);
            least = std::min(least, count);
        }
        const int leastBefore = *std::min_element(rows.last.begin(), rows.last.end());
        if (least > limit && leastBefore >= limit) // an exchange skips a row
            return limit + 1;
        std::swap(rows.before, rows.last);
        std::swap(rows.last, rows.next);
    }
    return rows.last.back();
}

/// So many characters may be wrong in a name of \a length: in a short one each tells too much.
int limitFor(qsizetype length)
{
    return length < 3 ? 0 : length < 6 ? 1 : 2;
}

} // namespace

QString nearestName(const QString &name, const QStringList &names)
{
    QString nearest;
    Rows rows;
    int least = limitFor(name.size()) + 1;
    for (const QString &other : names) {
        if (least == 0)
            break;
        const bool isSameWord =
            other.size() == name.size() && other.compare(name, Qt::CaseInsensitive) == 0;
        const int count = isSameWord ? 0 : distance(name, other, least - 1, rows);
        if (!other.isEmpty() && count < least) {
            least = count;
            nearest = other;
        }
    }
    return nearest;
}

QString suggestion(const QString &name, const QStringList &names)
{
    const QString nearest = nearestName(name, names);
    return nearest.isNull() ? QString() : QStringLiteral(" (did you mean %1?)").arg(nearest);
}

} // namespace Talmo
