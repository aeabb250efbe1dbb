// talmo eval: expressions with units, from the command line, from files or from a pipe.

#include "Calculator.h"
#include "CommandLine.h"
#include "Definitions.h"
#include "Filter.h"
#include "NumberFormat.h"
#include "Walks.h"
#include "commandTable.h"
#include "knownUnits.h"
#include "leniency.h"
#include "lineText.h"
#include "strict.h"
#include "talmo/Units.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include <unistd.h>

namespace Talmo
{

namespace
{

const QString unitsOption = QStringLiteral("u");
const QString formatOption = QStringLiteral("f");

void addOptions(CommandLine &line)
{
    line.addOptions({
        {unitsOption,
            QStringLiteral("What results are in: a unit, '' for none, '*' for the standard one of "
                           "their kind, '-' for their own, which follows them; this is the "
                           "default."),
            QStringLiteral("UNITS"), QStringLiteral("-")},
        {formatOption, QStringLiteral("The printf format of results; the default is %.12g."),
            QStringLiteral("FORMAT"), QStringLiteral("%.12g")},
    });
    addDefinitionOptions(line);
    addLenientOption(line);
    line.addPositionalArgument(QStringLiteral("expression"),
        QStringLiteral("What is evaluated; each line of standard input, if none is given. On a "
                       "terminal that is a calculator."),
        QStringLiteral("[EXPRESSION...]"));
}

/// Whether \a argument is an expression, although it begins with "-".
bool isExpression(const QString &argument)
{
    const QChar next = argument.size() > 1 ? argument[1] : QChar();
    return (next >= QLatin1Char('0') && next <= QLatin1Char('9')) || next == QLatin1Char('.') ||
           next == QLatin1Char('(');
}

class EvalCommand
{
public:
    explicit EvalCommand(const CommandLine &itsLine)
        : line(itsLine)
        , units(line.value(unitsOption))
        , format(line.value(formatOption))
        , leniency(line)
    {
    }

    int perform();

private:
    int evaluateArguments();
    int evaluateLines();
    int calculate();
    Problem evaluate(const QString &expression, QString &result);

    const CommandLine &line;
    QString units;
    QString format;
    Leniency leniency;
    std::unique_ptr<Strict> strict; // null if the library is to have its way
};

/// What is wrong with \a expression; \a result is empty then.
Problem EvalCommand::evaluate(const QString &expression, QString &result)
{
    if (strict)
        return strict->evaluate(format, expression, units, result);
    Problem problem = Leniency::endlessness(endlessnessOfExpression(expression));
    if (problem.message.isEmpty())
        result = Units::evaluate(format, expression, units);
    return problem;
}

int EvalCommand::evaluateArguments()
{
    int status = AllIsWell;
    const QStringList expressions = line.positionalArguments();
    for (int index = 0; index < expressions.size(); ++index) {
        const QString &expression = expressions[index];
        QString result;
        const Problem problem = evaluate(expression, result);
        if (!problem.message.isEmpty()) {
            status = AtFault;
            result.clear();
            printProblem(QStringLiteral("argument %1").arg(index + 1),
                columnAt(expression, problem.position), problem.message);
        }
        std::string bytes;
        appendBytes(bytes, result + QLatin1Char('\n'));
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    }
    return status;
}

int EvalCommand::evaluateLines()
{
    FilterFiles files;
    files.inputs += QStringLiteral("-");
    return runFilter(line, files, [this](FilterLine &input, std::string &bytes) {
        const QString expression = textOf(input.text);
        if (expression.isEmpty() && strict)
            return;
        QString result;
        leniency.setLine(expression, input.lineNumber());
        const Problem problem = evaluate(expression, result);
        if (!problem.message.isEmpty())
            input.report(columnAt(expression, problem.position), problem.message);
        appendBytes(bytes, result);
    });
}

int EvalCommand::calculate()
{
    Calculator([this](const QString &expression, QString &result) {
        return evaluate(expression, result);
    }).run();
    return AllIsWell;
}

int EvalCommand::perform()
{
    std::signal(SIGPIPE, SIG_DFL); // who reads no more wants to hear no more
    QString problem;
    QString ignored;
    if (!areUnits(units, problem))
        return line.refuse(problem);
    if (!printNumber(format, 0, ignored))
        return line.refuse(QStringLiteral("'%1' is no format for a number").arg(format));
    const bool hasExpressions = !line.positionalArguments().isEmpty();
    problem = problemOfStandardInput(line, !hasExpressions, QStringLiteral("expressions"));
    if (!problem.isNull())
        return line.refuse(problem);
    if (const int status = define(line); status != AllIsWell)
        return status;
    if (!leniency.isWanted())
        strict = std::make_unique<Strict>();
    if (!hasExpressions && isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0)
        return calculate();
    const int status = hasExpressions ? evaluateArguments() : evaluateLines();
    return status == AllIsWell && leniency.wasUsed() ? AtFault : status;
}

} // namespace

int evalCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("eval"),
        QStringLiteral("Prints the values of expressions with units, such as 2*3mm+5mm."));
    addOptions(line);
    if (const std::optional<int> status = line.read(arguments, isExpression))
        return *status;
    return EvalCommand(line).perform();
}

} // namespace Talmo
