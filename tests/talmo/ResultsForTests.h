#pragma once

#include "JUnit.h"
#include "Printing.h"
#include "RunRecord.h"

#include <QBuffer>
#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

// Results as values, as texts that a failing expectation can show, and as documents.

/// A run of the script that is called like the run up to a "(".
inline Talmo::RunRecord runOf(const QString &name, Talmo::RunState state = Talmo::RunState::Passed,
    const QString &message = QString())
{
    Talmo::RunRecord run;
    run.name = name;
    run.script = name.section('(', 0, 0);
    run.program = name.section('(', 1).section(')', 0, 0);
    run.state = state;
    run.message = message;
    const bool wasMade = state != Talmo::RunState::NotRun && state != Talmo::RunState::Skipped;
    run.attempts = wasMade ? 1 : 0;
    return run;
}

inline Talmo::RunResults resultsOf(const std::vector<Talmo::RunRecord> &runs)
{
    Talmo::RunResults results;
    results.suite = "/home/me/suite";
    results.runs = runs;
    return results;
}

/// All of \a run but what it printed.
inline QStringList told(const Talmo::RunRecord &run)
{
    return {"name " + run.name, "script " + run.script, "program " + run.program,
        "heading " + run.heading, "labels " + run.labels.join('|'),
        QStringLiteral("state %1").arg(static_cast<int>(run.state)), "message " + run.message,
        "known " + run.knownPattern, QStringLiteral("line %1").arg(run.line),
        "details " + run.details.join('|'), "directory " + run.directory,
        "remarks " + run.remarks.join('|'), "seconds " + QString::number(run.seconds, 'g', 17),
        QStringLiteral("attempts %1").arg(run.attempts), "scriptDigest " + run.scriptDigest,
        "referencesDigest " + run.referencesDigest, "directoryDigest " + run.directoryDigest};
}

/// All of \a results but the runs.
inline QStringList toldHead(const Talmo::RunResults &results)
{
    return {"suite " + results.suite, "programs " + results.programs.join('|'),
        "host " + results.host, "started " + results.started,
        "seconds " + QString::number(results.seconds, 'g', 17),
        "interruption " + results.interruption,
        QStringLiteral("shard %1 of %2").arg(results.shard).arg(results.shards),
        QStringLiteral("runsInAll %1").arg(results.runsInAll), "listDigest " + results.listDigest,
        "suiteDigest " + results.suiteDigest};
}

inline QStringList namesOf(const Talmo::RunResults &results)
{
    QStringList names;
    for (const Talmo::RunRecord &run : results.runs)
        names += run.name;
    return names;
}

inline QByteArray documentOf(const Talmo::RunResults &results)
{
    QBuffer buffer;
    EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
    EXPECT_TRUE(Talmo::writeJUnit(results, buffer));
    return buffer.data();
}

/// Reads \a document, which must be one of ours.
inline Talmo::RunResults resultsIn(
    QByteArray document, Talmo::SystemOut systemOut = Talmo::SystemOut::Kept)
{
    QBuffer buffer(&document);
    EXPECT_TRUE(buffer.open(QIODevice::ReadOnly));
    Talmo::RunResults results;
    QString problem;
    EXPECT_TRUE(Talmo::readJUnit(buffer, "results.xml", systemOut, results, problem))
        << problem.toStdString();
    return results;
}

/// Why \a document is not read.
inline QString problemIn(QByteArray document)
{
    QBuffer buffer(&document);
    EXPECT_TRUE(buffer.open(QIODevice::ReadOnly));
    Talmo::RunResults results;
    QString problem;
    EXPECT_FALSE(Talmo::readJUnit(buffer, "results.xml", Talmo::SystemOut::Kept, results, problem));
    EXPECT_TRUE(results.runs.empty());
    return problem;
}

inline void writeTo(const QString &path, const QByteArray &content)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    EXPECT_EQ(file.write(content), content.size());
}

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}
