// The walk over an expression. It takes the same tokens as the evaluator (UnitsScan.cpp), with the
// texts of macros in the places of their names, but computes nothing. It only remembers whether an
// operand or an operator comes next, and what is open: parentheses, conditionals, and the macros
// whose texts it is in.
//
// A flaw that the evaluator may take in silence ends the walk. One that the evaluator reports
// itself for sure is only noted, because one of the other sort may follow.
//
// Where the text of a macro ends, or begins, no token may go on, other than a number with a unit,
// or a name. Somebody means cell_$n and 5$unit, but nobody an exponent for "x-3", with "1e" for x.
//
// The walk goes over as many characters as the evaluator would, so it has to end where that would
// not: at a macro inside its own text, and where macros have inserted too much.

#include "talmo/Flaw.h"

#include "FlawTrace.h"
#include "Soundness.h"
#include "Tokens.h"
#include "UnitsGrammar.h"
#include "Walks.h"
#include "WorkingText.h"
#include "knownUnit.h"
#include "talmo/StartupGuard.h"

#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Talmo
{

namespace
{

/// \a text, a part of a token, for a message.
QString inShort(const QString &text)
{
    constexpr int most = 40;
    return text.size() <= most ? text : text.left(most / 2) + QStringLiteral("...");
}

/// One pass over an expression.
class Walk
{
public:
    Walk(const TracedExpression &whole, Trace &itsTrace, Aim itsAim)
        : expression(whole.text)
        , nothing(whole.nothing)
        , before(whole.before)
        , aim(itsAim)
        , trace(itsTrace)
        , rest(toString(expression.constData(), expression.size()))
    {
        levels.append(Level());
    }

    /// Goes to the end, or to the first flaw that the evaluator may take in silence.
    Flaw run();

    /// Goes up to token number \a token, from 1; where that begins.
    Place find(int token);

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
    void checkEnd();

    /// Ends the walk at the number \a text, from \a place, if no double holds it.
    void checkSize(QStringView number, Place place);

    /// Whether the text of a macro begins or ends, or is empty, where \a count characters are left.
    bool isJoint(int count) const;

    /// Ends the walk if the text of a macro joins with what stands beside it in the \a length
    /// characters ahead, other than behind the first \a allowed. Returns whether it has.
    bool refuseJoint(int length, int allowed);

    /// Ends the walk where \a one and \a other, before which \a count characters are left, join.
    void refuseJoint(const QString &one, const QString &other, int count);

    /// Whether what comes next stands behind the text of a macro.
    bool isBehindMacro() const;

    /// What the evaluator does not take: an end without a flaw, if that is what is looked for.
    void stop(Place place, const QString &what);

    int left() const { return static_cast<int>(rest.ahead().size()); }

    /// Where the character comes from that has \a count characters left, itself included.
    Place placeAt(int count) const;

    /// Drops the first \a length characters, at least one; where they come from.
    Place drop(int length);

    /// Ends the walk at a flaw that the evaluator may take in silence, if it is one that the walk
    /// looks for. Returns whether it has.
    bool refuse(Flaw::Kind kind, Place place, const QString &what);
    /// Remembers a flaw that the evaluator reports itself, if it is the first.
    void note(Place place, const QString &what);

    const TracedText &expression;
    const Place nothing;
    const std::optional<TracedCharacter> before;
    const Aim aim;
    Trace &trace;
    WorkingText rest;

    QList<OpenMacro> open; ///< the innermost last
    QSet<QString> openNames;
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
        flaw.expression = toString(expression.constData(), expression.size());
    return flaw;
}

Place Walk::find(int token)
{
    while (--token > 0 && !rest.isEmpty())
        takeToken();
    return rest.isEmpty() ? nothing : placeAt(left());
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
    stop(drop(isPair ? 2 : 1), QStringLiteral("'%1' has no meaning here").arg(character));
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
    if (!trace.find(name, text)) {
        refuse(Flaw::Kind::Name, place, QStringLiteral("unknown name '%1'").arg(name));
        return;
    }
    if (openNames.contains(name)) {
        refuse(Flaw::Kind::Circle, place, QStringLiteral("macro '%1' refers to itself").arg(name));
        for (const OpenMacro &macro : open) {
            if (macro.name == name || !flaw.circle.isEmpty())
                flaw.circle.append(macro.name);
        }
        flaw.circle.append(name);
        return;
    }
    if (!trace.allows(text.size())) {
        const QString outermost = open.isEmpty() ? name : open.first().name;
        refuse(
            Flaw::Kind::Length, place, QStringLiteral("macro '%1' grows too long").arg(outermost));
        return;
    }
    open.append({name, left(), place});
    openNames.insert(name);
    rest.replaceFront(0, text);
}

void Walk::takeNumber()
{
    const NumberToken token = numberAhead(rest.ahead());
    if (refuseJoint(token.size(), static_cast<int>(token.number.size())))
        return;
    const QString text = rest.ahead().left(token.size()).toString();
    const QString number = token.number.toString();
    const QString unit = token.unit.toString();
    Place place = drop(static_cast<int>(number.size()));
    const Place numberPlace = place;
    if (!unit.isEmpty()) {
        const Place unitPlace = drop(static_cast<int>(unit.size()));
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

bool Walk::isJoint(int count) const
{
    const auto endsHere = [count](const OpenMacro &macro) { return macro.left == count; };
    if (std::any_of(open.begin(), open.end(), endsHere))
        return true;
    const int index = static_cast<int>(expression.size()) - count;
    if (count == 0 || (!open.isEmpty() && count > open.first().left))
        return false;
    const std::optional<TracedCharacter> previous = index > 0 ? expression[index - 1] : before;
    return previous && !follows(expression[index], *previous);
}

bool Walk::isBehindMacro() const
{
    if (!isJoint(left()))
        return false;
    if (!open.isEmpty() && left() > open.first().left)
        return true;
    const TracedCharacter next = expression[expression.size() - left()];
    return next.origin >= 0 || next.index > 0; // otherwise another text begins here
}

bool Walk::refuseJoint(int length, int allowed)
{
    if (aim != Aim::Flaws)
        return false;
    int joint = 1;
    while (joint < length && (joint == allowed || !isJoint(left() - joint)))
        ++joint;
    if (joint >= length)
        return false;
    const QString token = rest.ahead().left(length).toString();
    refuseJoint(inShort(token.left(joint)), inShort(token.mid(joint)), left() - joint);
    return true;
}

void Walk::refuseJoint(const QString &one, const QString &other, int count)
{
    const QString ends =
        QStringLiteral("the text of '%1' ends in '%2', which joins with '%3' behind it");
    const auto macro = std::find_if(
        open.rbegin(), open.rend(), [count](const OpenMacro &each) { return each.left == count; });
    if (macro != open.rend()) {
        refuse(Flaw::Kind::Join, macro->place, ends.arg(macro->name, one, other));
        return;
    }
    const TracedCharacter next = expression[expression.size() - count];
    const TracedCharacter last = expression[expression.size() - count - 1];
    const auto nameOf = [this](TracedCharacter character) {
        return trace.insertions[-1 - character.origin].macro;
    };
    const bool isOfOne = last.origin == next.origin || (last.origin >= 0 && next.origin >= 0);
    if (isOfOne)
        refuse(Flaw::Kind::Join, trace.placeOf(next, next),
            QStringLiteral("'%1' and '%2' join, for the text between them is empty")
                .arg(one, other));
    else if (last.origin < 0)
        refuse(Flaw::Kind::Join, trace.placeOf(last, last), ends.arg(nameOf(last), one, other));
    else
        refuse(Flaw::Kind::Join, trace.placeOf(next, next),
            QStringLiteral("the text of '%1' begins with '%2', which joins with '%3' before it")
                .arg(nameOf(next), other, one));
}

void Walk::takeOperator(const OperatorToken &token)
{
    if (token.precedence == Parenthesis)
        return openParenthesis(QString(), {});
    const int length = static_cast<int>(token.name.size());
    if (refuseJoint(length, length))
        return;
    const bool isSign = token.precedence == UnaryMinus && !isBehindMacro();
    const Place place = drop(length);
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
    const Place place = drop(1);
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
    const Place place = drop(1);
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
        refuse(Flaw::Kind::Syntax,
            expression.isEmpty() ? nothing : trace.placeOf(expression.first(), expression.last()),
            QStringLiteral("there is no expression"));
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
