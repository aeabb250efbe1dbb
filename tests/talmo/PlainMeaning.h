#pragma once

#include "talmo/Macro.h"

#include <QList>
#include <QRegularExpression>
#include <QString>

#include <cmath>
#include <map>
#include <optional>
#include <vector>

/// What somebody means by an expression, by recursive descent: with the texts of macros in the
/// places of their names, and a few units. For numbers, + - * / ^ < <= == && || ? : and the
/// functions sin, max and if. It has no value if anything is wrong: units that do not fit together,
/// a number on the way to the result that is not finite, texts that join to another token.
class PlainMeaning
{
public:
    struct Piece {
        QString text;
        bool isMacro = false; ///< the text of a macro, put there before the evaluation
    };

    struct Quantity {
        double value = 0;
        QString unit;
        bool isBad = false; ///< it depends on a number that is not finite
    };

    PlainMeaning(const QList<Piece> &pieces, const Talmo::Macro::Table &itsMacros)
        : macros(itsMacros)
    {
        joinPieces(pieces);
        QStringList texts;
        for (const Token &token : tokens)
            texts += token.text;
        isGood = isGood && textsOf(tokenize(texts.join(QString()))) == texts;
    }

    std::optional<Quantity> value()
    {
        const Quantity result = conditional();
        if (!isGood || at < tokens.size() || result.isBad)
            return std::nullopt;
        return result;
    }

private:
    struct Token {
        QString text;
        int begin = 0;
        int unitBegin = 0;          ///< of a number; otherwise 0
        bool isBehindMacro = false; ///< the user's, directly behind the text of a macro
    };

    using Tokens = std::vector<Token>;

    static Tokens tokenize(const QString &text)
    {
        static const QRegularExpression pattern(
            R"((\d*\.?\d+([eE][-+]?\d+)?)([A-Za-z][A-Za-z0-9]*)?|[A-Za-z_]\w*\(?|[=<>!]=|&&|\|\||.)");
        Tokens found;
        for (auto match = pattern.globalMatch(text); match.hasNext();) {
            const auto token = match.next();
            found.push_back({token.captured(0), static_cast<int>(token.capturedStart(0)),
                static_cast<int>(token.capturedEnd(1)), false});
        }
        return found;
    }

    static QStringList textsOf(const Tokens &list)
    {
        QStringList texts;
        for (const Token &token : list)
            texts += token.text;
        return texts;
    }

    static bool isName(const QString &text) { return text[0].isLetter() || text[0] == '_'; }

    /// Takes the tokens of \a pieces, put together. A name may be made of several, and a number and
    /// its unit of two.
    void joinPieces(const QList<Piece> &pieces)
    {
        QString text;
        std::map<int, bool> ends; // of texts: whether the user's text goes on behind a macro
        bool wasMacro = false;
        for (const Piece &piece : pieces) {
            if (wasMacro || piece.isMacro)
                ends[static_cast<int>(text.size())] = !piece.isMacro;
            text += piece.text;
            wasMacro = piece.isMacro;
        }
        for (Token token : tokenize(text)) {
            for (const auto &[end, isUsers] : ends) {
                const bool isInside = end > token.begin && end < token.begin + token.text.size();
                if (isInside && end != token.unitBegin && !isName(token.text))
                    isGood = false;
                token.isBehindMacro = token.isBehindMacro || (end == token.begin && isUsers);
            }
            token.isBehindMacro = token.isBehindMacro || isBehind;
            isBehind = false;
            add(token, 0);
        }
    }

    /// Adds \a token, or what it is the name of.
    void add(const Token &token, int depth)
    {
        if (!isName(token.text) || token.text.endsWith('('))
            return tokens.push_back(token);
        const auto macro = macros.find(token.text);
        if (macro == macros.end() || depth > 20)
            return fail();
        for (Token inner : tokenize(*macro)) {
            inner.isBehindMacro = isBehind;
            isBehind = false;
            add(inner, depth + 1);
        }
        isBehind = true;
    }

    void fail() { isGood = false; }

    Quantity wrong()
    {
        isGood = false;
        return {};
    }

    bool take(const char *symbol)
    {
        if (!isGood || at == tokens.size() || tokens[at].text != symbol)
            return false;
        ++at;
        return true;
    }

    // Arithmetic.

    static const std::map<QString, std::pair<int, double>> &units()
    {
        static const std::map<QString, std::pair<int, double>> table = {{"", {0, 1}},
            {"in", {1, 1}}, {"m", {1, 39.37007874015748}}, {"mm", {1, 0.03937007874015748}},
            {"s", {2, 1}}, {"ms", {2, 0.001}}, {"e", {3, 1}}};
        return table;
    }

    double converted(const Quantity &from, const QString &unit)
    {
        const auto [kind, factor] = units().at(from.unit);
        const auto [otherKind, otherFactor] = units().at(unit);
        isGood = isGood && kind == otherKind;
        return from.value * factor / otherFactor;
    }

    static bool isFalse(const Quantity &q) { return std::fabs(q.value) < 1e-12; }

