// Proves in one pass that a text has no flaw. Whatever is not sure at once is not proved, and left
// to the walks, which also say what is wrong: so there are no conditionals here, no counters, and
// no places.
//
// An expression is sound if its operands and operators take turns, if parentheses and calls close
// with as many arguments as they need, and if units and names are known. The text of a macro is
// taken in the place of its name, if its last token cannot go on in what follows the name.
//
// A line is sound if each of its references is, and if no reference can come of another: no text of
// a macro holds a "$" or a brace. Then the order in which Macro::expand replaces references makes
// no difference.

#include "Soundness.h"

#include "FlawTrace.h"
#include "NumberFormat.h"
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

bool isWord(QStringView text)
{
    return std::all_of(text.begin(), text.end(), isWordCharacter);
}

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
    if (!wantsOperand || (token.hasUnit() && !isKnownUnit(lookUpKey(token.unit))))
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

/// The proof for a line.
class LineProof
{
public:
    bool holds(const QString &line);

private:
    /// The length of the reference that \a text begins with, or of its "$" if that is no part of
    /// one; 0 if it is not surely sound.
    int takeReference(QStringView text);

    /// The text of the macro \a name; null if there is none, or if a reference may come of it.
    const QString *textOf(QStringView name);

    bool isExpression(QStringView inside);
    bool replaceNames(QStringView text, TextBuffer<QString> &replaced);

    Trace trace;
};

bool LineProof::holds(const QString &line)
{
    auto position = line.indexOf('$');
    while (position >= 0) {
        const int length = takeReference(QStringView(line).mid(position));
        if (length == 0)
            return false;
        position = line.indexOf('$', position + length);
    }
    return true;
}

int LineProof::takeReference(QStringView text)
{
    if (text.size() == 1)
        return 1;
    if (text[1] == '$')
        return 0; // the text of a macro may follow the first one, and give it a name
    if (text[1] == '{') {
        const auto end = text.indexOf('}');
        const QStringView inside = text.mid(2, end - 2);
        const bool isSound =
            end > 0 && (isWord(inside) ? textOf(inside) != nullptr : isExpression(inside));
        return isSound ? static_cast<int>(end) + 1 : 0;
    }
    const auto *const end = std::find_if(text.begin() + 1, text.end(), isNoWordCharacter);
    const int length = static_cast<int>(end - text.begin());
    return length == 1 || textOf(text.mid(1, length - 1)) != nullptr ? length : 0;
}

const QString *LineProof::textOf(QStringView name)
{
    const auto isOfReferences = [](QChar character) {
        return isDollar(character) || isBrace(character);
    };
    const QString *const text = findMacro(lookUpKey(name));
    const bool isPlain = text != nullptr && trace.allows(text->size()) &&
                         std::none_of(text->begin(), text->end(), isOfReferences);
    return isPlain ? text : nullptr;
}

/// Whether \a inside, between "${" and "}", surely is a sound expression.
bool LineProof::isExpression(QStringView inside)
{
    TextBuffer<QString> buffer;
    if (!replaceNames(inside, buffer))
        return false;
    const QStringView text(buffer.constData(), buffer.size());
    if (isWord(text))
        return false; // the name of a macro after all
    const ExpressionParts parts(text);
    const QStringView format = text.left(parts.formatEnd);
    if (parts.formatEnd > 0 && (format.contains('{') || !isNumberFormat(lookUpKey(format))))
        return false;
    if (parts.unitsBegin > 0 && !isKnownUnit(lookUpKey(text.mid(parts.unitsBegin))))
        return false;
    return ExpressionProof(trace).holds(text.mid(parts.begin, parts.end - parts.begin));
}

/// Replaces each $name in \a text. False if a "$" is anything else.
bool LineProof::replaceNames(QStringView text, TextBuffer<QString> &replaced)
{
    while (!text.isEmpty()) {
        const auto *const dollar = std::find_if(text.begin(), text.end(), isDollar);
        replaced.append(text.data(), static_cast<int>(dollar - text.begin()));
        if (dollar == text.end())
            return true;
        const auto *const end = std::find_if(dollar + 1, text.end(), isNoWordCharacter);
        const QString *const value =
            end - dollar > 1 ? textOf(QStringView(dollar + 1, end - dollar - 1)) : nullptr;
        if (value == nullptr)
            return false;
        replaced.append(value->constData(), static_cast<int>(value->size()));
        text = text.mid(end - text.begin());
    }
    return true;
}

} // namespace

bool isSurelySound(const QString &expression)
{
    Trace trace;
    return ExpressionProof(trace).holds(expression);
}

bool isLineSurelySound(const QString &line)
{
    return LineProof().holds(line);
}

} // namespace Talmo
