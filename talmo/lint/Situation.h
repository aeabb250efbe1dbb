#pragma once

#include "InlineFiles.h"
#include "WrittenFiles.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <string_view>
#include <vector>

struct Command;

namespace Talmo
{

class Script;

/// A line of a script outside of the texts of files.
struct LintLine {
    qint64 number = 0;      ///< from 1
    QString text;           ///< as it stands there
    QStringList words;      ///< as the command gets them: "$simProgram" is replaced
    QStringList allowed;    ///< the checks that comments above allow to find something
    bool isGuessed = false; ///< the name for "$simProgram" in the words is made up

    /// Where \a word, an index into words, begins in the text; 0 if it is not there because an
    /// empty "$simProgram" has vanished.
    int positionOf(int word) const;

    /// The column, from 1, of that.
    qint64 columnOf(int word) const;
};

/// The text behind a "=file" line.
struct LintBody {
    LintLine line;         ///< the "=file" line
    std::string_view text; ///< valid as long as the script
};

/// All that the checks may know when they look at a command, or at a script as a whole.
struct Situation {
    const Script &script;
    const QStringList &programs; ///< those that are configured, or were given
    QByteArray folder;           ///< absolute: where the script is
    QStringList sameNames;       ///< of other files there, which differ from its name in case only
    LintLine heading = {};       ///< line 1
    LintLine selection = {};     ///< line 2, which may select programs
    /// Comments "# talmo: allow ..." that name no check, or one that does not exist.
    std::vector<LintLine> wrongAllowances = {};

    // The command at hand. Of a script as a whole: the last one.
    LintLine line = {};
    const Command *command = nullptr;  ///< null if it does not exist or has a wrong number of words
    QString error = {};                ///< then: what the driver says
    std::optional<LintBody> body = {}; ///< of the "=file" at hand
    std::optional<LintBody> bodyBefore = {}; ///< which ended because of the line at hand
    std::optional<LintLine> ignore = {};     ///< the "=ignore" just before
    std::optional<QString> pattern = {};     ///< its pattern, as the driver takes it
    bool isInSection = false;                ///< behind a "=platform" with platforms
    bool isTorn = false; ///< the line at hand was probably meant for the text of a file
    /// The "=file" that must fail, so that the lines behind it are commands; none behind the first
    /// of them.
    std::optional<LintLine> failingFile = {};

    // What the commands before have done.
    WrittenFiles written = {};
    InlineFiles inlineFiles = {};

    /// Whether the "=ignore" before the command at hand expects \a message of it.
    bool isExpected(const QString &message) const;
};

} // namespace Talmo
