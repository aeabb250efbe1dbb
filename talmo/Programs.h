#pragma once

#include "ProgramFolder.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// True if the shell takes the word \a name, where a command begins, for nothing but the name of a
/// program in the PATH.
bool isNameOfProgram(const QString &name);

/// Why no program of the name \a name can be given or configured, as a sentence; null if one can.
QString problemOfProgramName(const QString &name);

/// Where the PATH leads to a program \a name, as absolute paths, in its order; a file that is found
/// by several names is there once. Each run has a directory of its own, so what is found from the
/// current directory does not count.
QStringList placesInPath(const QString &name);

/// The simulation programs that a user gives on the command line, instead of the configured ones.
class GivenPrograms
{
public:
    /// Adds the program \a text, "NAME", which is in the PATH, or "NAME=PATH". PATH is an
    /// executable, or a folder with the executable NAME in it; if it is relative, it is seen from
    /// the current directory. False if that is not possible; \a problem then says why.
    bool add(const QString &text, QString &problem);

    /// The names, in the order in which they were added.
    QStringList names() const;

    /// What add() takes to give them again from any directory: "NAME", or "NAME=PATH" with an
    /// absolute PATH.
    QStringList texts() const;

    /// Makes a folder with the programs that were given by a path, and nothing else, and puts it
    /// before the PATH of this process, until the end of this object. False if that is not
    /// possible; \a problem then says why.
    bool enterPath(QString &problem);

private:
    struct Program {
        QString name;
        QByteArray path; ///< absolute; null if it is found in the PATH
    };

    bool isGiven(const QString &name) const;
    bool makeFolder(QString &problem);
    bool place(const Program &program, QString &problem) const;

    std::vector<Program> programs;
    ProgramFolder folder; ///< there are links in it
};

} // namespace Talmo
