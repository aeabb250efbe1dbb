#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace Talmo
{

/// Decides, line by line from the first one on, what of a file is compared, and how it reads.
class LineFilter
{
public:
    LineFilter() = default;
    LineFilter(const LineFilter &) = delete;
    LineFilter &operator=(const LineFilter &) = delete;
    virtual ~LineFilter() = default;

    /// Whether \a line, which has this \a number in its text, stays. What it then reads may be
    /// another text, which is valid until the next call.
    virtual bool keeps(std::string_view &line, qint64 number) = 0;

    /// Why a file that was passed to its end is not what the filter is for, as a sentence that
    /// goes on behind the file's name; null if all is well.
    virtual QString problem() const { return {}; }
};

/// Keeps the lines between a line that matches \a from and the next one that matches \a to, without
/// these two, as often as there are any. One line may end a block and begin the next one. Without
/// \a from (null) the first block begins with the file, and there is no other; without \a to a
/// block ends with the file. Calls \a begins with the number of each line behind which a block
/// begins.
std::unique_ptr<LineFilter> blockFilter(
    const QString &from, const QString &to, std::function<void(qint64 heading)> begins);

/// Leaves out the lines that match one of \a patterns.
std::unique_ptr<LineFilter> skipFilter(const QStringList &patterns);

/// Cuts lines into fields of \a widths characters and makes each field one word. A blank in a field
/// becomes "_", and so does an empty field, so that neither is a number. What follows the last
/// field stays as it is, and so do comments.
std::unique_ptr<LineFilter> fieldFilter(const std::vector<size_t> &widths);

/// Keeps all lines. It is a problem if a line has more columns than the first one that is no
/// comment: whoever compares the columns of that one would not look at the others.
std::unique_ptr<LineFilter> columnFilter();

} // namespace Talmo
