#pragma once

#include "Descriptor.h"
#include "Survey.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace Talmo
{

/// A text as a file without a name, for those who read files.
class TextFile
{
public:
    explicit TextFile(const QByteArray &text);

    /// False if the folder for temporary files has no room for it.
    bool isWritten() const { return hasAll; }

    /// A path by which this process, and those that it starts, can open it.
    QString path() const;

private:
    Descriptor file;
    bool hasAll;
};

/// Compares two texts as "=compare" would compare files that hold them. Unreadable if there is no
/// room for temporary files.
Survey surveyOfTexts(const QByteArray &text1, const QByteArray &text2,
    const std::vector<double> &tolerances, size_t keptLines = 0);

/// How \a before and \a after differ, as the system's "diff -u" tells, with these labels. False if
/// there is no such program, or if it fails; \a problem then says so.
bool unifiedDiff(const QByteArray &before, const QString &labelBefore, const QByteArray &after,
    const QString &labelAfter, QByteArray &difference, QString &problem);

} // namespace Talmo
