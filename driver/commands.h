#pragma once

#include "Invocation.h"

#include <QString>
#include <QStringList>

#include <climits>

/// Debug level of the process. Above 0, lines are traced and passing runs keep their directories.
extern int Debug;

/// The platform that the process runs on: "WINDOWS", "LINUX" or "DARWIN". Empty until somebody sets
/// it; then no section for a platform is run.
extern QString platformName;

/// The file that takes what the program of a "=run" line prints, "=run" being the first of its
/// \a words; null if the line itself says where that goes.
QString captureOf(const QStringList &words);

/// The platform that this program was built for.
QString platformOfThisBuild();

/// The words that "=platform" takes.
const QStringList &platformNames();

/// Runs one command in the run's own directory, which is the current one. A handler fails by
/// setting Invocation::error; it never throws and never ends the process.
using Handler = void (*)(Invocation &invocation);

/// What a command does with the lines that follow it.
enum class FollowingLines {
    AreNext,      ///< nothing: the next line is the next command
    AreBody,      ///< takes them as the text of a file, up to a line that begins with "="
    MayBeSkipped, ///< may pass over them, up to the next line that begins with "=platform"
};

/// What a command does beside judging what is there.
enum class Effect {
    None, ///< nothing: it may be asked again about what a run has left
    Acts, ///< it makes files, starts programs, prints or traces
};

/// A command of the script language.
struct Command {
    static constexpr int unlimited = INT_MAX;

    const char *name;       ///< "=" included
    int leastWords;         ///< how many words its line has, the name included,
    int mostWords;          ///< and how many it may have
    const char *wrongCount; ///< the message if that is not so; null where no number is wrong
    FollowingLines following;
    Effect effect;
    const char *usage; ///< as the manual shows it; lines are alternatives
    Handler handler;
};

extern const Command commands[10];

/// The command \a name, "=" included; null if there is none.
const Command *commandOf(const QString &name);

/// The command that \a invocation begins with. A command that does not exist, and one with a wrong
/// number of words, fail: then it is null.
const Command *commandToPerform(Invocation &invocation);

/// Has that command do its work.
void perform(Invocation &invocation);

/// Whether \a invocation, of a command with an effect, may fail with \a message.
bool mayFailWith(const Invocation &invocation, const QString &message);

/// The messages with which a command of these \a words may fail, if it exists and has the right
/// number of words; none if it never fails. A message about a line or a column of a file is there
/// with several numbers of different lengths, as an example.
QStringList failuresOf(const QStringList &words);

// Messages of single commands.
QString invalidPlatform(const QString &name);  ///< of "=platform"
QString fileDoesNotExist(const QString &name); ///< of "=exists"
QString beamSyntaxError();                     ///< of "=testbeam": a word is no such number
