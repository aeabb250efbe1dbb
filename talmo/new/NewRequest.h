#pragma once

#include "Descriptor.h"
#include "Draft.h"
#include "Programs.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Talmo
{

class CommandLine;

/// What the user asks "talmo new" for.
struct NewRequest {
    QString name;        ///< of the script
    double relative = 0; ///< the tolerance of a column by its largest magnitude
    double timeout = 0;  ///< in seconds; 0: the command takes as long as it likes
    GivenPrograms programs;
    Draft draft;         ///< without what the command writes
    QStringList remarks; ///< what the script does not test, and why
    Descriptor suite;    ///< the directory for the script
    QByteArray folder;   ///< its path
};

/// Adds the options of "talmo new" to \a line.
void addNewOptions(CommandLine &line);

/// Reads what \a line, which was read, and the \a command behind it ask for, goes to the directory
/// of -C, and puts the programs that are given first in the PATH. False if that is not possible;
/// the reasons were printed.
bool readRequest(const CommandLine &line, const QStringList &command, NewRequest &request);

} // namespace Talmo
