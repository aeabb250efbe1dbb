#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string_view>

namespace Talmo
{

// The lines in which the driver reports, without their ends, as bytes in the user's encoding.

/// That a run of \a name, of a script with \a heading, passed.
QByteArray passLine(const QString &name, const QString &heading);

/// That the run or the script \a name failed.
QByteArray failureLine(const QByteArray &name, const QString &message);

/// That the script \a path applies to none of the programs.
QByteArray skipLine(const QByteArray &path);

/// A regular expression as that of "=ignore", which matches anywhere in a text. An invalid one
/// matches nothing.
class Pattern
{
public:
    explicit Pattern(const QString &text);
    Pattern(const Pattern &) = delete;
    Pattern &operator=(const Pattern &) = delete;
    ~Pattern();

    bool matches(const QString &message) const;

    /// Does the same with \a line, a line of a file, which may hold bytes that are no UTF-8.
    bool matchesLine(std::string_view line) const;

    const QString &text() const { return pattern; }

private:
    QString pattern;
    QByteArray bytes;
    bool isText;  // it stands for itself
    bool isAscii; // and has no other characters than those of ASCII
};

/// Whether \a pattern, a regular expression as that of "=ignore", matches anywhere in \a message.
bool matchesMessage(const QString &pattern, const QString &message);

/// How many of \a messages it matches so.
int countOfMatches(const QString &pattern, const QStringList &messages);

} // namespace Talmo
