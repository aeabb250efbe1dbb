#pragma once

#include "JUnit.h"
#include "RunRecord.h"

#include <QByteArray>
#include <QIODevice>
#include <QString>

#include <vector>

namespace Talmo
{

/// Where results come from.
enum class SourceKind {
    TalmoRun, ///< talmo itself, with all that it knows
    CTest,    ///< a JUnit file of ctest: names and times; of our own runs what they printed
    Driver,   ///< what the driver printed
};

/// Results, and what they were taken from.
struct Source {
    SourceKind kind = SourceKind::TalmoRun;
    QString description; ///< a sentence without a full stop
    RunResults results;  ///< the suite is null if the source does not tell it
    /// The directories in which the runs were made, one for each run or none at all; otherwise it
    /// is that of the suite. One that is not known is null.
    std::vector<QByteArray> places;
};

/// Reads the file \a name: a JUnit file of talmo or of ctest, or an output of the driver, as its
/// content tells. Only a regular file is read. False if it is none of them, or damaged; \a problem
/// then says so, with the name and, if known, the line.
bool readSource(const QString &name, SystemOut systemOut, Source &source, QString &problem);

/// Reads the JUnit file of ctest that is open as \a file. The runs that talmo_discover_tests() has
/// added get what talmo has printed of them; of other tests there are a name, a time and a state.
bool readCTest(QIODevice &file, const QString &name, Source &source, QString &problem);

/// Reads what the driver has printed. Programs may print what looks like its lines: of several
/// lines for one run the last one counts, a remark of the run says so, and the description whether
/// the numbers of the summary agree with the lines.
bool readDriverOutput(QIODevice &file, const QString &name, Source &source, QString &problem);

} // namespace Talmo
