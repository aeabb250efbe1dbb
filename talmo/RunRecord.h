#pragma once

#include "FilePart.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <QtGlobal>

#include <vector>

namespace Talmo
{

/// What became of one run of a suite, in the end.
enum class RunState {
    Passed,
    Failed,
    Known,   ///< it failed as a pattern says that it does
    Skipped, ///< the script applies to none of the programs; the record's name is that of the
             ///< script
    NotRun,  ///< something stopped the suite before
};

/// A file in the directory of a run that has what a program printed.
struct Capture {
    QString name; ///< as the script would name it
    FilePart part;
};

/// What became of one run, as reports and result files tell it.
struct RunRecord {
    QString name;    ///< "test1", or "test1(sim1)"
    QString script;  ///< the name of the script's file
    QString program; ///< empty: the script runs without one
    QString heading;
    QStringList labels;
    RunState state = RunState::NotRun;
    QString message;   ///< why it failed, was skipped or was not run; null if it passed
    bool isOwn = true; ///< false if the message says nothing about the run: it was not made, or
                       ///< its process was stopped or lost, or it passed where it is known to fail
    QString knownPattern; ///< of a Known one: the pattern that its message matches
    qint64 line = 0;      ///< the number, from 1, of the script's line that failed; 0 if none did
    QStringList details;  ///< what the message leaves out, a sentence each
    QString directory;    ///< of the run, below the suite's directory; null if nothing was kept
    QStringList remarks;  ///< what else the user should know, a sentence each
    double seconds = 0;   ///< that the last attempt took
    int attempts = 0;     ///< 2 or more, and Passed: flaky

    /// Hexadecimal digests, empty where there is nothing to digest: of the script; of the files
    /// outside the run's directory that it compares with; of the run's directory as it was left.
    QByteArray scriptDigest;
    QByteArray referencesDigest;
    QByteArray directoryDigest;

    FilePart output;               ///< what the run printed; valid while the runs are made
    std::vector<Capture> captures; ///< of a failed run

    /// What stands in the result file that the record was read from, as text; null if the record
    /// is of a run that was just made.
    QString systemOut;

    bool isFlaky() const { return state == RunState::Passed && attempts > 1; }
};

/// The runs of one invocation of talmo, or those that several invocations left behind.
struct RunResults {
    QString suite; ///< the suite's directory, absolute
    QString host;
    /// What --program was given, in its order: "NAME", or "NAME=PATH" with an absolute PATH. Empty
    /// if the runs were made for the configured programs.
    QStringList programs;
    QString started;        ///< local time as ISO 8601 has it, with the offset from UTC
    double seconds = 0;     ///< from the beginning to the end
    QString interruption;   ///< the name of the signal that stopped the suite; null if none did
    int shard = 0;          ///< which shard this is, from 1; 0 if the suite was not divided
    int shards = 0;         ///< out of how many
    qint64 runsInAll = 0;   ///< of all shards
    QByteArray listDigest;  ///< hexadecimal digest of the names of the runs of all shards, in order
    QByteArray suiteDigest; ///< of a shard: that of the names and the texts of all scripts
    std::vector<RunRecord> runs; ///< in the order of the list
};

} // namespace Talmo
