#pragma once

#include <QString>

#include <cmath>
#include <optional>
#include <vector>

/// Evaluation by recursive descent, with a function for each row of operators in the manual. For
/// expressions of digits, + - * ^ < <= == && || ? : and the functions sin, max and if, with neither
/// units nor macros. The first thing that is wrong ends it.
class PlainEvaluation
{
public:
    explicit PlainEvaluation(const QString &expression)
        : text(expression)
    {
    }

    /// What it comes to; nothing if it is no expression.
    std::optional<double> value()
    {
        const double result = conditional();
        if (isGood && position == text.size())
            return result;
        return std::nullopt;
    }

private:
    static bool isFalse(double number) { return std::fabs(number) < 1e-12; }
    static bool isTrue(double number) { return std::fabs(number) >= 1e-12; }
    static double truth(bool holds) { return holds ? 1 : 0; }

    bool take(const QString &symbol)
    {
        if (!isGood || text.mid(position, symbol.size()) != symbol)
            return false;
        position += static_cast<int>(symbol.size());
        return true;
    }

    double wrong()
    {
        isGood = false;
        return 0;
    }

    double conditional()
    {
        double result = logicalOr();
        while (take("?")) {
            const double first = logicalOr();
            if (!take(":"))
                return wrong();
            const double second = logicalOr();
            result = isFalse(result) ? second : first;
        }
        return result;
    }

    double logicalOr()
    {
        double result = logicalAnd();
        while (take("||")) {
            const double right = logicalAnd();
            result = truth(isTrue(result) || isTrue(right));
        }
        return result;
    }

    double logicalAnd()
    {
        double result = comparison();
        while (take("&&")) {
            const double right = comparison();
            result = truth(!isFalse(result) && !isFalse(right));
        }
        return result;
    }

    double comparison()
    {
        double result = sum();
        for (;;) {
            if (take("=="))
                result = truth(result - sum() == 0);
            else if (take("<="))
                result = truth(result - sum() <= 0);
            else if (take("<"))
                result = truth(result - sum() < 0);
            else
                return result;
        }
    }

    double sum()
    {
        double result = product();
        for (;;) {
            if (take("+"))
                result += product();
            else if (take("-"))
                result -= product();
            else
                return result;
        }
    }

    double product()
    {
        double result = power();
        while (take("*"))
            result *= power();
        return result;
    }

    double power()
    {
        const double base = signedOperand();
        return take("^") ? std::pow(base, power()) : base;
    }

    double signedOperand() { return take("-") ? -operand() : operand(); }

    double operand()
    {
        if (take("sin("))
            return std::sin(arguments(1)[0]);
        if (take("max(")) {
            const std::vector<double> values = arguments(2);
            return values[1] >= values[0] ? values[1] : values[0];
        }
        if (take("if(")) {
            const std::vector<double> values = arguments(3);
            return isFalse(values[0]) ? values[2] : values[1];
        }
        return take("(") ? arguments(1)[0] : digits();
    }

    /// \a count arguments, and the parenthesis behind them.
    std::vector<double> arguments(int count)
    {
        std::vector<double> values = {conditional()};
        while (--count > 0)
            values.push_back(take(",") ? conditional() : wrong());
        if (!take(")"))
            wrong();
        return values;
    }

    double digits()
    {
        const int begin = position;
        while (position < text.size() && text[position] >= '0' && text[position] <= '9')
            ++position;
        const bool hasUnit = position < text.size() && text[position].isLetter();
        return isGood && position > begin && !hasUnit ? text.mid(begin, position - begin).toDouble()
                                                      : wrong();
    }

    const QString text;
    int position = 0;
    bool isGood = true;
};
