// The walk over an expression. It takes the same tokens as the evaluator (UnitsScan.cpp), with the
// texts of macros in the places of their names, but computes nothing. It only remembers whether an
// operand or an operator comes next, and what is open: parentheses, conditionals, and the macros
// whose texts it is in.
//
// A flaw that the evaluator may take in silence ends the walk. One that the evaluator reports
// itself for sure is only noted, because one of the other sort may follow.
//
// The walk goes over as many characters as the evaluator would, so it has to end where that would
// not: at a macro inside its own text, and where macros have inserted too much.

#include "talmo/Flaw.h"

#include "FlawTrace.h"
#include "Soundness.h"
#include "Tokens.h"
#include "UnitsGrammar.h"
#include "WorkingText.h"
#include "knownUnit.h"
#include "talmo/StartupGuard.h"

#include <QSet>

namespace Talmo
{

namespace
{

/// One pass over an expression.
class Walk
{
public:
    Walk(const TracedText &itsExpression, Trace &itsTrace)
        : expression(itsExpression)
        , trace(itsTrace)
        , rest(toString(expression.constData(), expression.size()))
    {
        levels.append(Level());
    }

    /// Goes to the end, or to the first flaw that the evaluator may take in silence.
    Flaw run(Place nothing);

private:
    /// A macro whose text the walk is in.
    struct OpenMacro {
        QString name;
        int left;    ///< how many characters are behind its text
        Place place; ///< of the outermost macro around it in the user's text
    };

    /// Which alternative of a "?" the walk is in.
    enum class Alternative { None, First, Second };

    /// What is open: a parenthesis, a call, or the whole expression.
    struct Level {
        Place opening;    ///< its "("
        QString function; ///< whose arguments it holds; empty if it is no call
        Place name;       ///< of the function
        int commas = 0;
        Alternative alternative = Alternative::None;
        Place question; ///< the last "?"
    };

    void takeToken();
    void takeNumber();
    void takeName();
    void enterMacro(const QString &name, Place place);
    void takeOperator(const OperatorToken &token);
    void takeComma(Place place);
    void takeConditional(const QString &symbol, Place place);
    void openParenthesis(const QString &function, Place name);
    void closeParenthesis();

    /// What comes next is an operand, as \a symbol wants it.
    void wantOperand(const QString &symbol, Place place);

    /// Notes a "?" in \a level that no ":" has followed.
    void endAlternatives(Level &level);

    void checkArguments(const Level &call);
    void checkEnd(Place nothing);

    int left() const { return static_cast<int>(rest.ahead().size()); }

    /// Where the character comes from that has \a count characters left, itself included.
    Place placeAt(int count) const;

    /// Drops the first \a length characters, at least one; where they come from.
    Place drop(int length);

    /// Ends the walk at a flaw that the evaluator may take in silence.
    void refuse(Flaw::Kind kind, Place place, const QString &what);
    /// Remembers a flaw that the evaluator reports itself, if it is the first.
    void note(Place place, const QString &what);

    const TracedText &expression;
    Trace &trace;
    WorkingText rest;

    QList<OpenMacro> open; ///< the innermost last
    QSet<QString> openNames;
    QList<Level> levels; ///< the innermost last
    bool wantsOperand = true;
    bool isNegated = false; ///< a minus sign was the last token
    QString lastSymbol;     ///< the operator or "(" that wants the operand; null at the beginning
    Place lastPlace;

