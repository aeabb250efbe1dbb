// The filters see one line at a time, and what they make of it is given away at once. The only
// thing that must be remembered is which line of the file a line was. As long as lines only stay as
// they are, the distance between the two numbers is the same. So one entry serves for a run of
// lines, and it is forgotten when the lines have been read.

#include "PreparedText.h"
#include "lineFilters.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace Talmo
{

namespace
{

class FilteredText : public PreparedText
{
public:
    FilteredText(
        std::unique_ptr<LineReader> lines, std::vector<std::unique_ptr<LineFilter>> lineFilters)
        : text(std::move(lines))
        , filters(std::move(lineFilters))
    {
    }

    qint64 readText(char *target, qint64 size) override;
    bool failed() const override { return text->failed(); }
    QString remark() const override { return text->remark(); }
    qint64 numberInFile(qint64 number) const override;
    QString problem() const override;

private:
    bool readLine();
    void note(qint64 number);
    void forget();

    /// From the line \a number of this text on, lines follow one another as in the file.
    struct Run {
        qint64 number;
        qint64 numberInText;
    };

    std::unique_ptr<LineReader> text;
    std::vector<std::unique_ptr<LineFilter>> filters;
    std::string line; // with its newline
    size_t given = 0; // so much of it was given away
    qint64 linesRead = 0;
    qint64 linesKept = 0;
    std::deque<Run> runs;
};

qint64 FilteredText::readText(char *target, qint64 size)
{
    forget();
    const auto room = static_cast<size_t>(size);
    size_t used = 0;
    while (used < room && (given < line.size() || readLine())) {
        const size_t count = std::min(room - used, line.size() - given);
        std::memcpy(target + used, line.data() + given, count);
        used += count;
        given += count;
    }
    return static_cast<qint64>(used);
}

/// Moves on to the next line that all filters keep; false if there is none.
bool FilteredText::readLine()
{
    std::string_view next;
    while (text->readLine(next)) {
        ++linesRead;
        const bool stays = std::all_of(filters.begin(), filters.end(),
            [this, &next](const auto &filter) { return filter->keeps(next, linesRead); });
        if (!stays)
            continue;
        note(++linesKept);
        line.assign(next);
        line += '\n';
        given = 0;
        return true;
    }
    return false;
}

void FilteredText::note(qint64 number)
{
    const bool goesOn =
        !runs.empty() && linesRead - runs.back().numberInText == number - runs.back().number;
    if (!goesOn)
        runs.push_back({number, linesRead});
}

/// Forgets the runs before the line that was given away last: whoever reads on has done with them.
void FilteredText::forget()
{
    while (runs.size() > 1 && runs[1].number < linesKept)
        runs.pop_front();
}

qint64 FilteredText::numberInFile(qint64 number) const
{
    const auto behind = std::upper_bound(runs.begin(), runs.end(), number,
        [](qint64 wanted, const Run &run) { return wanted < run.number; });
    if (behind == runs.begin())
        return 0;
    const Run &run = *std::prev(behind);
    return text->numberInFile(run.numberInText + number - run.number);
}

QString FilteredText::problem() const
{
    for (const auto &filter : filters) {
        if (QString problem = filter->problem(); !problem.isNull())
            return problem;
    }
    return {};
}

} // namespace

std::unique_ptr<PreparedText> filteredText(
    std::unique_ptr<LineReader> text, const Preparation &preparation)
{
    std::vector<std::unique_ptr<LineFilter>> filters;
    if (!preparation.from.isNull() || !preparation.to.isNull())
        filters.push_back(blockFilter(preparation.from, preparation.to));
    if (!preparation.skip.isEmpty())
        filters.push_back(skipFilter(preparation.skip));
    if (!preparation.widths.empty())
        filters.push_back(fieldFilter(preparation.widths));
    if (preparation.hasFixedColumns)
        filters.push_back(columnFilter());
    return std::make_unique<FilteredText>(std::move(text), std::move(filters));
}

} // namespace Talmo
