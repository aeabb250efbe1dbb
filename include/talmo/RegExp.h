#pragma once

#include <QHash>
#include <QString>

class QRegExp;

namespace Talmo
{

/// Pattern matching through one cache of compiled patterns, reached through the instance RE.
/// Patterns use the rich syntax of QRegExp, case-sensitive. Each distinct pattern is compiled once
/// and kept until somebody forgets it: the patterns are meant to be a small set of literals. An
/// invalid pattern matches nothing, nor does one that would take too much memory or time (see
/// isAffordable).
///
/// Every operation sets `prev`: read captures into locals before anything else can match. A source
/// that reads them includes <QRegExp> itself, and its program links the library of Qt that has it:
/// Core5Compat on Qt 6. All others need no more than Qt Core.
///
/// Evaluating and converting units and expanding macros do not match patterns, for speed, so they
/// leave `prev` alone.
///
/// Before main, every operation crashes deliberately (see startupGuard).
class RegExp
{
public:
    /// Position of the first match of \a pattern in \a text, or -1. A caret in the pattern stands
    /// for the start of the text.
    int find(QString pattern, QString text);

    /// Position of the first match of \a pattern in \a text from \a offset on, or -1. A caret in
    /// the pattern stands for \a offset.
    int findAt(QString pattern, QString text, int offset);

    /// True if \a pattern matches anywhere in \a text.
    bool match(QString pattern, QString text);

    /// \a text with its first match of \a pattern replaced by \a replacement, taken literally: no
    /// back-references. Without a match, \a text.
    QString replace(QString pattern, QString text, QString replacement);

    /// Does what replace does in \a text itself; returns whether there was a match.
    bool substitute(QString pattern, QString &text, QString replacement);

    /// \a text with matches of \a pattern replaced by \a replacement, each time searching from the
    /// start again, until none is left or 10001 replacements were made. An empty pattern replaces
    /// nothing.
    QString replaceAll(QString pattern, QString text, QString replacement);

    /// Frees what is kept of \a pattern, so that a program may have any number of patterns from its
    /// users. Their captures are lost: prev becomes null if it was this pattern.
    void forget(const QString &pattern);

    static QHash<QString, QRegExp *> hash; ///< compiled patterns by their text; owned
    static QRegExp *prev;                  ///< the pattern of the latest find; its captures
};

extern RegExp RE;

} // namespace Talmo
