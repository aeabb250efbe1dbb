// The walk over an expression. It takes the same tokens as the evaluator (UnitsScan.cpp), with the
// texts of macros in the places of their names, but computes nothing. It only remembers whether an
// operand or an operator comes next, and what is open: parentheses and conditionals.
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
#include "WalkedText.h"
#include "Walks.h"
#include "knownUnit.h"
#include "talmo/StartupGuard.h"

#include <QList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Talmo
{

namespace
{

/// One pass over an expression.
class Walk
{
public:
    Walk(const TracedExpression &whole, Trace &itsTrace, Aim itsAim)
        : aim(itsAim)
        , trace(itsTrace)
        , rest(whole, itsTrace)
    {
        levels.append(Level());
    }

    /// Goes to the end, or to the first flaw that the evaluator may take in silence.
    Flaw run();

    /// Goes up to token number \a token, from 1; where that begins.
    Place find(int token);

private:
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
    void checkEnd();

    /// Ends the walk at the number \a text, from \a place, if no double holds it.
    void checkSize(QStringView number, Place place);

    /// Ends the walk if the text of a macro joins with what stands beside it in the \a length
    /// characters ahead, other than behind the first \a allowed. Returns whether it has.
    bool refuseJoint(int length, int allowed);

    /// What the evaluator does not take: an end without a flaw, if that is what is looked for.
    void stop(Place place, const QString &what);

    /// Ends the walk at a flaw that the evaluator may take in silence, if it is one that the walk
    /// looks for. Returns whether it has.
    bool refuse(Flaw::Kind kind, Place place, const QString &what);
    /// Remembers a flaw that the evaluator reports itself, if it is the first.
    void note(Place place, const QString &what);

    const Aim aim;
    Trace &trace;
    WalkedText rest;

    QList<Level> levels; ///< the innermost last
    bool wantsOperand = true;
    bool isNegated = false; ///< a minus sign was the last token
    QString lastSymbol;     ///< the operator or "(" that wants the operand; null at the beginning
    Place lastPlace;

    bool hasStopped = false;
    bool hasSpareComma = false;
    bool hasLonelyQuestion = false;
    Flaw flaw;
    Flaw noted;
};

bool Walk::refuse(Flaw::Kind kind, Place place, const QString &what)
{
    const bool isEndless = kind == Flaw::Kind::Circle || kind == Flaw::Kind::Length;
    if (aim == Aim::Flaws || isEndless)
        flaw = makeFlaw(kind, place, what);
    return !flaw.what.isEmpty();
}

void Walk::stop(Place place, const QString &what)
{
    refuse(Flaw::Kind::Syntax, place, what);
    hasStopped = true;
}

void Walk::note(Place place, const QString &what)
{
    if (noted.what.isEmpty())
        noted = makeFlaw(Flaw::Kind::Syntax, place, what);
}

Flaw Walk::run()
{
    while (flaw.what.isEmpty() && !hasStopped && !rest.isEmpty())
        takeToken();
    if (flaw.what.isEmpty())
        checkEnd();
    if (flaw.what.isEmpty() && aim == Aim::Flaws) {
        flaw = noted;
        // A "?" without a ":" takes an operand too many, a spare "," leaves one: 5,(1?2) is 1.
        flaw.isReported = !flaw.what.isEmpty() && !(hasSpareComma && hasLonelyQuestion);
    }
    if (!flaw.what.isEmpty())
        flaw.expression = rest.whole();
    return flaw;
}

Place Walk::find(int token)
{
    while (--token > 0 && !rest.isEmpty())
        takeToken();
    return rest.place();
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
    stop(rest.drop(isPair ? 2 : 1), QStringLiteral("'%1' has no meaning here").arg(character));
}

void Walk::takeName()
{
    const QStringView ahead = rest.ahead();
    const int length = nameAhead(ahead);
    const QString name = ahead.left(length).toString();
    const bool isCall = length < ahead.size() && ahead[length] == '(';
    const Place place = rest.drop(length);
    if (isCall)
        openParenthesis(name, place);
    else
        enterMacro(name, place);
}

void Walk::enterMacro(const QString &name, Place place)
{
    QString text;
    if (!trace.find(name, text)) {
        refuse(Flaw::Kind::Name, place, QStringLiteral("unknown name '%1'").arg(name));
        return;
    }
    if (rest.isIn(name)) {
        refuse(Flaw::Kind::Circle, place, QStringLiteral("macro '%1' refers to itself").arg(name));
        flaw.circle = rest.circle(name);
        return;
    }
    if (!trace.allows(text.size())) {
        refuse(Flaw::Kind::Length, place,
            QStringLiteral("macro '%1' grows too long").arg(rest.outermost(name)));
        return;
    }
    rest.enter(name, text, place);
}

void Walk::takeNumber()
{
    const NumberToken token = numberAhead(rest.ahead());
    if (refuseJoint(token.size(), static_cast<int>(token.number.size())))
        return;
    const QString text = rest.ahead().left(token.size()).toString();
    const QString number = token.number.toString();
    const QString unit = token.unit.toString();
    Place place = rest.drop(static_cast<int>(number.size()));
    const Place numberPlace = place;
    if (!unit.isEmpty()) {
        const Place unitPlace = rest.drop(static_cast<int>(unit.size()));
        if (!isKnownUnit(unit) &&
            refuse(Flaw::Kind::Unit, unitPlace, QStringLiteral("unknown unit '%1'").arg(unit)))
            return;
        place.end = unitPlace.end;
    }
    if (!wantsOperand && refuse(Flaw::Kind::Syntax, place,
                             QStringLiteral("an operator is missing before '%1'").arg(text)))
        return;
    wantsOperand = false;
    checkSize(number, numberPlace);
}

void Walk::checkSize(QStringView number, Place place)
{
    const double value = std::fabs(toDouble(number));
    const auto *const exponent = std::find_if(number.begin(), number.end(), isLetter);
    const bool isZero = std::all_of(number.begin(), exponent,
        [](QChar character) { return character == '0' || character == '.'; });
    const bool isSmall = value < std::numeric_limits<double>::min() && !isZero;
    if (isSmall || std::isinf(value))
        refuse(Flaw::Kind::Number, place,
            QStringLiteral("the number '%1' is too %2")
                .arg(inShort(number.toString()),
                    isSmall ? QStringLiteral("small") : QStringLiteral("large")));
}

bool Walk::refuseJoint(int length, int allowed)
{
    if (aim == Aim::Flaws)
        flaw = rest.joint(length, allowed);
    return !flaw.what.isEmpty();
}

void Walk::takeOperator(const OperatorToken &token)
{
    if (token.precedence == Parenthesis)
        return openParenthesis(QString(), {});
    const int length = static_cast<int>(token.name.size());
    if (refuseJoint(length, length))
        return;
    const bool isSign = token.precedence == UnaryMinus && !rest.isBehindMacro();
    const Place place = rest.drop(length);
    if (wantsOperand && !isSign &&
        refuse(Flaw::Kind::Syntax, place,
            QStringLiteral("an operand is missing before '%1'").arg(token.name)))
        return;
    if (isNegated && isSign &&
        refuse(Flaw::Kind::Syntax, place, QStringLiteral("two minus signs in a row")))
        return;
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
        hasStopped = aim == Aim::Endlessness;
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
    const Place place = rest.drop(1);
    if (!wantsOperand && refuse(Flaw::Kind::Syntax, function.isEmpty() ? place : name,
                             QStringLiteral("an operator is missing before '%1('").arg(function)))
        return;
    Level level;
    level.opening = place;
    level.function = function;
    level.name = name;
    levels.append(level);
    wantOperand(QStringLiteral("("), place);
}

void Walk::closeParenthesis()
{
    const Place place = rest.drop(1);
    if (wantsOperand &&
        refuse(Flaw::Kind::Syntax, place, QStringLiteral("an operand is missing before ')'")))
        return;
    if (levels.size() == 1)
        return stop(place, QStringLiteral("')' without its '('"));
    wantsOperand = false;
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

void Walk::checkEnd()
{
    if (wantsOperand && !lastSymbol.isNull())
        refuse(Flaw::Kind::Syntax, lastPlace,
            QStringLiteral("an operand is missing behind '%1'").arg(lastSymbol));
    else if (wantsOperand)
        refuse(Flaw::Kind::Syntax, rest.placeOfWhole(), QStringLiteral("there is no expression"));
    else if (levels.size() > 1)
        refuse(Flaw::Kind::Syntax, levels.last().opening, QStringLiteral("'(' is never closed"));
    else
        endAlternatives(levels.last());
}

} // namespace

Flaw flawOfExpression(const TracedExpression &expression, Trace &trace, Aim aim)
{
    return Walk(expression, trace, aim).run();
}

Place placeOfToken(int token, const TracedExpression &expression, Trace &trace)
{
    return Walk(expression, trace, Aim::Flaws).find(token);
}

Flaw flawOfExpression(const QString &expression)
{
    startupGuard();
    if (isSurelySound(expression))
        return {};
    Trace trace;
    return flawOfExpression({traced(expression)}, trace);
}

Flaw endlessnessOfExpression(const QString &expression)
{
    if (isSurelySound(expression))
        return {};
    TracedText text = traced(expression);
    const auto isDropped = [](QChar character) { return character == '$'; };
    text.erase(std::remove_if(text.begin(), text.end(), isDropped), text.end());
    Trace trace;
    return flawOfExpression({text}, trace, Aim::Endlessness);
}

int positionOfToken(int token, const QString &expression)
{
    Trace trace;
    return placeOfToken(token, {traced(expression)}, trace).begin;
}

} // namespace Talmo
