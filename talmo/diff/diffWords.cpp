// The sentences about two files that differ, for people and for programs alike.

#include "diffWords.h"

#include "details.h"
#include "wording.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Talmo
{

namespace
{

/// How many times its tolerance the largest difference of \a column is.
double excessOf(const ColumnSurvey &column)
{
    return column.tolerance > 0 ? column.largest / column.tolerance
                                : std::numeric_limits<double>::infinity();
}

/// The column that is farthest from passing; null if none has numbers that differ.
const ColumnSurvey *worstColumn(const Survey &survey)
{
    const ColumnSurvey *worst = nullptr;
    for (const ColumnSurvey &column : survey.columns) {
        if (column.largestLine == 0)
            continue;
        const double excess = excessOf(column);
        if (worst == nullptr || excess > excessOf(*worst) ||
            (excess == excessOf(*worst) && column.largest > worst->largest))
            worst = &column;
    }
    return worst;
}

/// About the column of \a survey that is farthest from passing.
QString aboutWorst(const Survey &survey, const Tolerances &tolerances)
{
    const ColumnSurvey *const worst = worstColumn(survey);
    if (worst == nullptr)
        return {};
    const auto index = static_cast<size_t>(worst - survey.columns.data());
    return QStringLiteral("%1 is the worst, by %2 on %3 with the tolerance %4")
        .arg(columnText(survey, index), roughly(worst->largest), lineText(worst->largestPlaces),
            tolerances.texts[static_cast<int>(index)]);
}

/// How many lines differ.
QString aboutLines(const Survey &survey)
{
    const qint64 all = std::min(survey.lengths.lines1, survey.lengths.lines2);
    if (survey.agree())
        return all == 1 ? QStringLiteral("the only line agrees")
                        : QStringLiteral("all %1 lines agree").arg(all);
    if (survey.differingLines == 0 && all == 0)
        return {};
    if (survey.differingLines == 0)
        return all == 1 ? QStringLiteral("the first line agrees")
                        : QStringLiteral("the first %1 lines agree").arg(all);
    return QStringLiteral("%1 of %2 %3")
        .arg(QString::number(survey.differingLines), counted(all, "line"),
            QLatin1String(survey.differingLines == 1 ? "differs" : "differ"));
}

// How a kind of lines is told, in the order in which it is; %1 is the number of lines.
struct KindRow {
    Difference::Kind kind;
    const char *one;
    const char *several;
};
const KindRow kindRows[] = {
    {Difference::CommentMismatch, "%1 is a comment in one file only",
        "%1 are comments in one file only"},
    {Difference::TooFewColumns, "%1 has too few columns", "%1 have too few columns"},
    {Difference::InvalidData, "%1 has a word that is no number",
        "%1 have a word that is no number"},
};

QString aboutMissing(const Survey &survey, const QString &name1, const QString &name2)
{
    const bool isShorter1 = survey.lengths.lines1 < survey.lengths.lines2;
    const KindSurvey &kind = survey.kinds[Difference::Length];
    const QString place =
        QString::number(isShorter1 ? kind.firstPlaces.line2 : kind.firstPlaces.line1);
    const QString &shorter = isShorter1 ? name1 : name2;
    const QString &longer = isShorter1 ? name2 : name1;
    if (kind.lines == 1)
        return QStringLiteral("'%1' lacks the last line of '%2', line %3")
            .arg(shorter, longer, place);
    return QStringLiteral("'%1' lacks the last %2 of '%3', from line %4 on")
        .arg(shorter, counted(kind.lines, "line"), longer, place);
}

/// What was compared of files that agree.
QString aboutAgreement(const DiffResult &result)
{
    const Survey &survey = result.survey;
    const qint64 all = std::min(survey.lengths.lines1, survey.lengths.lines2);
    const auto count = std::count_if(survey.columns.begin(), survey.columns.end(),
        [](const ColumnSurvey &column) { return column.tolerance >= 0; });
    QString text = counted(all, "line");
    if (result.request.comparesNumbers)
        text += QStringLiteral(", ") + counted(count, "column");
    const qint64 extra = std::abs(survey.lengths.lines1 - survey.lengths.lines2);
    if (extra > 0)
        text += QStringLiteral("; %1 more of '%2' ignored")
                    .arg(counted(extra, "line"), shown(survey.lengths.lines1 > survey.lengths.lines2
                                                           ? result.request.file1
                                                           : result.request.file2));
    return text;
}

/// Whether a script can have \a name as a word.
bool isScriptWord(const QString &name)
{
    const bool isPlain = std::all_of(name.begin(), name.end(),
        [](QChar character) { return character.isPrint() && !character.isSpace(); });
    return isPlain && !name.isEmpty() && !name.contains(QLatin1String("$simProgram"));
}

} // namespace

QString lineText(const LinePlaces &places)
{
    if (places.line1 == places.line2)
        return QStringLiteral("line %1").arg(places.line1);
    return QStringLiteral("lines %1 and %2")
        .arg(QString::number(places.line1), QString::number(places.line2));
}

QString capitalized(QString text)
{
    text[0] = text[0].toUpper();
    return text;
}

QString columnText(const Survey &survey, size_t index)
{
    QString text = QStringLiteral("column %1").arg(index + 1);
    if (index >= static_cast<size_t>(survey.names.size()))
        return text;
    return text + QStringLiteral(" (%1)").arg(shown(survey.names[static_cast<int>(index)]));
}

QStringList aboutKinds(const DiffResult &result)
{
    const Survey &survey = result.survey;
    QStringList sentences;
    for (const KindRow &row : kindRows) {
        const KindSurvey &kind = survey.kinds[row.kind];
        if (kind.lines == 0)
            continue;
        const QString what = QString::fromLatin1(kind.lines == 1 ? row.one : row.several)
                                 .arg(counted(kind.lines, "line"));
        sentences += kind.lines == 1
                         ? what + QStringLiteral(": ") + lineText(kind.firstPlaces)
                         : what + QStringLiteral(", first ") + lineText(kind.firstPlaces);
    }
    if (survey.kinds[Difference::Length].firstLine > 0)
        sentences += aboutMissing(survey, shown(result.request.file1), shown(result.request.file2));
    return sentences;
}

QString aboutBlocks(const DiffResult &result)
{
    if (!result.parting)
        return {};
    const BlockParting &parting = *result.parting;
    const QString name1 = shown(result.request.file1);
    const QString name2 = shown(result.request.file2);
    const LinePlaces &headings = parting.headings;
    const bool isMissing1 = headings.line1 == 0;
    if (isMissing1 || headings.line2 == 0)
        return QStringLiteral("block %1, below line %2 of '%3', is missing in '%4'")
            .arg(QString::number(parting.number),
                QString::number(isMissing1 ? headings.line2 : headings.line1),
                isMissing1 ? name2 : name1, isMissing1 ? name1 : name2);
    return QStringLiteral("block %1 has %2 in '%3', below line %4, and %5 in '%6', below line %7")
        .arg(QString::number(parting.number), counted(parting.lines1, "line"), name1,
            QString::number(headings.line1), counted(parting.lines2, "line"), name2,
            QString::number(headings.line2));
}

QString messageOf(const DiffResult &result, const QString &name1, const QString &name2)
{
    if (!result.survey.first)
        return {};
    Difference difference = *result.survey.first;
    const LinePlaces &places = result.survey.firstPlaces;
    if (difference.line == 0)
        return describe(difference, name1, name2);
    difference.line = places.line1;
    QString message = describe(difference, name1, name2);
    if (places.line1 == places.line2)
        return message;
    return message + QStringLiteral(" (line %1 of '%2')").arg(QString::number(places.line2), name2);
}

QString reasonOf(const DiffResult &result)
{
    const Survey &survey = result.survey;
    if (result.agree())
        return QStringLiteral("Files '%1' and '%2' agree: %3")
            .arg(shown(result.request.file1), shown(result.request.file2), aboutAgreement(result));
    QStringList parts = {aboutLines(survey), aboutWorst(survey, result.tolerances)};
    if (survey.kinds[Difference::Text].lines > 0)
        parts[0] +=
            QStringLiteral(", first ") + lineText(survey.kinds[Difference::Text].firstPlaces);
    parts += aboutKinds(result);
    parts += aboutBlocks(result);
    parts.removeAll(QString());
    return capitalized(parts.join(QStringLiteral("; ")));
}

QString readyLineOf(const DiffResult &result)
{
    const DiffRequest &request = result.request;
    const Survey &survey = result.survey;
    const bool mayStand = request.isPlain() && request.comparesNumbers && result.mayReadAgain &&
                          isScriptWord(request.file1) && isScriptWord(request.file2);
    if (survey.agree() || !mayStand || !survey.toleranceHelps())
        return {};
    QStringList words = {QStringLiteral("=compare"), request.file1, request.file2};
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        const ColumnSurvey &column = survey.columns[index];
        const double sufficient = column.sufficient.value_or(column.tolerance);
        words += sufficient == column.tolerance ? result.tolerances.texts[static_cast<int>(index)]
                                                : exactly(sufficient);
    }
    return words.join(QLatin1Char(' '));
}

QString growthOf(const DiffResult &result)
{
    constexpr double much = 100;
    QStringList columns;
    for (size_t index = 0; index < result.survey.columns.size(); ++index) {
        const ColumnSurvey &column = result.survey.columns[index];
        const bool grows = column.tolerance > 0 && column.sufficient;
        if (grows && *column.sufficient / column.tolerance > much)
            columns += QStringLiteral("%1 %2 times")
                           .arg(columnText(result.survey, index),
                               roughly(*column.sufficient / column.tolerance));
    }
    constexpr int most = 10;
    const auto more = columns.size() - most;
    if (more > 0)
        columns = columns.mid(0, most) + QStringList(QStringLiteral("%1 more columns").arg(more));
    if (columns.isEmpty())
        return {};
    return QStringLiteral("Tolerances would grow more than a hundredfold: ") +
           columns.join(QStringLiteral(", "));
}

} // namespace Talmo