    static Quantity made(double value, const QString &unit, const Quantity &a, const Quantity &b)
    {
        return {value, unit, a.isBad || b.isBad || !std::isfinite(value)};
    }

    Quantity pure(const Quantity &quantity) { return quantity.unit.isEmpty() ? quantity : wrong(); }

    static Quantity chosen(const Quantity &condition, const Quantity &one, const Quantity &other)
    {
        Quantity result = isFalse(condition) ? other : one;
        result.isBad = result.isBad || condition.isBad;
        return result;
    }

    Quantity product(const Quantity &a, const Quantity &b)
    {
        if (!a.unit.isEmpty() && !b.unit.isEmpty())
            return wrong();
        return made(a.value * b.value, a.unit + b.unit, a, b);
    }

    Quantity ratio(const Quantity &a, const Quantity &b)
    {
        if (b.unit.isEmpty())
            return made(a.value / b.value, a.unit, a, b);
        return made(a.value / converted(b, a.unit), QString(), a, b);
    }

    // The grammar, loosest first.

    Quantity conditional()
    {
        Quantity result = logicalOr();
        while (take("?")) {
            const Quantity one = logicalOr();
            if (!take(":"))
                return wrong();
            const Quantity other = logicalOr();
            result = chosen(pure(result), one, other);
        }
        return result;
    }

    Quantity logicalOr()
    {
        Quantity result = logicalAnd();
        while (take("||")) {
            const Quantity b = logicalAnd();
            const Quantity a = result;
            const bool isSure = (!a.isBad && !isFalse(a)) || (!b.isBad && !isFalse(b));
            result = {isFalse(a) && isFalse(b) ? 0.0 : 1.0, {}, !isSure && (a.isBad || b.isBad)};
        }
        return result;
    }

    Quantity logicalAnd()
    {
        Quantity result = comparison();
        while (take("&&")) {
            const Quantity b = comparison();
            const Quantity a = result;
            const bool isSure = (!a.isBad && isFalse(a)) || (!b.isBad && isFalse(b));
            result = {isFalse(a) || isFalse(b) ? 0.0 : 1.0, {}, !isSure && (a.isBad || b.isBad)};
        }
        return result;
    }

    Quantity comparison()
    {
        Quantity result = sum();
        for (;;) {
            const int kind = take("==") ? 1 : take("<=") ? 2 : take("<") ? 3 : 0;
            if (kind == 0)
                return result;
            const Quantity b = sum();
            const double difference = result.value - converted(b, result.unit);
            const bool holds = kind == 1   ? difference == 0
                               : kind == 2 ? difference <= 0
                                           : difference < 0;
            result = made(holds ? 1 : 0, QString(), result, b);
        }
    }

    Quantity sum()
    {
        Quantity result = factors();
        for (;;) {
            const int sign = take("+") ? 1 : take("-") ? -1 : 0;
            if (sign == 0)
                return result;
            const Quantity b = factors();
            result = made(result.value + sign * converted(b, result.unit), result.unit, result, b);
        }
    }

    Quantity factors()
    {
        Quantity result = power();
        for (;;) {
            if (take("*"))
                result = product(result, power());
            else if (take("/"))
                result = ratio(result, power());
            else
                return result;
        }
    }

    Quantity power()
    {
        Quantity base = signedOperand();
        if (!take("^"))
            return base;
        const Quantity exponent = pure(power());
        return made(std::pow(pure(base).value, exponent.value), QString(), base, exponent);
    }

    Quantity signedOperand()
    {
        if (!take("-"))
            return operand();
        if (tokens[at - 1].isBehindMacro)
            return wrong();
        Quantity result = operand();
        result.value = -result.value;
        return result;
    }

    Quantity operand()
    {
        if (take("sin(")) {
            const Quantity x = pure(arguments(1)[0]);
            return made(std::sin(x.value), QString(), x, x);
        }
        if (take("max(")) {
            const std::vector<Quantity> list = arguments(2);
            const double second = converted(list[1], list[0].unit);
            return made(
                second >= list[0].value ? second : list[0].value, list[0].unit, list[0], list[1]);
        }
        if (take("if(")) {
            const std::vector<Quantity> list = arguments(3);
            return chosen(list[0], list[1], list[2]);
        }
        return take("(") ? arguments(1)[0] : number();
    }

    /// \a count arguments, and the parenthesis behind them.
    std::vector<Quantity> arguments(int count)
    {
        std::vector<Quantity> list = {conditional()};
        while (--count > 0)
            list.push_back(take(",") ? conditional() : wrong());
        if (!take(")"))
            fail();
        return list;
    }

    Quantity number()
    {
        if (!isGood || at == tokens.size() || tokens[at].unitBegin == 0)
            return wrong();
        const Token &token = tokens[at++];
        const int size = token.unitBegin - token.begin;
        const QString unit = token.text.mid(size);
        const double value = token.text.left(size).toDouble();
        return units().count(unit) == 0 || value > 1e308 ? wrong() : Quantity{value, unit, false};
    }

    const Talmo::Macro::Table macros;
    Tokens tokens;
    std::size_t at = 0;
    bool isGood = true;
    bool isBehind = false; ///< of the text of a macro, while tokens are added
};
