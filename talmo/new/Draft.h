#pragma once

#include "runLine.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string>
#include <vector>

namespace Talmo
{

/// A file that a new script's command reads.
struct Input {
    QString name;    ///< in the run's directory
    QByteArray path; ///< of the file that it was taken from, absolute
    QByteArray text; ///< what is in it
    QString outside; ///< "../NAME", from where the script copies what it cannot carry; or null
    QString reason;  ///< why it cannot carry it
};

/// A file that the command has written, and how a new script tests it.
struct Output {
    enum Test { Nothing, Exists, Compares };

    QString name;       ///< in the run's directory
    QString scriptName; ///< as the script has it: "$simProgram" may stand for the program
    Test test = Compares;
    QString reference;                   ///< the file to compare with, as the script has it
    QByteArray body;                     ///< what is in that
    std::vector<std::string> tolerances; ///< none: the text is compared
};

/// A script that is being written.
struct Draft {
    QString heading; ///< without its "="
    QString program; ///< empty: it runs without one
    std::vector<Input> inputs;
    QString shellName; ///< of the shell script, if the command needs one
    RunLine command;
    std::vector<Output> outputs;

    /// The text up to the line that runs the command.
    QByteArray head() const;

    /// The whole text. The references come behind the command, so that it cannot take them for
    /// something else, and before the first comparison, so that a run has them all.
    QByteArray text() const;

    /// A name for a file that nothing else in the run's directory has, \a base and perhaps a
    /// number; \a taken are the names of what the command left there.
    QString freeName(const QString &base, const QStringList &taken) const;
};

} // namespace Talmo
