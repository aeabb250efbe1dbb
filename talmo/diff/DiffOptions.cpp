#include "DiffOptions.h"

#include "CommandLine.h"
#include "Needs.h"
#include "commandTable.h"
#include "plot.h"
#include "replacing.h"
#include "talmo/Numbers.h"

namespace Talmo
{

namespace
{

struct OptionRow {
    const char *name;
    const char *value; ///< what its value is called; null if it takes none
    bool isRepeated;   ///< it may be there several times
    const char *help;
};

const OptionRow optionRows[] = {
    {"relative", "R", false,
        "A value agrees also if its difference is at most R times the larger magnitude of the two "
        "numbers."},
    {"relative-to-column", "R", false,
        "The same with the largest magnitude of the column, for which both files are read twice."},
    {"tolerance", "COLUMN=T", true, "The tolerance of one column, by its number or name."},
    {"columns", "LIST", false,
        "Compares these columns only, such as 2,5-7. TOLERANCEs belong to them in their order."},
    {"skip", "PATTERN", true, "Leaves out the lines that match, in both files."},
    {"from", "PATTERN", false, "Compares what follows a line that matches,"},
    {"to", "PATTERN", false,
        "up to the next line that matches, as often as there are such blocks. Both files must have "
        "as "
        "many of them, and of the same sizes."},
    {"widths", "LIST", false,
        "Columns of so many characters, such as 5,12,12, with or without blanks between them."},
    {"sort", "COLUMN", false,
        "Sorts the lines of both files, block by block, by the numbers in this column."},
    {"ignore-extra-lines", nullptr, false, "One file may have more lines than the other."},
    {"lines", "N", false, "Shows the first N lines that differ; the default is 10."},
    {"json", nullptr, false, "Prints everything as one JSON document."},
    {"plot", "FILE.svg", false,
        "Draws the columns that differ as a picture, for which both files are read again."},
    {"x", "COLUMN", false, "Draws them over this column instead of the line number."},
};

/// A number that begins with "-" is a tolerance, which Qt would take for an option.
bool isNumber(const QString &word)
{
    double number = 0;
    return toNumber(word.toStdString(), number);
}

/// Reads one call. What is wrong with it comes back as a sentence.
class Reading
{
public:
    explicit Reading(const CommandLine &commandLine)
        : line(commandLine)
    {
    }

    /// The sentence is null if all is well.
    QString read(DiffRequest &target)
    {
        readPositional(target);
        readNumbers(target);
        readColumns(target);
        readPreparation(target);
        readRest(target);
        return problem;
    }

private:
    bool has(const char *option) const { return line.isSet(QLatin1String(option)); }
    QString valueOf(const char *option) const { return line.value(QLatin1String(option)); }
    void object(const QString &sentence)
    {
        if (problem.isNull())
            problem = sentence;
    }

    void readPositional(DiffRequest &target);
    void readNumbers(DiffRequest &target);
    double part(const char *option);
    void readColumns(DiffRequest &target);
    QString pattern(const char *option);
    void readPreparation(DiffRequest &target);
    void readRest(DiffRequest &target);
    void readPlot(DiffRequest &target);

