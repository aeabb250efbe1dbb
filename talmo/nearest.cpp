#include "nearest.h"

#include <algorithm>
#include <vector>

namespace Talmo
{

namespace
{

/// How many characters must be inserted, removed, replaced or exchanged with their neighbour to
/// make \a one of \a other (optimal string alignment; F. J. Damerau, Communications of the ACM 7,
/// 171, 1964). If that is more than \a limit, any number above it.
int distance(const QString &one, const QString &other, int limit)
{
    const auto rows = static_cast<size_t>(one.size());
    const auto columns = static_cast<size_t>(other.size());
    if (std::max(rows, columns) - std::min(rows, columns) > static_cast<size_t>(limit))
        return limit + 1;
    std::vector<std::vector<int>> table(rows + 1, std::vector<int>(columns + 1));
    const auto at = [](const QString &text, size_t index) {
        return text[static_cast<decltype(text.size())>(index)];
    };
    for (size_t row = 0; row <= rows; ++row) {
        for (size_t column = 0; column <= columns; ++column) {
            if (row == 0 || column == 0) {
                table[row][column] = static_cast<int>(row + column);
                continue;
            }
            const bool isSame = at(one, row - 1) == at(other, column - 1);
            int least = std::min({table[row - 1][column] + 1, table[row][column - 1] + 1,
                table[row - 1][column - 1] + (isSame ? 0 : 1)});
            if (row > 1 && column > 1 && at(one, row - 1) == at(other, column - 2) &&
                at(one, row - 2) == at(other, column - 1))
                least = std::min(least, table[row - 2][column - 2] + 1);
            table[row][column] = least;
        }
    }
    return table[rows][columns];
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
    int least = limitFor(name.size()) + 1;
    for (const QString &other : names) {
        const bool isSameWord = other.compare(name, Qt::CaseInsensitive) == 0;
        const int count = isSameWord ? 0 : distance(name, other, limitFor(name.size()));
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