    bool hasSpareComma = false;
    bool hasLonelyQuestion = false;
    Flaw flaw;
    Flaw noted;
};

void Walk::refuse(Flaw::Kind kind, Place place, const QString &what)
{
    flaw = makeFlaw(kind, place, what);
}

void Walk::note(Place place, const QString &what)
{
    if (noted.what.isEmpty())
        noted = makeFlaw(Flaw::Kind::Syntax, place, what);
}

Flaw Walk::run(Place nothing)
{
    while (flaw.what.isEmpty() && !rest.isEmpty())
        takeToken();
    if (flaw.what.isEmpty())
        checkEnd(nothing);
    if (flaw.what.isEmpty()) {
        flaw = noted;
        // A "?" without a ":" takes an operand too many, a spare "," leaves one: 5,(1?2) is 1.
        flaw.isReported = !flaw.what.isEmpty() && !(hasSpareComma && hasLonelyQuestion);
    }
    if (!flaw.what.isEmpty())
        flaw.expression = toString(expression.constData(), expression.size());
    return flaw;
}

Place Walk::placeAt(int count) const
{
    if (!open.isEmpty() && count > open.first().left)
        return open.first().place;
    const TracedCharacter character = expression[expression.size() - count];
    return trace.placeOf(character, character);
}

Place Walk::drop(int length)
{
    const int begin = placeAt(left()).begin;
    rest.drop(length);
    const int end = placeAt(left() + 1).end;
    // A macro stays open up to the first character behind its text: its last token may be a name.
    while (!open.isEmpty() && left() < open.last().left)
        openNames.remove(open.takeLast().name);
    return {begin, end};
}

// The first character tells the kind of a token, here as in the evaluator.
void Walk::takeToken()
{
    const QStringView ahead = rest.ahead();
    if (isNumberStart(ahead.front()) && numberAhead(ahead).isNumber())
        return takeNumber();
    if (isWordCharacter(ahead.front()))
        return takeName();
    if (ahead.front() == ')')
        return closeParenthesis();
    if (const OperatorToken *const token = operatorAhead(ahead, wantsOperand))
        return takeOperator(*token);
    const bool isPair = ahead.size() > 1 && ahead[0].isHighSurrogate() && ahead[1].isLowSurrogate();
    const QString character = ahead.left(isPair ? 2 : 1).toString();
    refuse(Flaw::Kind::Syntax, drop(isPair ? 2 : 1),
        QStringLiteral("'%1' has no meaning here").arg(character));
}

void Walk::takeName()
{
    const QStringView ahead = rest.ahead();
    const int length = nameAhead(ahead);
    const QString name = ahead.left(length).toString();
    const bool isCall = length < ahead.size() && ahead[length] == '(';
    const Place place = drop(length);
    if (isCall)
        openParenthesis(name, place);
    else
        enterMacro(name, place);
}

void Walk::enterMacro(const QString &name, Place place)
{
    QString text;
    if (!trace.find(name, text))
        return refuse(Flaw::Kind::Name, place, QStringLiteral("unknown name '%1'").arg(name));
    if (openNames.contains(name)) {
        refuse(Flaw::Kind::Circle, place, QStringLiteral("macro '%1' refers to itself").arg(name));
        for (const OpenMacro &macro : open) {
            if (macro.name == name || !flaw.circle.isEmpty())
                flaw.circle.append(macro.name);
        }
        flaw.circle.append(name);
        return;
    }
    if (!trace.allows(text.size()))
        return refuse(Flaw::Kind::Length, place,
            QStringLiteral("macro '%1' grows too long")
                .arg(open.isEmpty() ? name : open.first().name));
    open.append({name, left(), place});
    openNames.insert(name);
    rest.replaceFront(0, text);
}

void Walk::takeNumber()
{
    const NumberToken token = numberAhead(rest.ahead());
    const QString text = rest.ahead().left(token.size()).toString();
    const QString unit = token.unit.toString();
    Place place = drop(static_cast<int>(token.number.size()));
    if (!unit.isEmpty()) {
        const Place unitPlace = drop(static_cast<int>(unit.size()));
        if (!isKnownUnit(unit))
            return refuse(
                Flaw::Kind::Unit, unitPlace, QStringLiteral("unknown unit '%1'").arg(unit));
        place.end = unitPlace.end;
    }
    if (!wantsOperand)
        return refuse(Flaw::Kind::Syntax, place,
            QStringLiteral("an operator is missing before '%1'").arg(text));
    wantsOperand = false;
}

void Walk::takeOperator(const OperatorToken &token)
{
    if (token.precedence == Parenthesis)
        return openParenthesis(QString(), {});
    const Place place = drop(static_cast<int>(token.name.size()));
    const bool isSign = token.precedence == UnaryMinus;
    if (wantsOperand && !isSign)
        return refuse(Flaw::Kind::Syntax, place,
            QStringLiteral("an operand is missing before '%1'").arg(token.name));
    if (isNegated && isSign)
        return refuse(Flaw::Kind::Syntax, place, QStringLiteral("two minus signs in a row"));
    if (token.precedence == Comma)
        takeComma(place);
    else if (token.precedence == Conditional)
        takeConditional(token.name, place);
    wantOperand(token.name, place);
    isNegated = isSign;
}

void Walk::wantOperand(const QString &symbol, Place place)
{
    wantsOperand = true;
    isNegated = false;
    lastSymbol = symbol;
    lastPlace = place;
}

void Walk::takeComma(Place place)
{
    Level &level = levels.last();
    endAlternatives(level);
    ++level.commas;
    if (!level.function.isEmpty())
        return;
    hasSpareComma = true;
    note(place, QStringLiteral("',' outside of the call of a function"));
}

void Walk::takeConditional(const QString &symbol, Place place)
{
    Level &level = levels.last();
    if (symbol == QLatin1String("?")) {
        endAlternatives(level);
        level.alternative = Alternative::First;
        level.question = place;
    } else if (level.alternative == Alternative::First) {
        level.alternative = Alternative::Second;
    } else {
        note(place, QStringLiteral("':' without its '?'"));
    }
}

void Walk::endAlternatives(Level &level)
{
    if (level.alternative == Alternative::First) {
        hasLonelyQuestion = true;
        note(level.question, QStringLiteral("'?' without its ':'"));
    }
    level.alternative = Alternative::None;
}

void Walk::openParenthesis(const QString &function, Place name)
{
    const Place place = drop(1);
    if (!wantsOperand)
        return refuse(Flaw::Kind::Syntax, function.isEmpty() ? place : name,
            QStringLiteral("an operator is missing before '%1('").arg(function));
    Level level;
    level.opening = place;
    level.function = function;
    level.name = name;
    levels.append(level);
    wantOperand(QStringLiteral("("), place);
}

void Walk::closeParenthesis()
{
    const Place place = drop(1);
    if (wantsOperand)
        return refuse(
            Flaw::Kind::Syntax, place, QStringLiteral("an operand is missing before ')'"));
    if (levels.size() == 1)
        return refuse(Flaw::Kind::Syntax, place, QStringLiteral("')' without its '('"));
    Level closed = levels.takeLast();
    endAlternatives(closed);
    checkArguments(closed);
}

void Walk::checkArguments(const Level &call)
{
    if (call.function.isEmpty())
        return;
    const int needed = argumentCount(call.function);
    const int found = call.commas + 1;
    if (needed == 0)
        note(call.name, QStringLiteral("unknown function '%1'").arg(call.function));
    else if (found != needed)
        note(call.name, QStringLiteral("wrong number of arguments of '%1': %2, not %3")
                            .arg(call.function, QString::number(found), QString::number(needed)));
}

void Walk::checkEnd(Place nothing)
{
    if (wantsOperand && !lastSymbol.isNull())
        refuse(Flaw::Kind::Syntax, lastPlace,
            QStringLiteral("an operand is missing behind '%1'").arg(lastSymbol));
    else if (wantsOperand)
        refuse(Flaw::Kind::Syntax,
            expression.isEmpty() ? nothing : trace.placeOf(expression.first(), expression.last()),
            QStringLiteral("there is no expression"));
    else if (levels.size() > 1)
        refuse(Flaw::Kind::Syntax, levels.last().opening, QStringLiteral("'(' is never closed"));
    else
        endAlternatives(levels.last());
}

} // namespace

Flaw flawOfExpression(const TracedText &expression, Place nothing, Trace &trace)
{
    return Walk(expression, trace).run(nothing);
}

Flaw flawOfExpression(const QString &expression)
{
    startupGuard();
    if (isSurelySound(expression))
        return {};
    Trace trace;
    return flawOfExpression(traced(expression), {}, trace);
}

} // namespace Talmo
