// All differences of two files, counted. The walk is that of "=compare"; here it never stops.

#include "Survey.h"

#include "Words.h"
#include "talmo/Numbers.h"
#include "utf8.h"

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

/// \a difference as a part of \a magnitude, which is not below that of its numbers.
double partOf(double magnitude, const Difference &difference, double apart)
{
    // Quotients, because the difference of two large numbers may be infinite.
    return std::isfinite(apart)
               ? apart / magnitude
               : std::fabs(difference.value1 / magnitude - difference.value2 / magnitude);
}

double largerOf(const Difference &difference)
{
    return std::max(std::fabs(difference.value1), std::fabs(difference.value2));
}

/// Whether the numbers of \a difference are within \a part of \a magnitude.
bool isWithin(double part, double magnitude, const Difference &difference, double apart)
{
    return std::isfinite(apart) ? apart <= part * magnitude
                                : partOf(magnitude, difference, apart) <= part;
}

class Surveyor
{
public:
    Surveyor(LineReader &reader1, LineReader &reader2, const Rules &given, size_t lines)
        : file1(reader1)
        , file2(reader2)
        , rules(given)
        , keptLines(lines)
        , largest(given.tolerances.size())
    {
        for (const double tolerance : given.tolerances) {
            ColumnSurvey column;
            column.tolerance = tolerance;
            result.columns.push_back(column);
        }
    }

    void take(const Difference &difference, const LinePair &lines);
    Survey finished();

private:
    void takeLengths(const Difference &difference);
    void takeValue(ColumnSurvey &column, const Difference &difference, double apart) const;
    bool agrees(const Difference &difference, double apart) const;
    void countLine(const Difference &difference);
    void keep(const Difference &difference, const LinePair &lines);
    LinePlaces placesOf(qint64 line) const;

    LineReader &file1;
    LineReader &file2;
    const Rules &rules;
    Survey result;
    size_t keptLines;
    std::vector<double> largest; ///< difference of each column, also of values that agree
    qint64 latestLine = 0;       ///< that differs
    std::array<qint64, Difference::Value + 1> latestOfKind = {};
};

void Surveyor::take(const Difference &difference, const LinePair &lines)
{
    if (difference.kind == Difference::Length) {
        takeLengths(difference);
        return;
    }
    const bool isValue = difference.kind == Difference::Value;
    const double apart = isValue ? std::fabs(difference.value1 - difference.value2) : 0;
    if (isValue) {
        double &most = largest[difference.column - 1];
        most = std::max(most, apart);
        if (agrees(difference, apart))
            return;
    }
    countLine(difference);
    keep(difference, lines);
    if (difference.column == 0)
        return;
    ColumnSurvey &column = result.columns[difference.column - 1];
    if (column.lines++ == 0) {
        column.firstLine = difference.line;
        column.firstPlaces = placesOf(difference.line);
    }
    if (isValue)
        takeValue(column, difference, apart);
    else
        ++column.invalid;
}

void Surveyor::takeLengths(const Difference &difference)
{
    if (rules.ignoresExtraLines)
        return;
    if (!result.first)
        result.first = difference;
    KindSurvey &kind = result.kinds[Difference::Length];
    kind.firstLine = difference.count + 1;
    LineReader &longer = difference.file == 1 ? file2 : file1;
    qint64 &place = difference.file == 1 ? kind.firstPlaces.line2 : kind.firstPlaces.line1;
    place = longer.numberInFile(kind.firstLine);
}

/// Whether the relative rules let a value pass that its tolerance does not.
bool Surveyor::agrees(const Difference &difference, double apart) const
{
    if (rules.relative > 0 && isWithin(rules.relative, largerOf(difference), difference, apart))
        return true;
    return rules.relativeToColumn > 0 &&
           isWithin(
               rules.relativeToColumn, rules.magnitudes[difference.column - 1], difference, apart);
}

void Surveyor::countLine(const Difference &difference)
{
    if (!result.first) {
        result.first = difference;
        result.first->word = {}; // it goes with the reader
        result.firstPlaces = placesOf(difference.line);
    }
    result.differingLines += difference.line != latestLine;
    latestLine = difference.line;
    if (latestOfKind[difference.kind] == difference.line)
        return;
    latestOfKind[difference.kind] = difference.line;
    KindSurvey &kind = result.kinds[difference.kind];
    if (kind.lines++ == 0) {
        kind.firstLine = difference.line;
        kind.firstPlaces = placesOf(difference.line);
    }
}

void Surveyor::takeValue(ColumnSurvey &column, const Difference &difference, double apart) const
{
    if (apart > column.largest) {
        column.largest = apart;
        column.largestLine = difference.line;
        column.largestPlaces = placesOf(difference.line);
    }
    const double relative = partOf(largerOf(difference), difference, apart);
    if (relative > column.largestRelative) {
        column.largestRelative = relative;
        column.largestRelativeLine = difference.line;
        column.largestRelativePlaces = placesOf(difference.line);
    }
}

