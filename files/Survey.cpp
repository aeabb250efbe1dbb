// All differences of two files, counted. The walk is that of "=compare"; here it never stops.

#include "Survey.h"

#include "Words.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace Talmo
{

namespace
{

/// The first bytes of \a line, which may be as long as a file.
QByteArray beginningOf(std::string_view line)
{
    constexpr size_t enough = 4000;
    return QByteArray(line.data(), static_cast<int>(std::min(line.size(), enough)));
}

/// \a difference of two numbers relative to the larger magnitude of the two.
double relativeOf(const Difference &difference, double apart)
{
    const double larger = std::max(std::fabs(difference.value1), std::fabs(difference.value2));
    // Halves, because the difference of two large numbers may be infinite.
    return std::isfinite(apart)
               ? apart / larger
               : std::fabs(difference.value1 / larger - difference.value2 / larger);
}

class Surveyor
{
public:
    Surveyor(const std::vector<double> &tolerances, size_t lines)
        : keptLines(lines)
    {
        for (const double tolerance : tolerances) {
            ColumnSurvey column;
            column.tolerance = tolerance;
            result.columns.push_back(column);
        }
    }

    void take(const Difference &difference, const LinePair &lines);
    Survey finished();

private:
    void takeColumn(const Difference &difference);
    void keep(const Difference &difference, const LinePair &lines);

    Survey result;
    size_t keptLines;
    qint64 latestLine = 0; ///< that differs
};

void Surveyor::take(const Difference &difference, const LinePair &lines)
{
    if (!result.first) {
        result.first = difference;
        result.first->word = {}; // it goes with the reader
    }
    if (difference.kind == Difference::Length) {
        KindSurvey &kind = result.kinds[Difference::Length];
        kind.firstLine = difference.count + 1;
        return;
    }
    KindSurvey &kind = result.kinds[difference.kind];
    const bool isNewLine = difference.line != latestLine;
    result.differingLines += isNewLine;
    if (kind.firstLine == 0)
        kind.firstLine = difference.line;
    ++kind.lines;
    if (difference.column > 0)
        takeColumn(difference);
    latestLine = difference.line;
    keep(difference, lines);
}

void Surveyor::takeColumn(const Difference &difference)
{
    ColumnSurvey &column = result.columns[difference.column - 1];
    if (column.lines++ == 0)
        column.firstLine = difference.line;
    if (difference.kind == Difference::InvalidData) {
        ++column.invalid;
        return;
    }
    const double apart = std::fabs(difference.value1 - difference.value2);
    if (apart > column.largest) {
        column.largest = apart;
        column.largestLine = difference.line;
    }
    const double relative = relativeOf(difference, apart);
    if (relative > column.largestRelative) {
        column.largestRelative = relative;
        column.largestRelativeLine = difference.line;
    }
}

void Surveyor::keep(const Difference &difference, const LinePair &lines)
{
    std::vector<DifferingLine> &kept = result.firstLines;
    if (kept.empty() || kept.back().line != difference.line) {
        if (kept.size() >= keptLines)
            return;
        kept.push_back({difference.line, difference.kind, beginningOf(lines.line1),
            beginningOf(lines.line2), {}});
    }
    if (difference.column > 0)
        kept.back().columns.push_back(difference.column);
}

Survey Surveyor::finished()
{
    for (ColumnSurvey &column : result.columns) {
        double sufficient = column.tolerance;
        if (column.lines > 0 && !toNumber(toleranceFor(column.largest), sufficient))
            continue;
        if (column.invalid == 0)
            column.sufficient = sufficient;
    }
    return std::move(result);
}

} // namespace

bool Survey::toleranceHelps() const
{
    const auto isHopeless = [this](Difference::Kind kind) { return kinds[kind].firstLine > 0; };
    return unreadable == 0 && !isHopeless(Difference::Length) && !isHopeless(Difference::Text) &&
           !isHopeless(Difference::CommentMismatch) && !isHopeless(Difference::TooFewColumns) &&
           std::all_of(columns.begin(), columns.end(),
               [](const ColumnSurvey &column) { return column.sufficient.has_value(); });
}

Survey surveyOf(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances, size_t keptLines)
{
    Surveyor surveyor(tolerances, keptLines);
    const Lengths lengths = forEachDifference(
        file1, file2, tolerances, [&surveyor](const Difference &difference, const LinePair &lines) {
            surveyor.take(difference, lines);
            return Walk::GoesOn;
        });
    Survey survey = surveyor.finished();
    survey.lengths = lengths;
    survey.unreadable = file1.failed() ? 1 : file2.failed() ? 2 : 0;
    survey.kinds[Difference::Length].lines = std::abs(lengths.lines1 - lengths.lines2);
    return survey;
}

std::string toleranceFor(double difference)
{
    constexpr int digitsBehindPoint = 1;
    char text[40];
    // One unit of the second digit more, if the two digits are below the difference.
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), difference,
        std::chars_format::scientific, digitsBehindPoint);
    std::string rounded(text, error == std::errc() ? end : text);
    double value = 0;
    if (!std::isfinite(difference) || !toNumber(rounded, value))
        return {};
    if (value < difference) {
        const int mantissa = (rounded[0] - '0') * 10 + (rounded[2] - '0') + 1;
        const std::string exponent = rounded.substr(3);
        rounded = std::to_string(mantissa / 10) + '.' + std::to_string(mantissa % 10) + exponent;
        if (!toNumber(rounded, value))
            return {};
    }
    char again[40];
    const auto stop = std::to_chars(std::begin(again), std::end(again), value).ptr;
    return std::string(again, stop);
}

} // namespace Talmo
