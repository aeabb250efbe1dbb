#pragma once

// What =compare decides, written so plainly that one can see that it is right. Both files are texts
// in memory, and Qt splits and converts them. It shares no code with the driver, which works on
// bytes.

#include <QByteArray>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <cmath>
#include <optional>
#include <vector>

namespace PlainCompare
{

/// \a content as it is compared: without carriage returns, and without a byte order mark in front.
inline QByteArray inTextMode(QByteArray content)
{
    content.replace("\r", "");
    return content.startsWith("\xEF\xBB\xBF") ? content.mid(3) : content;
}

inline QList<QByteArray> linesOf(const QByteArray &content)
{
    QList<QByteArray> lines = inTextMode(content).split('\n');
    if (lines.last().isEmpty()) // behind the last newline there is no line
        lines.removeLast();
    return lines;
}

inline QStringList wordsOf(const QByteArray &line)
{
    // A byte order mark at the front of a line is a character like any other. Qt would drop it.
    const QByteArray guarded = '!' + line;
    const QString text = QString::fromUtf8(guarded.constData(), guarded.size()).mid(1);
    return text.simplified().split(QLatin1Char(' '));
}

inline std::optional<double> numberOf(const QString &word)
{
    static const QRegularExpression number(
        R"(\A[-+]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][-+]?[0-9]+)?\z)");
    if (!number.match(word).hasMatch())
        return std::nullopt;
    const double value = word.toDouble(); // 0 for a number too small, infinite for one too large
    return std::isinf(value) ? std::nullopt : std::optional<double>(value);
}

/// The numbers that \a words stand for; no value if one of them is no number.
inline std::optional<std::vector<double>> numbersOf(const QStringList &words)
{
    std::vector<double> numbers;
    for (const QString &word : words) {
        const std::optional<double> number = numberOf(word);
        if (!number)
            return std::nullopt;
        numbers.push_back(*number);
    }
    return numbers;
}

/// All that is wrong with a pair of lines, in words that name the line by \a where.
inline QStringList judge(const QByteArray &line1, const QByteArray &line2,
    const std::vector<double> &tolerances, const QString &where)
{
    const QStringList words1 = wordsOf(line1);
    const QStringList words2 = wordsOf(line2);
    const bool isComment1 = words1[0].startsWith('#');
    const bool isComment2 = words2[0].startsWith('#');
    if (isComment1 && isComment2)
        return {};
    if (isComment1 || isComment2)
        return {"comment mismatch, " + where};
    const auto columns = static_cast<int>(tolerances.size());
    if (words1.size() < columns || words2.size() < columns)
        return {"too few columns, " + where};
    QStringList problems;
    for (int column = 0; column < columns; ++column) {
        const double tolerance = tolerances[static_cast<std::size_t>(column)];
        if (tolerance < 0)
            continue;
        const QString whereInLine = where + ", column " + QString::number(column + 1);
        const std::optional<double> value1 = numberOf(words1[column]);
        const std::optional<double> value2 = numberOf(words2[column]);
        if (!value1 || !value2)
            problems.append("invalid data on " + whereInLine);
        else if (std::fabs(*value1 - *value2) > tolerance)
            problems.append("differ on " + whereInLine);
    }
    return problems;
}

/// All that differs between two files with \a content1 and \a content2, in words that do not name
/// the files.
inline QStringList differences(
    const QByteArray &content1, const QByteArray &content2, const std::vector<double> &tolerances)
{
    const QList<QByteArray> lines1 = linesOf(content1);
    const QList<QByteArray> lines2 = linesOf(content2);
    QStringList problems;
    for (int index = 0; index < lines1.size() && index < lines2.size(); ++index) {
        const QString where = "line " + QString::number(index + 1);
        if (!tolerances.empty())
            problems += judge(lines1[index], lines2[index], tolerances, where);
        else if (lines1[index] != lines2[index])
            problems.append("differ at " + where);
    }
    if (lines1.size() != lines2.size())
        problems.append("have different lengths");
    return problems;
}

/// What =compare says about two files with \a content1 and \a content2, without the names of the
/// files; "" if they agree.
inline QString outcome(
    const QByteArray &content1, const QByteArray &content2, const QStringList &toleranceWords)
{
    const std::optional<std::vector<double>> tolerances = numbersOf(toleranceWords);
    if (!tolerances)
        return "Invalid =compare column tolerance";
    const QStringList problems = differences(content1, content2, *tolerances);
    return problems.isEmpty() ? "" : problems.first();
}

} // namespace PlainCompare