void Surveyor::keep(const Difference &difference, const LinePair &lines)
{
    std::vector<DifferingLine> &kept = result.firstLines;
    if (kept.empty() || kept.back().line != difference.line) {
        if (kept.size() >= keptLines)
            return;
        kept.push_back({difference.line, difference.kind, beginningOf(lines.line1),
            beginningOf(lines.line2), {}, placesOf(difference.line)});
    }
    if (difference.column > 0)
        kept.back().columns.push_back(difference.column);
}

LinePlaces Surveyor::placesOf(qint64 line) const
{
    return {file1.numberInFile(line), file2.numberInFile(line)};
}

Survey Surveyor::finished()
{
    for (size_t index = 0; index < result.columns.size(); ++index) {
        ColumnSurvey &column = result.columns[index];
        double sufficient = column.tolerance;
        const bool isExceeded = largest[index] > column.tolerance && column.tolerance >= 0;
        if (isExceeded && !toNumber(toleranceFor(largest[index]), sufficient))
            continue;
        if (column.invalid == 0)
            column.sufficient = sufficient;
    }
    return std::move(result);
}

/// Whether \a line is a comment, as judgeColumns sees it; \a words are then its words.
bool isComment(std::string_view line, Words &words)
{
    words.split(line);
    return words[0].substr(0, 1) == "#";
}

/// One side of the head.
struct HeadOfFile {
    std::string comment; ///< the last one that was passed
    size_t columns = 0;  ///< of the line behind it; 0 if that is no line with data

    void remember(std::string_view line)
    {
        constexpr size_t longest = 1 << 16; // no table has more columns than that has room for
        comment = line.size() <= longest ? line : std::string_view();
    }
};

/// How many words the next line of \a file has, if it is one with data.
size_t columnsOf(LineReader &file, Words &words)
{
    std::string_view line;
    if (!file.peekLine(line) || isComment(line, words))
        return 0;
    return words.count();
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

Head readHead(LineReader &file1, LineReader &file2)
{
    Head head;
    HeadOfFile side1;
    HeadOfFile side2;
    Words words;
    std::string_view line1;
    std::string_view line2;
    while (file1.peekLine(line1) && file2.peekLine(line2) && isComment(line1, words) &&
           isComment(line2, words)) {
        side1.remember(line1);
        side2.remember(line2);
        file1.readLine(line1);
        file2.readLine(line2);
        ++head.passed.lines1;
        ++head.passed.lines2;
    }
    side1.columns = columnsOf(file1, words);
    side2.columns = columnsOf(file2, words);
    head.columns = std::max(side1.columns, side2.columns);
    for (const HeadOfFile *const side : {&side1, &side2}) {
        if (head.names.isEmpty())
            head.names = namesOfColumns(side->comment, head.columns);
    }
    return head;
}

Survey surveyOf(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances, size_t keptLines)
{
    Rules rules;
    rules.tolerances = tolerances;
    const Head head = tolerances.empty() ? Head() : readHead(file1, file2);
    return surveyOf(file1, file2, rules, keptLines, head);
}

Survey surveyOf(
    LineReader &file1, LineReader &file2, const Rules &rules, size_t keptLines, const Head &head)
{
    Surveyor surveyor(file1, file2, rules, keptLines);
    const auto take = [&surveyor](const Difference &difference, const LinePair &lines) {
        surveyor.take(difference, lines);
        return Walk::GoesOn;
    };
    const Lengths lengths = forEachDifference(file1, file2, rules.tolerances, take, head.passed);
    Survey survey = surveyor.finished();
    survey.names = head.names;
    survey.lengths = lengths;
    survey.unreadable = file1.failed() ? 1 : file2.failed() ? 2 : 0;
    KindSurvey &missing = survey.kinds[Difference::Length];
    if (missing.firstLine > 0)
        missing.lines = std::abs(lengths.lines1 - lengths.lines2);
    return survey;
}

std::vector<double> magnitudesOf(LineReader &file1, LineReader &file2, size_t columns)
{
    std::vector<double> magnitudes(columns);
    const auto take = [&magnitudes](const Words &words) {
        const size_t count = std::min(words.count(), magnitudes.size());
        for (size_t index = 0; index < count; ++index) {
            double value = 0;
            if (toNumber(words[index], value))
                magnitudes[index] = std::max(magnitudes[index], std::fabs(value));
        }
    };
    std::string_view line1;
    std::string_view line2;
    Words words1;
    Words words2;
    while (file1.readLine(line1) && file2.readLine(line2)) {
        const bool isComment1 = isComment(line1, words1);
        const bool isComment2 = isComment(line2, words2);
        if (isComment1 || isComment2)
            continue;
        take(words1);
        take(words2);
    }
    return magnitudes;
}

QStringList namesOfColumns(std::string_view comment, size_t columns)
{
    Words words;
    words.split(comment);
    QStringList names;
    for (size_t index = 0; index < words.count(); ++index)
        names += decoded(words[index]);
    while (names[0].startsWith(QLatin1Char('#')))
        names[0].remove(0, 1);
    if (names[0].isEmpty())
        names.removeFirst();
    return static_cast<size_t>(names.size()) == columns ? names : QStringList();
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
