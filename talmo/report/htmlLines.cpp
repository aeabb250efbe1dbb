// The first lines on which two files differ, one below the other.

#include "htmlSections.h"

#include "utf8.h"

#include <QStringList>

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr size_t mostLines = 8;
constexpr int longestWord = 80;
constexpr int longestLine = 200;

/// A line, or a part of one, whose words are separate.
struct LinePart {
    QStringList words;
    int first = 0; ///< the number of the first word, from 0
    bool isCut = false;
};

/// \a text, or of a long one what is around the word \a column, from 1.
LinePart partOf(const QByteArray &text, size_t column)
{
    constexpr int before = 4;
    constexpr int after = 8;
    LinePart part;
    const QString line = decodedBytes(text);
    part.words = line.simplified().split(QLatin1Char(' '));
    if (line.size() <= longestLine)
        return part;
    part.isCut = true;
    part.first = std::max(0, static_cast<int>(column) - 1 - before);
    part.words = part.words.mid(part.first, before + 1 + after);
    for (QString &word : part.words) {
        if (word.size() > longestWord)
            word = word.left(longestWord) + QChar(0x2026);
    }
    return part;
}

/// One side of \a line, which has the \a text, with the words marked that differ.
void writeLine(
    const QString &label, const QByteArray &text, const DifferingLine &line, HtmlWriter &html)
{
    html.element("span", label.leftJustified(10), {{"class", "pale"}});
    if (text.isNull()) {
        html.element("em", "no such line\n");
        return;
    }
    const LinePart part = partOf(text, line.columns.empty() ? 1 : line.columns.front());
    if (part.first > 0)
        html.text(QStringLiteral("\u2026 "));
    if (line.columns.empty())
        html.open("mark");
    for (int index = 0; index < part.words.size(); ++index) {
        const auto column = static_cast<size_t>(part.first) + static_cast<size_t>(index) + 1;
        const bool differs = std::binary_search(line.columns.begin(), line.columns.end(), column);
        if (index > 0)
            html.text("  ");
        if (differs)
            html.element("mark", part.words[index]);
        else
            html.text(part.words[index]);
    }
    if (line.columns.empty())
        html.close();
    html.text(part.isCut ? QStringLiteral(" \u2026\n") : QStringLiteral("\n"));
}

} // namespace

void writeLines(const FailedComparison &comparison, PageBudget &budget, HtmlWriter &html)
{
    const Survey &survey = comparison.survey;
    const size_t count = std::min(survey.firstLines.size(), mostLines);
    if (count == 0)
        return;
    if (!budget.take(static_cast<qint64>(count) * 2 * longestLine))
        return writeTooLarge(QStringLiteral("The lines that differ are not shown"), html);
    html.element("p", QStringLiteral("The first lines that differ, of '%1' (1) and '%2' (2):")
                          .arg(comparison.file1, comparison.file2));
    html.open("pre", {{"class", "lines"}, {"tabindex", "0"}, {"aria-label", "Lines that differ"}});
    for (size_t index = 0; index < count; ++index) {
        const DifferingLine &line = survey.firstLines[index];
        writeLine(QStringLiteral("%1 (1)").arg(line.line), line.text1, line, html);
        writeLine(QStringLiteral("(2)").rightJustified(
                      static_cast<int>(QString::number(line.line).size()) + 4),
            line.text2, line, html);
    }
    html.close();
}

} // namespace Talmo
