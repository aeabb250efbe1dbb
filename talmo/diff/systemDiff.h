#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

class QProcess;

namespace Talmo
{

/// A file for the system's diff, and what it is called there.
struct DiffSide {
    QString path;
    QString label;
};

/// Starts the system's "diff -u" with \a furtherOptions about two files.
void startSystemDiff(QProcess &process, const DiffSide &side1, const DiffSide &side2,
    const QStringList &furtherOptions = {});

/// Whether a diff that has ended could compare its files.
bool hasCompared(const QProcess &process);

/// What "diff -u" prints about two files.
struct SystemDiff {
    std::vector<QByteArray> lines; ///< the first ones
    bool isCut = false;            ///< there are more
    QString problem;               ///< why there are none, as a sentence; null if there are
};

/// Has the system's diff compare the regular files \a name1 and \a name2. At most \a mostLines
/// lines are taken. Large files, for which diff needs much memory and time, are refused.
SystemDiff systemDiff(const QString &name1, const QString &name2, size_t mostLines);

} // namespace Talmo
