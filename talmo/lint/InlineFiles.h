#pragma once

#include "Magnitudes.h"

#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <string_view>

namespace Talmo
{

/// The files that the commands of a script have written with "=file" so far.
class InlineFiles
{
public:
    /// Notes that a "=file" writes \a text, which lives as long as the script, to \a name.
    void add(const QString &name, std::string_view text);

    /// Notes that a command of these \a words was executed, which may use, or change, the files.
    void addCommand(const QStringList &words);

    /// Notes that the next commands may be for other platforms than those before.
    void addSection();

    /// Whether there is a \a name.
    bool contains(const QString &name) const;

    /// The numbers in \a name, if all that is known speaks for it that they are still there: it was
    /// written once, and none of the "=run" since then names it.
    const Magnitudes *magnitudesOf(const QString &name) const;

    /// Whether the text of another of these files, perhaps a script for the shell, names \a name.
    bool isNamedInOther(const QString &name) const;

    /// Whether nothing that was executed since \a name was written can have used its text.
    bool isUnused(const QString &name) const;

private:
    struct File {
        int count = 0;                                ///< of "=file" lines
        int writtenAt = 0;                            ///< the number of commands before the latest
        std::string_view text;                        ///< of the latest
        mutable std::optional<Magnitudes> magnitudes; ///< once they were asked for
    };

    const File *fileOf(const QString &name) const;
    bool isNamedSince(const QString &name, int time) const;

    std::map<QString, File> files;  // by clean path
    std::map<QString, int> namedAt; // when a "=run" named a file, by the name without its folder
    int commands = 0;               // that were executed
    int latestUser = 0;             // the number of commands with the latest that may use any file
    int latestWildcard = 0;         // and with the latest "=run" that may name any file
};

} // namespace Talmo
