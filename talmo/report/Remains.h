#pragma once

#include "Descriptor.h"
#include "RunRecord.h"
#include "Script.h"

#include <QByteArray>
#include <QString>

namespace Talmo
{

/// What a run that failed has left: its script and its directory, which is the current one from
/// open() on as long as the object lives. Nothing is changed there.
class Remains
{
public:
    /// Of \a itsRun, in \a itsSuiteDirectory, an absolute path. The run must live as long as this
    /// object.
    Remains(const RunRecord &itsRun, QByteArray itsSuiteDirectory);
    Remains(const Remains &) = delete;
    Remains &operator=(const Remains &) = delete;
    ~Remains();

    /// Opens the script and enters the directory. Returns why that cannot be done, or why they are
    /// not any more what the run has left, in a sentence; null if all is well.
    QString open();

    /// The same after a while: why they are not any more what open() found. Leaves the directory.
    QString problemMeanwhile();

    /// Whether open() saw by the record's digest that the script is that of the run.
    bool isScriptProven() const;

    /// Whether the record has digests, by which open() saw that script and directory are those of
    /// the run. Otherwise nobody knows.
    bool areProven() const;

    Script script; ///< without a text if it is not that of the run, or is not there

private:
    QString problemOfScript();
    QString problemOfSuite();
    QString problemOfPlace();
    QString problemOfDigests();
    bool isInUse() const;

    const RunRecord &run;
    const QByteArray suiteDirectory;
    Descriptor origin; ///< the directory to go back to
    Descriptor suite;
    Descriptor directory;
    QByteArray digest; ///< of the directory when it was opened
};

} // namespace Talmo