    const CommandLine &line;
    QString problem;
};

void Reading::readPositional(DiffRequest &target)
{
    const QStringList words = line.positionalArguments();
    if (words.size() < 2) {
        object(words.isEmpty() ? QStringLiteral("FILE1 and FILE2 are missing")
                               : QStringLiteral("FILE2 is missing"));
        return;
    }
    target.file1 = words[0];
    target.file2 = words[1];
    target.tolerances = words.mid(2);
    if (target.file1 == QLatin1String("-") && target.file2 == QLatin1String("-"))
        object(QStringLiteral("only one of the files can be '-', standard input"));
    for (const QString &word : target.tolerances) {
        if (!isNumber(word))
            object(QStringLiteral("the tolerance '%1' is no number").arg(word));
    }
}

void Reading::readNumbers(DiffRequest &target)
{
    for (const OptionRow &row : optionRows) {
        if (!row.isRepeated && line.values(QLatin1String(row.name)).size() > 1)
            object(QStringLiteral("--%1 is there twice").arg(QLatin1String(row.name)));
    }
    target.relative = part("relative");
    target.relativeToColumn = part("relative-to-column");
    if (!has("lines"))
        return;
    bool isCount = false;
    const uint count = valueOf("lines").toUInt(&isCount);
    target.keptLines = count;
    if (!isCount || count > 10000)
        object(QStringLiteral("--lines takes a whole number from 0 to 10000, not '%1'")
                   .arg(valueOf("lines")));
}

/// The value of \a option, which is a part of something; 0 if it is not there.
double Reading::part(const char *option)
{
    double number = 0;
    if (has(option) && (!toNumber(valueOf(option).toStdString(), number) || number < 0))
        object(QStringLiteral("--%1 takes a number from 0 on, not '%2'")
                   .arg(QLatin1String(option), valueOf(option)));
    return number;
}

void Reading::readColumns(DiffRequest &target)
{
    if (has("columns"))
        target.columns = valueOf("columns").split(QLatin1Char(','));
    target.columnTolerances = line.values(QStringLiteral("tolerance"));
    for (const QString &item : target.columnTolerances) {
        const auto sign = item.lastIndexOf(QLatin1Char('='));
        if (sign < 1 || !isNumber(item.mid(sign + 1)))
            object(
                QStringLiteral("--tolerance takes COLUMN=T with a number T, not '%1'").arg(item));
    }
}

/// The pattern that \a option takes; null if it is not there.
QString Reading::pattern(const char *option)
{
    const QStringList texts = line.values(QLatin1String(option));
    for (const QString &text : texts) {
        if (const QString reason = problemOfPattern(text); !reason.isNull())
            object(QStringLiteral("--%1: %2").arg(QLatin1String(option), reason));
        else if (text.isEmpty())
            object(QStringLiteral("--%1 takes a pattern, which is not empty")
                       .arg(QLatin1String(option)));
    }
    return texts.isEmpty() ? QString() : texts.last();
}

void Reading::readPreparation(DiffRequest &target)
{
    Preparation &preparation = target.preparation;
    preparation.from = pattern("from");
    preparation.to = pattern("to");
    pattern("skip");
    preparation.skip = line.values(QStringLiteral("skip"));
    if (has("sort"))
        preparation.sort = valueOf("sort");
    if (has("sort") && preparation.sort.isEmpty())
        object(QStringLiteral("--sort takes a column"));
    if (!has("widths"))
        return;
    for (const QString &text : valueOf("widths").split(QLatin1Char(','))) {
        const std::optional<int> width = countOf(text);
        if (!width)
            object(QStringLiteral("--widths takes whole numbers from 1 on, not '%1'").arg(text));
        else
            preparation.widths.push_back(static_cast<size_t>(*width));
    }
}

void Reading::readRest(DiffRequest &target)
{
    target.ignoresExtraLines = has("ignore-extra-lines");
    target.isJson = has("json");
    target.comparesNumbers = !target.tolerances.isEmpty() || has("relative") ||
                             has("relative-to-column") || has("tolerance") || has("columns") ||
                             has("widths") || has("sort");
    target.preparation.hasFixedColumns =
        target.comparesNumbers && target.tolerances.isEmpty() && !has("columns");
    readPlot(target);
    for (const char *const option : {"relative-to-column", "plot"}) {
        const bool isInput =
            target.file1 == QLatin1String("-") || target.file2 == QLatin1String("-");
        if (has(option) && isInput)
            object(QStringLiteral("--%1 reads the files again, and standard input can be read "
                                  "only once")
                       .arg(QLatin1String(option)));
    }
}

void Reading::readPlot(DiffRequest &target)
{
    if (has("x") && !has("plot"))
        object(QStringLiteral("--x is about the picture of --plot, which is missing"));
    if (has("plot") && !target.comparesNumbers)
        object(QStringLiteral("--plot draws numbers, and without tolerances text is compared"));
    if (has("x"))
        target.plotX = valueOf("x");
    if (!has("plot"))
        return;
    target.plot = valueOf("plot");
    const QString obstacle = problemOfReplacing(target.plot, isPlot, QStringLiteral("a picture"));
    if (!obstacle.isNull())
        object(obstacle);
}

void describeOptions(CommandLine &line)
{
    for (const OptionRow &row : optionRows) {
        line.addOption({QLatin1String(row.name), QLatin1String(row.help),
            row.value == nullptr ? QString() : QLatin1String(row.value)});
    }
    line.addPositionalArgument(
        QStringLiteral("FILE1"), QStringLiteral("A file, or '-' for standard input."));
    line.addPositionalArgument(QStringLiteral("FILE2"), QStringLiteral("The other one."));
    line.addPositionalArgument(QStringLiteral("TOLERANCE"),
        QStringLiteral("The largest difference allowed in a column, as in =compare; a negative one "
                       "means that the column is not compared."),
        QStringLiteral("[TOLERANCE...]"));
}

} // namespace

std::optional<DiffRequest> diffRequestOf(const QStringList &arguments, int &status)
{
    CommandLine line(QStringLiteral("diff"),
        QStringLiteral(
            "Compares two files as =compare does, to their ends, and tells how they differ.\n\n"
            "Without TOLERANCEs and options about numbers, the lines are compared byte by byte.\n"
            "With such an option and without TOLERANCEs, all columns are compared, with the\n"
            "tolerance 0. The exit status is 0 if the files agree, 1 if they differ, and 2 if "
            "they\n"
            "could not be compared."));
    describeOptions(line);
    if (const std::optional<int> done = line.read(arguments, isNumber)) {
        status = *done;
        return {};
    }
    DiffRequest request;
    const QString problem = Reading(line).read(request);
    if (problem.isNull())
        return request;
    status = line.refuse(problem);
    return {};
}

} // namespace Talmo
