// Proves in one pass that a text has no flaw. Whatever is not sure at once is not proved, and left
// to the walks, which also say what is wrong: so there are no conditionals here, no counters, and
// no places.
//
// An expression is sound if its operands and operators take turns, if parentheses and calls close
// with as many arguments as they need, and if units and names are known. The text of a macro is
// taken in the place of its name, if its last token cannot go on in what follows the name.
//
// A line is sound if its names can be replaced in one pass (see PlainReferences.h), and if what is
// in the braces that are left is sound.

#include "Soundness.h"

#include "FlawTrace.h"
#include "NumberFormat.h"
#include "PlainReferences.h"
#include "References.h"
#include "UnitsGrammar.h"
#include "findMacro.h"
#include "knownUnit.h"

#include <QVarLengthArray>

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr int deepest = 16; ///< texts of macros within one another; a circle goes deeper

/// Whether the last token of \a text surely ends there if \a next is the character behind it; null
/// stands for the end.
bool endsBefore(QStringView text, QChar next)
{
    static const QString endings = QStringLiteral(")*/^,<>=!&|");
    const QChar last = text.back();
    if (last != ')' && !isWordCharacter(last))
        return false;
    if (next == '+' || next == '-')
        return last != 'e' && last != 'E'; // an exponent may begin
    return next.isNull() || endings.contains(next);
}

/// Whether a double surely holds \a token: it neither overflows nor underflows.
bool isSurelyHeld(const NumberToken &token)
{
    const auto isOfExponent = [](QChar character) { return isDigit(character); };
    return token.number.size() < 200 &&
           std::count_if(token.exponent.begin(), token.exponent.end(), isOfExponent) < 3;
}

/// Whether surely no token goes over \a position of \a text, where the text of a macro begins or
/// ends. Most operators are of one character.
bool isSurelyApart(QStringView text, qsizetype position)
{
    static const QString alone = QStringLiteral("()*/^,?:;{}");
    const auto at = [text](qsizetype index) {
        return index >= 0 && index < text.size() ? text[index] : QChar();
    };
    const auto mayBeExponent = [](QChar letter) { return letter == 'e' || letter == 'E'; };
    const QChar before = at(position - 1);
    const QChar next = at(position);
    if (next == '-' || next == '+') // it may become a sign of an operand, or of an exponent
        return before == ')' || (isWordCharacter(before) && !mayBeExponent(before));
    if (before == '-' || before == '+')
        return !mayBeExponent(at(position - 2));
    return alone.contains(before) || alone.contains(next);
}

/// The proof for an expression.
class ExpressionProof
{
public:
    explicit ExpressionProof(Trace &itsTrace)
        : trace(itsTrace)
    {
    }

    bool holds(QStringView expression)
    {
        return takeTokens(expression, QChar()) && !wantsOperand && missingCommas.isEmpty();
    }

private:
    bool takeTokens(QStringView text, QChar next);

    // The length of the token that \a text begins with; 0 if it does not fit. Behind \a text comes
    // \a next.
    int takeToken(QStringView text, QChar next);
    int takeNumber(QStringView text);
    int takeName(QStringView text, QChar next);
    int takeOperator(QStringView text);

    /// Inserts the text of the macro \a name, behind which \a next comes.
    bool enterMacro(QStringView name, QChar next);

    /// Opens a parenthesis around so many arguments.
    bool open(int arguments);
    bool close();

    Trace &trace;
    QVarLengthArray<int, 16> missingCommas; ///< in each open parenthesis, the innermost last
    int depth = 0;                          ///< how many texts of macros there are around
    bool wantsOperand = true;
    bool isNegated = false; ///< a minus sign was the last token
};

bool ExpressionProof::takeTokens(QStringView text, QChar next)
{
    while (!text.isEmpty()) {
        const int length = takeToken(text, next);
        if (length == 0)
            return false;
        text = text.mid(length);
    }
    return true;
}

