#include "Words.h"
#include "details.h"
#include "diffOutput.h"
#include "diffWords.h"
#include "systemDiff.h"
#include "wording.h"

#include <algorithm>
#include <string>

#include <unistd.h>

namespace Talmo
{

namespace
{

const char *const red = "\x1B[31m";
const char *const green = "\x1B[32m";
const char *const usual = "\x1B[0m";

/// \a text between the codes of a colour, if it has one and there are colours.
QString coloured(const QString &text, const char *colour, OutputStyle style)
{
    if (style == OutputStyle::Plain || colour == nullptr)
        return text;
    return QLatin1String(colour) + text + QLatin1String(usual);
}

/// A row of the table, a text for each of its columns.
using Row = QStringList;

QString numberOf(const LinePlaces &places)
{
    if (places.line1 == places.line2)
        return QString::number(places.line1);
    return QStringLiteral("%1/%2").arg(places.line1).arg(places.line2);
}

Row rowOf(const DiffResult &result, size_t index)
{
    const Survey &survey = result.survey;
    const ColumnSurvey &column = survey.columns[index];
    const auto position = static_cast<int>(index);
    const QString none = QStringLiteral("-");
    const bool hasNumbers = column.largestLine > 0;
    return {
        QString::number(index + 1),
        position < survey.names.size() ? shown(survey.names[position].left(24)) : QString(),
        result.tolerances.texts[position],
        QString::number(column.lines),
        column.lines > 0 ? numberOf(column.firstPlaces) : none,
        hasNumbers ? roughly(column.largest) : none,
        hasNumbers ? numberOf(column.largestPlaces) : none,
        hasNumbers ? roughly(column.largestRelative) : none,
        hasNumbers ? numberOf(column.largestRelativePlaces) : none,
        column.lines == 0   ? none
        : column.sufficient ? exactly(*column.sufficient)
                            : QStringLiteral("none"),
    };
}

int widthOf(const QString &text)
{
    return static_cast<int>(text.toUcs4().size());
}

/// \a rows with each column as wide as its widest text, two blanks apart.
QStringList aligned(const std::vector<Row> &rows)
{
    std::vector<int> widths(static_cast<size_t>(rows[0].size()));
    for (const Row &row : rows) {
        for (size_t index = 0; index < widths.size(); ++index)
            widths[index] = std::max(widths[index], widthOf(row[static_cast<int>(index)]));
    }
    QStringList lines;
    for (const Row &row : rows) {
        QString line;
        for (size_t index = 0; index < widths.size(); ++index) {
            const QString &text = row[static_cast<int>(index)];
            if (widths[index] > 0)
                line += QString(widths[index] - widthOf(text) + 2, QLatin1Char(' ')) + text;
        }
        lines += line.mid(2);
    }
    return lines;
}

QStringList tableOf(const DiffResult &result)
{
    const bool hasNames = !result.survey.names.isEmpty();
    std::vector<Row> rows = {
        {QStringLiteral("column"), hasNames ? QStringLiteral("name") : QString(),
            QStringLiteral("tolerance"), QStringLiteral("differ"), QStringLiteral("first"),
            QStringLiteral("largest"), QStringLiteral("line"), QStringLiteral("relative"),
            QStringLiteral("line"), QStringLiteral("passes with")}};
    for (size_t index = 0; index < result.survey.columns.size(); ++index) {
        if (result.survey.columns[index].tolerance >= 0)
            rows.push_back(rowOf(result, index));
    }
    return rows.size() > 1 ? aligned(rows) : QStringList();
}

/// A piece of a line, as it is shown.
struct Piece {
    QString text;
    bool differs = false;
};

/// \a line in pieces, its words and what is between them; the words in \a columns differ. Blanks
/// that are not ASCII are shown as one blank.
std::vector<Piece> piecesOf(const QByteArray &line, const std::vector<size_t> &columns)
{
    const std::string_view text(line.constData(), static_cast<size_t>(line.size()));
    Words words;
    words.split(text);
    std::vector<Piece> pieces;
    const char *end = text.data();
    for (size_t index = 0; index < words.count(); ++index) {
        const std::string_view word = words[index];
        const bool isInText = word.data() >= text.data() && word.data() < text.data() + text.size();
        if (isInText)
            pieces.push_back({QString(static_cast<int>(word.data() - end), QLatin1Char(' '))});
        else if (index > 0)
            pieces.push_back({QStringLiteral(" ")});
        const bool differs = std::find(columns.begin(), columns.end(), index + 1) != columns.end();
        pieces.push_back({shown(QByteArray(word.data(), static_cast<int>(word.size()))), differs});
        if (isInText)
            end = word.data() + word.size();
    }
    return pieces;
}

constexpr int mostShown = 200; // characters of a line

/// Leaves out pieces at the front of \a pieces if what differs would not be seen otherwise.
void bringIntoSight(std::vector<Piece> &pieces)
{
    const auto differing = std::find_if(
        pieces.begin(), pieces.end(), [](const Piece &piece) { return piece.differs; });
    if (differing == pieces.end())
        return;
    int width = 0;
    for (auto piece = pieces.begin(); piece != differing; ++piece)
        width += widthOf(piece->text);
    if (width + widthOf(differing->text) <= mostShown)
        return;
    pieces.erase(pieces.begin(), differing);
    pieces.insert(pieces.begin(), {QStringLiteral("... ")});
}

/// Appends \a line and, if words in it differ, a line that marks them.
void appendLine(QStringList &lines, const QString &front, const QByteArray &line,
    const std::vector<size_t> &columns, const char *colour, OutputStyle style)
{
    std::vector<Piece> pieces = piecesOf(line, columns);
    bringIntoSight(pieces);
    QString text = front;
    QString marks(widthOf(front), QLatin1Char(' '));
    int width = 0;
    for (const Piece &piece : pieces) {
        const int wide = widthOf(piece.text);
        if (width + wide > mostShown && width > 0) {
            text += QStringLiteral(" ...");
            break;
        }
        width += wide;
        text += piece.differs ? coloured(piece.text, colour, style) : piece.text;
        marks += QString(wide, QLatin1Char(piece.differs ? '^' : ' '));
    }
    lines += text;
    while (marks.endsWith(QLatin1Char(' ')))
        marks.chop(1);
    if (!marks.isEmpty())
        lines += marks;
}

/// The first lines that differ, both sides of each.
QStringList differingLines(const DiffResult &result, OutputStyle style)
{
    const Survey &survey = result.survey;
    QStringList lines;
    for (const DifferingLine &line : survey.firstLines) {
        lines += capitalized(lineText(line.places)) + QLatin1Char(':');
        appendLine(lines, QStringLiteral("  1: "), line.text1, line.columns, red, style);
        appendLine(lines, QStringLiteral("  2: "), line.text2, line.columns, green, style);
    }
    const qint64 more = survey.differingLines - static_cast<qint64>(survey.firstLines.size());
    if (more > 0 && !lines.isEmpty())
        lines += QStringLiteral("and %1 more").arg(counted(more, "line"));
    return lines;
}

/// The lines of "diff -u", or our own if there are none.
QStringList diffLines(const DiffResult &result, OutputStyle style)
{
    constexpr size_t mostLines = 200;
    if (result.request.keptLines == 0)
        return {};
    if (!result.mayReadAgain)
        return differingLines(result, style);
    const SystemDiff diff = systemDiff(result.request.file1, result.request.file2, mostLines);
    if (!diff.problem.isNull())
        return QStringList(QStringLiteral("No 'diff -u': ") + diff.problem) +
               differingLines(result, style);
    QStringList lines;
    for (const QByteArray &line : diff.lines) {
        const char *const colour = line.startsWith('-')   ? red
                                   : line.startsWith('+') ? green
                                                          : nullptr;
        lines += coloured(shown(line), colour, style);
    }
    if (diff.isCut)
        lines += QStringLiteral("The rest of 'diff -u' is left out");
    return lines;
}

/// Appends \a section below an empty line, if there is anything in it.
void appendSection(QStringList &lines, const QStringList &section)
{
    if (!section.isEmpty())
        lines += QStringList(QString()) + section;
}

/// The message of "=compare", or what is there instead if only the blocks part.
QString firstLineOf(const DiffResult &result)
{
    const QString name1 = shown(result.request.file1);
    const QString name2 = shown(result.request.file2);
    const QString message = messageOf(result, name1, name2);
    return message.isNull()
               ? QStringLiteral("Files '%1' and '%2' have not the same blocks").arg(name1, name2)
               : message;
}

} // namespace

OutputStyle styleOfOutput()
{
    const QByteArray terminal = qgetenv("TERM");
    const bool mayHaveColours = isatty(STDOUT_FILENO) == 1 &&
                                qEnvironmentVariableIsEmpty("NO_COLOR") && !terminal.isEmpty() &&
                                terminal != "dumb";
    return mayHaveColours ? OutputStyle::Coloured : OutputStyle::Plain;
}

QByteArray textOf(const DiffResult &result, OutputStyle style)
{
    QStringList lines;
    if (!result.agree()) {
        lines += firstLineOf(result);
        appendSection(lines, tableOf(result));
        appendSection(lines, aboutKinds(result));
        if (const QString blocks = aboutBlocks(result); !blocks.isNull())
            appendSection(lines, {capitalized(blocks)});
        appendSection(lines, result.request.comparesNumbers ? differingLines(result, style)
                                                            : diffLines(result, style));
        const QString ready = readyLineOf(result);
        if (!ready.isNull())
            appendSection(lines, {QStringLiteral("This would pass:"), ready});
        if (const QString growth = growthOf(result); !growth.isNull())
            appendSection(lines, {growth});
        lines += QString();
    }
    lines += reasonOf(result);
    return lines.join(QLatin1Char('\n')).toLocal8Bit() + '\n';
}

} // namespace Talmo
