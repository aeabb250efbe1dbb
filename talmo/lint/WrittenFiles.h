#pragma once

#include <QString>
#include <QStringList>

#include <set>

struct Command;

namespace Talmo
{

struct LintLine;

/// The files that the commands of a script may have written so far, in the directory of its run.
class WrittenFiles
{
public:
    /// Adds what the \a command of \a line may write.
    void add(const LintLine &line, const Command &command);

    /// Whether the file or directory \a name may be there. What a program writes is not known, so
    /// after most programs any file may be.
    bool mayHold(const QString &name) const;

    /// The names that are known.
    const QStringList &names() const { return inOrder; }

private:
    void addRun(const LintLine &line);
    void addName(const QString &name);

    std::set<QString> known; ///< clean paths
    QStringList inOrder;     ///< the same, in the order in which they are written
    bool isAnyPossible = false;
};

} // namespace Talmo
