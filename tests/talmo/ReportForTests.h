#pragma once

#include "Report.h"
#include "ResultsForTests.h"

#include <QDir>

#include <cmath>

// Reports as values, with the directories that their runs have left.

/// A table of \a lines lines with the columns s, x and y, in which \a error is added to y.
inline QByteArray tableOf(int lines, double error)
{
    QByteArray table = "# s x y\n";
    for (int line = 0; line < lines; ++line) {
        const double s = line * 0.1;
        const double bump = error * std::exp(-std::pow((line - lines * 0.6) / (lines * 0.05), 2));
        table += QByteArray::number(s, 'g', 8) + ' ' + QByteArray::number(std::sin(s), 'g', 12) +
                 ' ' + QByteArray::number(1e-3 * std::cos(3 * s) + bump, 'g', 12) + '\n';
    }
    return table;
}

/// "=compare \a file1 \a file2" of line \a line, with the files in \a directory.
inline Talmo::FailedComparison comparisonOf(qint64 line, const QString &directory,
    const QString &file1, const QString &file2, const std::vector<double> &tolerances,
    bool isReported)
{
    Talmo::FailedComparison comparison;
    comparison.line = line;
    comparison.file1 = file1;
    comparison.file2 = file2;
    comparison.tolerances = tolerances;
    comparison.isReported = isReported;
    Talmo::LineReader reader1;
    Talmo::LineReader reader2;
    EXPECT_TRUE(reader1.open(directory + '/' + file1)) << file1.toStdString();
    EXPECT_TRUE(reader2.open(directory + '/' + file2)) << file2.toStdString();
    comparison.survey = Talmo::surveyOf(reader1, reader2, tolerances, 10);
    comparison.survey.names = QStringList({"s", "x", "y"});
    if (comparison.survey.first)
        comparison.message = Talmo::describe(*comparison.survey.first, file1, file2);
    return comparison;
}

/// Adds a run \a name to \a report, which failed with two comparisons of tables of \a lines lines,
/// and has a directory below that of the suite.
inline void addFailure(Talmo::Report &report, const QString &name, int lines)
{
    Talmo::RunRecord run = runOf(name, Talmo::RunState::Failed);
    const Talmo::RunRecord made = run;
    run.directory = made.script + ".dir";
    const QString directory = report.results.suite + '/' + run.directory;
    EXPECT_TRUE(QDir().mkpath(directory));
    writeTo(directory + "/out.dat", tableOf(lines, 2e-4));
    writeTo(directory + "/ref.dat", tableOf(lines, 0));
    writeTo(directory + "/other.dat", tableOf(lines, 3e-7));
    Talmo::FailedRun failure;
    failure.run = report.results.runs.size();
    failure.directory = directory;
    failure.inspection.line = 14;
    failure.inspection.comparisons = {
        comparisonOf(14, directory, "out.dat", "ref.dat", {0, 1e-9, 1e-6}, true),
        comparisonOf(15, directory, "other.dat", "ref.dat", {0, 1e-9, 1e-9}, false),
    };
    failure.scriptText = "=optics of a ring with " + made.script.toUtf8() +
                         "\n=simprogram .*\n\n=file in.txt\nN = 1000\nturns = 30\nring: quad, "
                         "drift, quad\ntwiss, file=out.dat\n\n=run $simProgram in.txt\n"
                         "=exists out.dat\n=exists other.dat\n# the optics\n"
                         "=compare out.dat ref.dat 0 1e-9 1e-6\n=compare other.dat ref.dat 0 1e-9 "
                         "1e-9\n=echo done\n";
    failure.rerun = "cd " + report.results.suite + " && talmo run '" + name + "'";
    run.heading = "optics of a ring with " + made.script;
    run.message = failure.inspection.comparisons[0].message;
    run.line = 14;
    run.labels = QStringList({"optics", "slow"});
    run.details = QStringList({made.script + ":14: =compare out.dat ref.dat 0 1e-9 1e-6",
        "1.2e-05 and 1e-05 are 2e-06 apart, 2 times the tolerance 1e-06"});
    run.seconds = 1.25;
    run.systemOut = "==== output, 64 bytes\nreading in.txt\n30 turns\nwriting out.dat\n";
    report.results.runs.push_back(run);
    report.failures.push_back(failure);
}

