#include "tolerances.h"

#include "LineReader.h"
#include "Survey.h"
#include "Words.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Talmo
{

namespace
{

const char *const largestNumber = "1.7976931348623157e308";

/// What the numbers of a column have in common.
struct Column {
    double largest = 0; ///< magnitude
    bool isInteger = true;
};

bool isInteger(std::string_view word)
{
    return word.find_first_of(".eE") == std::string_view::npos;
}

/// Adds a line of \a words to \a columns, of which there are none before the first line. False if
/// the line does not go with the others, or has a word that is no number.
bool add(const Words &words, std::vector<Column> &columns)
{
    if (columns.empty())
        columns.resize(words.count());
    if (columns.size() != words.count())
        return false;
    for (size_t index = 0; index < columns.size(); ++index) {
        double value = 0;
        if (!toNumber(words[index], value))
            return false;
        columns[index].largest = std::max(columns[index].largest, std::fabs(value));
        columns[index].isInteger = columns[index].isInteger && isInteger(words[index]);
    }
    return true;
}

/// The columns of \a file; none if it is no table of numbers.
std::vector<Column> columnsOf(LineReader &file)
{
    std::vector<Column> columns;
    std::string_view line;
    Words words;
    while (file.readLine(line)) {
        words.split(line);
        const std::string_view first = words[0];
        const bool isComment = !first.empty() && first.front() == '#';
        if (!isComment && !add(words, columns))
            return {};
    }
    return columns;
}

} // namespace

std::optional<std::vector<std::string>> tolerancesFor(const QString &name, double relative)
{
    LineReader file;
    if (!file.open(name))
        return {};
    const std::vector<Column> columns = columnsOf(file);
    if (file.failed())
        return {};
    std::vector<std::string> tolerances;
    for (const Column &column : columns) {
        // The product may have been rounded up: 1e-9 times 1.5 shall be 1.5e-9, and not 1.6e-9.
        const double tolerance = std::nextafter(relative * column.largest, 0);
        const std::string text = toleranceFor(tolerance);
        // Two digits may be too large for a number. Without a word, the tolerances behind it would
        // belong to other columns.
        tolerances.push_back(column.isInteger ? "0" : text.empty() ? largestNumber : text);
    }
    return tolerances;
}

} // namespace Talmo
