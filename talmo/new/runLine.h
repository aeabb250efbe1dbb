#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Talmo
{

/// A command as a script has it.
struct RunLine {
    QString words;        ///< behind "=run "
    QByteArray shellText; ///< of a shell script that the words start; null if there is none
    QString capture;      ///< the file that takes what the command prints, as the script names it
    bool isFor = false;   ///< "$simProgram" stands for the program
};

/// \a command, whose words a shell would start without changing anything in them, as a "=run" line.
/// The first word that is \a program, if that is not empty, becomes "$simProgram". Words that such
/// a line cannot carry are quoted in a shell script, which is to be written as \a shellName.
/// False if even that cannot carry one; \a problem then says why.
bool writeRunLine(const QStringList &command, const QString &program, const QString &shellName,
    RunLine &line, QString &problem);

} // namespace Talmo
