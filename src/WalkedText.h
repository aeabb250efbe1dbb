#pragma once

#include "FlawTrace.h"
#include "WorkingText.h"
#include "talmo/Flaw.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace Talmo
{

/// An expression while a walk takes tokens from its front, with the texts of macros in the places
/// of their names. It knows where what is left comes from, and which macros' texts that is.
class WalkedText
{
public:
    WalkedText(const TracedExpression &whole, Trace &itsTrace);

    bool isEmpty() const { return rest.isEmpty(); }

    /// All that is left. Valid until the next macro.
    QStringView ahead() const { return rest.ahead(); }

    /// The expression as it was.
    QString whole() const { return toString(expression.constData(), expression.size()); }

    /// Where the expression stands, or would stand if it were not empty.
    Place placeOfWhole() const;

    /// Where the next character comes from; the end of the expression if there is none.
    Place place() const { return isEmpty() ? nothing : placeAt(left()); }

    /// Drops the first \a length characters, at least one; where they come from.
    Place drop(int length);

    /// Puts \a text, of the macro \a name, in front of what is left; \a place is that of the name.
    void enter(const QString &name, const QString &text, Place place);

    /// Whether some of what is left is in the text of the macro \a name, or directly behind it.
    bool isIn(const QString &name) const { return openNames.contains(name); }

    /// The macros around what is next, from \a name on, and \a name again.
    QStringList circle(const QString &name) const;

    /// The outermost macro around what is next; \a name if there is none.
    QString outermost(const QString &name) const { return open.isEmpty() ? name : open[0].name; }

    /// Whether what comes next stands behind the text of a macro.
    bool isBehindMacro() const;

    /// The text of a macro that joins with what stands beside it in the \a length characters ahead,
    /// other than behind the first \a allowed. No flaw if none does.
    Flaw joint(int length, int allowed) const;

private:
    /// A macro whose text is ahead.
    struct OpenMacro {
        QString name;
        int left;    ///< how many characters are behind its text
        Place place; ///< of the outermost macro around it in the user's text
    };

    int left() const { return static_cast<int>(rest.ahead().size()); }

    /// Where the character comes from that has \a count characters left, itself included.
    Place placeAt(int count) const;

    /// Whether the text of a macro begins or ends, or is empty, where \a count characters are left.
    bool isJoint(int count) const;

    /// That \a one and \a other join, before which \a count characters are left.
    Flaw jointOf(const QString &one, const QString &other, int count) const;

    const TracedText &expression;
    const Place nothing;
    const std::optional<TracedCharacter> before;
    Trace &trace;
    WorkingText rest;
    QList<OpenMacro> open; ///< the innermost last
    QSet<QString> openNames;
};

/// \a text, a part of a token, for a message.
QString inShort(const QString &text);

} // namespace Talmo
