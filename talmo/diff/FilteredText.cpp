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
    FilteredText(std::unique_ptr<LineReader> lines, const Preparation &preparation,
        const BlockSide &blockSide);

    qint64 readText(char *target, qint64 size) override;
    bool failed() const override { return text->failed(); }
    QString remark() const override { return text->remark(); }
    qint64 numberInFile(qint64 number) const override;
    QString problem() const override;
    qint64 blockOf(qint64 number) const override;

private:
    /// From the line \a number of this text on, lines follow one another as in the file.
    struct Run {
        qint64 number;
        qint64 numberInText;
        qint64 block; // no run goes beyond one, since a heading is between
    };

    bool readLine();
    void note(qint64 number);
    void forget();
    const Run *runOf(qint64 number) const;

    std::unique_ptr<LineReader> text;
    std::vector<std::unique_ptr<LineFilter>> filters;
    std::string line; // with its newline
    size_t given = 0; // so much of it was given away
    qint64 linesRead = 0;
    qint64 linesKept = 0;
    std::deque<Run> runs;
    BlockSide side;
    qint64 block = 0;
    bool hasEnded = false;
};

FilteredText::FilteredText(
    std::unique_ptr<LineReader> lines, const Preparation &preparation, const BlockSide &blockSide)
    : text(std::move(lines))
    , side(blockSide)
{
    const auto begins = [this](qint64 heading) {
        ++block;
        if (side.pairing != nullptr)
            side.pairing->begin(side.file, heading, linesKept);
    };
    if (!preparation.from.isNull() || !preparation.to.isNull())
        filters.push_back(blockFilter(preparation.from, preparation.to, begins));
    if (!preparation.skip.isEmpty())
        filters.push_back(skipFilter(preparation.skip));
    if (!preparation.widths.empty())
        filters.push_back(fieldFilter(preparation.widths));
    if (preparation.hasFixedColumns)
        filters.push_back(columnFilter());
}

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
    if (side.pairing != nullptr && !hasEnded)
        side.pairing->end(side.file, linesKept);
    hasEnded = true;
    return false;
}

void FilteredText::note(qint64 number)
{
    const bool goesOn =
        !runs.empty() && linesRead - runs.back().numberInText == number - runs.back().number;
    if (!goesOn)
        runs.push_back({number, linesRead, block});
}

/// Forgets the runs before the line that was given away last: whoever reads on has done with them.
void FilteredText::forget()
{
    while (runs.size() > 1 && runs[1].number < linesKept)
        runs.pop_front();
}

/// The run with the line \a number; null if there is none.
const FilteredText::Run *FilteredText::runOf(qint64 number) const
{
    const auto behind = std::upper_bound(runs.begin(), runs.end(), number,
        [](qint64 wanted, const Run &run) { return wanted < run.number; });
    return behind == runs.begin() ? nullptr : &*std::prev(behind);
}

qint64 FilteredText::numberInFile(qint64 number) const
{
    const Run *const run = runOf(number);
    return run == nullptr ? 0 : text->numberInFile(run->numberInText + number - run->number);
}

qint64 FilteredText::blockOf(qint64 number) const
{
    const Run *const run = runOf(number);
    return run == nullptr ? 0 : run->block;
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
    std::unique_ptr<LineReader> text, const Preparation &preparation, const BlockSide &side)
{
    return std::make_unique<FilteredText>(std::move(text), preparation, side);
}

} // namespace Talmo
