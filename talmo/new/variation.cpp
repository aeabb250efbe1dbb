#include "variation.h"

#include "DiskFile.h"
#include "Survey.h"
#include "details.h"
#include "talmo/Numbers.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// How many of the lines that differ are shown.
constexpr size_t shownLines = 3;

/// True if numbers have come out differently, and nothing else has.
bool areOnlyValues(const Survey &survey)
{
    for (size_t kind = 0; kind < survey.kinds.size(); ++kind) {
        if (kind != Difference::Value && survey.kinds[kind].lines > 0)
            return false;
    }
    return !survey.columns.empty();
}

/// The word in the column \a column, from 1, of \a line; all of it for column 0.
QString wordOf(const QByteArray &line, size_t column)
{
    if (column == 0)
        return shown(line);
    Words words;
    words.split({line.constData(), static_cast<size_t>(line.size())});
    const std::string_view word = column <= words.count() ? words[column - 1] : std::string_view();
    return shown(QByteArray(word.data(), static_cast<int>(word.size())));
}

/// What stands on \a line in the first run and in this one, in the column \a column, from 1; or as
/// a whole, for column 0.
QString bothTexts(const DifferingLine &line, size_t column)
{
    const QString now = wordOf(line.text1, column);
    const QString before = wordOf(line.text2, column);
    return QStringLiteral("'%1', then '%2'").arg(before, now);
}

QString placeOf(const QString &name, const DifferingLine &line, size_t column)
{
    const QString inColumn =
        column == 0 ? QString()
                    : QStringLiteral(", column %1").arg(static_cast<qulonglong>(column));
    return QStringLiteral("%1:%2%3").arg(name, QString::number(line.line), inColumn);
}

/// Leaves the columns of \a output that differ in \a survey out of the comparison. A sentence for
/// each.
QStringList maskColumns(Output &output, const Survey &survey)
{
    QStringList sentences;
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        const size_t column = index + 1;
        if (survey.columns[index].lines == 0)
            continue;
        output.tolerances[index] = "-1";
        const auto isIn = [column](const DifferingLine &line) {
            return std::count(line.columns.begin(), line.columns.end(), column) > 0;
        };
        const auto found = std::find_if(survey.firstLines.begin(), survey.firstLines.end(), isIn);
        const QString what = QStringLiteral("column %1 of '%2' differs from run to run, and is not "
                                            "compared")
                                 .arg(QString::number(column), output.name);
        sentences +=
            found == survey.firstLines.end()
                ? what
                : what + QStringLiteral(" (%1: %2)")
                             .arg(placeOf(output.name, *found, column), bothTexts(*found, column));
    }
    const bool isAnyLeft = std::any_of(output.tolerances.begin(), output.tolerances.end(),
        [](const std::string &tolerance) { return tolerance != "-1"; });
    if (!isAnyLeft)
        output.test = Output::Exists;
    return sentences;
}

/// Leaves out the comparison of \a output. A sentence for each of the first lines that differ.
QStringList leaveOut(Output &output, const Survey &survey)
{
    output.test = Output::Exists;
    QStringList sentences(QStringLiteral("'%1' differs from run to run, and is not compared, only "
                                         "that it is there")
                              .arg(output.name));
    for (const DifferingLine &line : survey.firstLines) {
        const size_t column = line.columns.empty() ? 0 : line.columns[0];
        sentences += QStringLiteral("    %1: %2")
                         .arg(placeOf(output.name, line, column), bothTexts(line, column));
    }
    if (survey.lengths.lines1 != survey.lengths.lines2)
        sentences += QStringLiteral("    %1: %2 lines, then %3")
                         .arg(output.name, QString::number(survey.lengths.lines2),
                             QString::number(survey.lengths.lines1));
    return sentences;
}

} // namespace

QStringList takeOutWhatVaries(Output &output, const QString &directory, const QString &program)
{
    if (output.test == Output::Nothing)
        return {};
    const QString prefix = directory + QLatin1Char('/');
    if (!existsOnDisk(prefix + output.name)) {
        output.test = Output::Nothing;
        return QStringList(
            QStringLiteral("'%1' is not written by every run, and is not tested").arg(output.name));
    }
    if (output.test == Output::Exists)
        return {};
    const QString reference =
        QString(output.reference).replace(QStringLiteral("$simProgram"), program);
    LineReader file;
    LineReader other;
    std::vector<double> tolerances;
    for (const std::string &tolerance : output.tolerances)
        toNumber(tolerance, tolerances.emplace_back());
    if (!file.open(prefix + output.name) || !other.open(prefix + reference))
        return {};
    // Enough lines to find one for each column that differs, where there are not very many.
    const size_t kept = tolerances.empty() ? shownLines : shownLines + 100 * tolerances.size();
    Survey survey = surveyOf(file, other, tolerances, kept);
    if (survey.agree())
        return {};
    if (areOnlyValues(survey))
        return maskColumns(output, survey);
    survey.firstLines.resize(std::min(survey.firstLines.size(), shownLines));
    return leaveOut(output, survey);
}

} // namespace Talmo
