#pragma once

#include "talmo/Flaw.h"

#include <QHash>
#include <QString>
#include <QVector>

#include <optional>

// What the walks over expressions (Flaw.cpp) and over lines (FlawOfLine.cpp) have in common: texts
// whose characters know where they come from.

namespace Talmo
{

/// A part of the text that the user has written.
struct Place {
    int begin = 0;
    int end = 0;
};

/// A character, and where it comes from.
struct TracedCharacter {
    QChar character;
    int origin; ///< its position in the user's text, or -1 - i for one of insertion number i
    int index;  ///< its position in the text that it comes from

    operator QChar() const { return character; }
};

using TracedText = QVector<TracedCharacter>;

/// \a text, as the user has written it.
TracedText traced(const QString &text);

/// Whether \a next has always stood directly behind \a character.
bool follows(TracedCharacter next, TracedCharacter character);

/// The \a size characters from \a begin on (see References.h).
QString toString(const TracedCharacter *begin, qsizetype size);

/// What was inserted in the place of a reference.
struct Insertion {
    QString macro; ///< whose text it is
    Place place;   ///< of the reference in the user's text; of the outermost one, if they nest
    int origin;    ///< of the "$" of the reference (see TracedCharacter)
    bool isPrinted = false; ///< it is no text of a macro, but the result of an expression
};

/// What has been inserted into a text, and what macros stand for meanwhile.
class Trace
{
public:
    /// Where the characters from \a first to \a last come from.
    Place placeOf(TracedCharacter first, TracedCharacter last) const;

    /// Finds the text of the macro \a name; false if there is none.
    bool find(const QString &name, QString &text) const;

    /// Counts \a size characters that are about to be inserted. False if they are too many: macros
    /// that double each other would take all memory and time.
    bool allows(qsizetype size);

    QVector<Insertion> insertions;
    QHash<QString, QString> counted; ///< the values of counters that have counted

private:
    qint64 inserted = 0;
};

/// The flaw \a what at \a place.
Flaw makeFlaw(Flaw::Kind kind, Place place, const QString &what);

/// What a walk is made for.
enum class Aim {
    Flaws,
    Endlessness, ///< flaws with which the library would go on without end, or until memory runs out
};

/// An expression in the user's text.
struct TracedExpression {
    TracedText text;
    Place nothing = {};                                   ///< where it would stand if it were empty
    std::optional<TracedCharacter> before = std::nullopt; ///< the character in front of it
};

/// What is wrong in \a expression.
Flaw flawOfExpression(const TracedExpression &expression, Trace &trace, Aim aim = Aim::Flaws);

/// Where token number \a token of \a expression begins, which has no flaw.
Place placeOfToken(int token, const TracedExpression &expression, Trace &trace);

/// What is wrong in \a line; flawOfLine without the proof that comes first.
Flaw walkOverLine(const QString &line);

} // namespace Talmo