int ExpressionProof::takeToken(QStringView text, QChar next)
{
    const QChar first = text.front();
    if (isNumberStart(first))
        return takeNumber(text);
    if (isWordCharacter(first))
        return takeName(text, next);
    if (first == ')')
        return close() ? 1 : 0;
    return takeOperator(text);
}

int ExpressionProof::takeNumber(QStringView text)
{
    const NumberToken token = numberAhead(text);
    if (!wantsOperand || !isSurelyHeld(token) ||
        (token.hasUnit() && !isKnownUnit(lookUpKey(token.unit))))
        return 0;
    wantsOperand = false;
    return token.size();
}

int ExpressionProof::takeName(QStringView text, QChar next)
{
    const int length = nameAhead(text);
    const QStringView name = text.left(length);
    const QChar behind = length < text.size() ? text[length] : next;
    if (behind == '(')
        return open(argumentCount(lookUpKey(name))) ? length + 1 : 0;
    return enterMacro(name, behind) ? length : 0;
}

bool ExpressionProof::enterMacro(QStringView name, QChar next)
{
    const QString *const text = findMacro(lookUpKey(name));
    if (text == nullptr || text->isEmpty() || !endsBefore(*text, next) || depth == deepest ||
        !trace.allows(text->size()))
        return false;
    ++depth;
    const bool isTaken = takeTokens(*text, next);
    --depth;
    return isTaken;
}

int ExpressionProof::takeOperator(QStringView text)
{
    const OperatorToken *const token = operatorAhead(text, wantsOperand);
    if (token == nullptr || token->precedence == Conditional)
        return 0;
    if (token->precedence == Parenthesis)
        return open(1) ? 1 : 0;
    const bool isSign = token->precedence == UnaryMinus;
    if (isSign ? isNegated : wantsOperand)
        return 0;
    if (token->precedence == Comma && (missingCommas.isEmpty() || --missingCommas.last() < 0))
        return 0;
    wantsOperand = true;
    isNegated = isSign;
    return static_cast<int>(token->name.size());
}

bool ExpressionProof::open(int arguments)
{
    if (!wantsOperand || arguments == 0)
        return false;
    missingCommas.append(arguments - 1);
    isNegated = false;
    return true;
}

bool ExpressionProof::close()
{
    if (wantsOperand || missingCommas.isEmpty() || missingCommas.last() != 0)
        return false;
    missingCommas.removeLast();
    return true;
}

/// Whether \a inside, between "${" and "}", surely is a sound expression.
bool isSoundReference(QStringView inside, Trace &trace)
{
    const ExpressionParts parts(inside);
    const QStringView format = inside.left(parts.formatEnd);
    if (parts.formatEnd > 0 && !isNumberFormat(lookUpKey(format)))
        return false;
    if (parts.unitsBegin > 0 && !isKnownUnit(lookUpKey(inside.mid(parts.unitsBegin))))
        return false;
    return ExpressionProof(trace).holds(inside.mid(parts.begin, parts.end - parts.begin));
}

} // namespace

bool isSurelySound(const QString &expression)
{
    Trace trace;
    return ExpressionProof(trace).holds(expression);
}

bool isLineSurelySound(const QString &line)
{
    TextBuffer<QString> buffer;
    Trace trace;
    Joints joints;
    if (!replacePlainNames(line, buffer, &joints) || !trace.allows(buffer.size()))
        return false;
    const QStringView text(buffer.constData(), buffer.size());
    const auto *joint = joints.constBegin();
    for (int dollar = findDollar(isOpening, text); dollar >= 0;) {
        const auto begin = dollar + 2;
        const auto end = text.indexOf('}', begin);
        joint = std::find_if(joint, joints.constEnd(), [&](int each) { return each >= begin; });
        for (; joint != joints.constEnd() && *joint <= end; ++joint) {
            if (!isSurelyApart(text, *joint))
                return false;
        }
        if (!isSoundReference(text.mid(begin, end - begin), trace))
            return false;
        dollar = findDollar(isOpening, text, static_cast<int>(end));
    }
    return true;
}

} // namespace Talmo
