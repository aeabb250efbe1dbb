#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// The name of the file of the known failures of a suite.
constexpr char knownFileName[] = "talmo.known";

/// The known failures of a suite, from the file "talmo.known" in its directory. Each line names a
/// run, and behind blanks a pattern as "=ignore" takes it. In the name, a backslash stands before
/// blanks, tabs, backslashes, and a "#" at the front; "\n" is a newline, "\r" a carriage return.
/// Blank lines, and those that begin with "#", are comments.
class Known
{
public:
    /// A run that failed, and its message.
    struct Failure {
        QString run;
        QString message;
    };

    /// Reads the file of the suite in \a suiteDirectory; that there is none is no problem. Each
    /// problem is a sentence in \a problems that begins with the file and the line,
    /// "talmo.known:7: ". False if there is one.
    bool read(const QByteArray &suiteDirectory, QStringList &problems);

    /// The patterns for the run \a run, in their order.
    QStringList patternsOf(const QString &run) const { return patterns.value(run); }

    /// Why add could not write the file, as a sentence; null if it could. Nothing is written.
    QString problemOfWriting() const;

    /// Appends a line for each of \a failures that no pattern of its run matches, so that exactly
    /// its message is known. The file is written whole or not at all, and all that was in it stays.
    /// False if not all could be added; each reason is in \a problems, and the others were added.
    bool add(const std::vector<Failure> &failures, QStringList &problems);

private:
    bool readContent(QByteArray &content, QString &problem) const;
    bool readLine(const QByteArray &line, QString &problem);
    bool isKnown(const Failure &failure) const;

    QByteArray path; ///< of the file
    QMap<QString, QStringList> patterns;
};

/// The pattern that matches \a message and no other one; null if no line of the file can hold it.
QString patternOfMessage(const QString &message);

} // namespace Talmo
