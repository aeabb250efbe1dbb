#include "SuiteOptions.h"

#include "SimPrograms.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace Talmo
{

namespace
{

const QString folderOption = QStringLiteral("C");
const QString programOption = QStringLiteral("program");
const QString runOption = QStringLiteral("run");
const QString labelOption = QStringLiteral("label");
const QString excludeLabelOption = QStringLiteral("exclude-label");
const QString distributionOption = QStringLiteral("distribution");

/// \a sentence as one line: a control character in it, of a name that somebody gave to a file, is
/// written as \xHH.
QString oneLine(const QString &sentence)
{
    QString line;
    for (const QChar character : sentence) {
        if (character.category() == QChar::Other_Control)
            line += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            line += character;
    }
    return line;
}

Selection selectionOf(const CommandLine &line)
{
    Selection selection;
    selection.filters = line.positionalArguments();
    selection.runs = line.values(runOption);
    selection.labels = line.values(labelOption);
    selection.excludedLabels = line.values(excludeLabelOption);
    selection.isOfDistribution = isOfDistribution(line);
    return selection;
}

} // namespace

QStringList chosenPrograms(const CommandLine &line, GivenPrograms &given, QStringList &problems)
{
    QString problem;
    if (!line.isSet(programOption)) {
        QStringList configured = storedSimPrograms(problem);
        if (!problem.isNull())
            problems += problem;
        return configured;
    }
    const QStringList texts = line.values(programOption);
    for (const QString &text : texts) {
        if (!given.add(text, problem))
            problems += problem;
    }
    return given.names();
}

bool isOfDistribution(const CommandLine &line)
{
    return line.isSet(distributionOption);
}

void addProgramOption(CommandLine &line)
{
    line.addOption({programOption,
        QStringLiteral("Makes the runs for the program NAME, instead of the configured ones. "
                       "PATH is an executable, or a folder with NAME in it; otherwise NAME is "
                       "found in the PATH. Repeatable."),
        QStringLiteral("NAME[=PATH]")});
}

void addDistributionOption(CommandLine &line)
{
    line.addOption({distributionOption, QStringLiteral("Takes the scripts of the distribution.")});
}

void addFolderOption(CommandLine &line)
{
    line.addOption({folderOption, QStringLiteral("Works as if it were started in DIR."),
        QStringLiteral("DIR")});
}

bool enterFolder(const CommandLine &line, QString &problem)
{
    const QStringList folders = line.values(folderOption); // each is seen from the one before it
    for (const QString &folder : folders) {
        if (chdir(QFile::encodeName(folder)) != 0) {
            problem = QStringLiteral("cannot go to the directory '%1': %2")
                          .arg(folder, QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
    }
    return true;
}

void addSuiteOptions(CommandLine &line)
{
    addFolderOption(line);
    addProgramOption(line);
    line.addOptions({
        {runOption, QStringLiteral("Takes the run NAME, exactly so. Repeatable."),
            QStringLiteral("NAME")},
        {labelOption, QStringLiteral("Takes runs with the label LABEL. Repeatable."),
            QStringLiteral("LABEL")},
        {excludeLabelOption, QStringLiteral("Leaves out runs with the label LABEL. Repeatable."),
            QStringLiteral("LABEL")},
    });
    addDistributionOption(line);
    line.addPositionalArgument(QStringLiteral("filter"),
        QStringLiteral("Takes the scripts whose names match it, a wildcard; test* by default."),
        QStringLiteral("[FILTER...]"));
}

bool ChosenSuite::find(const CommandLine &line, SuitePurpose purpose)
{
    QStringList problems;
    QString problem;
    if (enterFolder(line, problem)) {
        const QStringList names = chosenPrograms(line, programs, problems);
        suite = Suite::find(selectionOf(line), names, problems);
        if (problems.isEmpty() && purpose == SuitePurpose::ToRun)
            programs.enterPath(problem);
    }
    if (!problem.isNull())
        problems += problem;
    for (const QString &sentence : std::as_const(problems))
        line.refuse(oneLine(sentence));
    return problems.isEmpty();
}

} // namespace Talmo