/// A report about \a runs runs, of which the \a failures first ones failed, of a suite in \a
/// folder. Each script runs with two programs.
inline Talmo::Report reportOf(const QString &folder, int runs, int failures, int lines)
{
    Talmo::Report report;
    report.results.suite = folder + "/suite";
    report.results.host = "machine.example";
    report.results.started = "2026-03-01T12:00:10+01:00";
    report.results.seconds = 61.5;
    report.source = "the latest run in " + report.results.suite;
    EXPECT_TRUE(QDir().mkpath(report.results.suite));
    for (int number = 0; number < runs; ++number) {
        const QString name = QStringLiteral("ring%1(%2)")
                                 .arg(number / 2 + 1, 4, 10, QLatin1Char('0'))
                                 .arg(QLatin1String(number % 2 == 0 ? "tracker" : "trackerKick"));
        if (number < failures) {
            addFailure(report, name, lines);
            continue;
        }
        Talmo::RunRecord run = runOf(name);
        run.heading = "a ring";
        run.seconds = 0.01 * (number % 97);
        report.results.runs.push_back(run);
    }
    return report;
}

/// A report with something of every kind.
inline Talmo::Report richReport(const QString &folder)
{
    using Talmo::RunState;
    Talmo::Report report = reportOf(folder, 40, 3, 300);
    const auto add = [&report](const QString &name, RunState state, const QString &message) {
        report.results.runs.push_back(runOf(name, state, message));
        return &report.results.runs.back();
    };
    add("beam1", RunState::Passed, {})->heading = "a script without a program";
    add("beam2", RunState::Skipped, "No applicable SimPrograms");
    add("beam3", RunState::Skipped, "No applicable SimPrograms");
    add("beam4(tracker)", RunState::Known, "'sim' failed")->knownPattern = "'sim' failed";
    add("beam5(tracker)", RunState::Passed, {})->attempts = 3;
    add("beam6", RunState::NotRun, "the suite was interrupted");
    Talmo::FailedRun failure;
    failure.run = report.results.runs.size();
    failure.inspection.obstacle = "'beam7.dir' was removed since";
    failure.rerun = "talmo run beam7";
    add("beam7", RunState::Failed, "running 'sim' failed")->remarks =
        QStringList("a process was left behind");
    report.failures.push_back(failure);
    report.versions = {{"tracker", "tracker 1.2"}, {"trackerKick", "trackerKick 1.3-beta"}};
    Talmo::Changes changes;
    changes.old = "the run of 2026-02-28 18:30:00";
    changes.newlyFailing = QStringList({"ring0001(tracker)", "beam7"});
    changes.newlyPassing = QStringList("beam1");
    changes.stillFailing = QStringList("ring0001(trackerKick)");
    changes.added = QStringList("beam5(tracker)");
    changes.gone = QStringList("beam0");
    changes.slower = {{"ring0010(tracker)", 0.5, 1.5}};
    report.changes = changes;
    return report;
}

/// A text with all that could become something else in a page.
inline QString hostileText()
{
    return QStringLiteral("</pre></script><script>document.title='owned'</script>"
                          "<img src=http://127.0.0.1:9/x onerror=document.title='owned'>"
                          "<a href=javascript:1>\"'&amp;&lt;]]>-->") +
           QChar(0) + QChar(0x1b) + "[31m" + QChar(0x202e) + "abc" + QChar(0x2066) + QChar(0xd800) +
           QChar(0x9b) + QChar(0xfeff) + QString::fromUtf8("\xff\xfe \xf0\x9f\x98\x80");
}

/// A report in which every text is hostile.
inline Talmo::Report hostileReport(const QString &folder)
{
    const QString hostile = hostileText();
    Talmo::Report report = richReport(folder);
    report.results.host = report.results.interruption = report.source = hostile;
    report.results.started = hostile;
    report.versions = {{hostile, hostile}};
    report.changes->old = hostile;
    report.changes->newlyFailing += hostile;
    report.changes->slower.push_back({hostile, 1, INFINITY});
    for (Talmo::RunRecord &run : report.results.runs) {
        run.name += hostile;
        run.script += hostile;
        run.program += run.program.isEmpty() ? QString() : hostile;
        run.heading = run.message = run.knownPattern = run.systemOut = hostile;
        run.labels = run.details = run.remarks = QStringList(hostile);
    }
    for (Talmo::FailedRun &failure : report.failures) {
        failure.inspection.obstacle = failure.rerun = hostile;
        failure.scriptText = "=" + hostile.toUtf8() + "\xff\n=run " + hostile.toUtf8();
        for (Talmo::FailedComparison &comparison : failure.inspection.comparisons) {
            comparison.message = hostile;
            comparison.survey.names = QStringList({hostile, hostile, hostile});
            for (Talmo::DifferingLine &line : comparison.survey.firstLines)
                line.text1 = hostile.toUtf8() + "\xff " + QByteArray(1, '\0');
        }
    }
    report.failures[0].inspection.comparisons[0].file1 = hostile;
    return report;
}
