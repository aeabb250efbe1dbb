#include "CommandLine.h"

#include "commandTable.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Talmo
{

namespace
{

constexpr int largest = 1000000000;

}

int wrongCall(const QStringList &sentences)
{
    for (const QString &sentence : sentences)
        std::fprintf(stderr, "talmo: %s\n", qPrintable(sentence));
    return WrongCall;
}

int wrongCall(const QString &sentence)
{
    return wrongCall(QStringList(sentence));
}

CommandLine::CommandLine(const QString &name, const QString &description)
    : commandName(name)
{
    setApplicationDescription(description);
    QCommandLineParser::addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Prints this help.")});
}

std::optional<int> CommandLine::read(const QStringList &arguments)
{
    if (!parse(QStringList(QStringLiteral("talmo")) + arguments)) {
        QString reason = errorText();
        if (reason.endsWith(QLatin1Char('.')))
            reason.chop(1);
        reason[0] = reason[0].toLower();
        return refuse(reason);
    }
    if (!isSet(QStringLiteral("help")))
        return {};
    // Qt does not know that the program has commands.
    std::fputs(qPrintable(helpText().replace(
                   QStringLiteral("Usage: talmo"), QStringLiteral("Usage: talmo ") + commandName)),
        stdout);
    return AllIsWell;
}

std::optional<int> CommandLine::read(
    const QStringList &arguments, const std::function<bool(const QString &argument)> &isOperand)
{
    return read(sorted(arguments, isOperand));
}

bool CommandLine::addOption(const QCommandLineOption &option)
{
    if (!option.valueName().isEmpty())
        withValues += option.names();
    return QCommandLineParser::addOption(option);
}

bool CommandLine::addOptions(const QList<QCommandLineOption> &options)
{
    return std::all_of(options.begin(), options.end(),
        [this](const QCommandLineOption &option) { return addOption(option); });
}

/// \a arguments with all options in front and the operands behind "--", where Qt takes none of them
/// for an option.
QStringList CommandLine::sorted(const QStringList &arguments,
    const std::function<bool(const QString &argument)> &isOperand) const
{
    QStringList options;
    QStringList operands;
    for (auto next = arguments.begin(); next != arguments.end(); ++next) {
        if (*next == QLatin1String("--")) {
            std::copy(next + 1, arguments.end(), std::back_inserter(operands));
            break;
        }
        if (!next->startsWith(QLatin1Char('-')) || *next == QLatin1String("-") ||
            isOperand(*next)) {
            operands += *next;
            continue;
        }
        options += *next;
        const bool isLong = next->startsWith(QLatin1String("--"));
        if (!withValues.contains(next->mid(isLong ? 2 : 1)))
            continue;
        if (next + 1 == arguments.end())
            return options; // its value is missing, which is said; "--" would be taken for it
        options += *++next;
    }
    return options + QStringList(QStringLiteral("--")) + operands;
}

int CommandLine::refuse(const QString &sentence) const
{
    return wrongCall(QStringLiteral("%1: %2").arg(commandName, sentence));
}

std::optional<int> CommandLine::count(const QString &option, QString &problem) const
{
    const std::optional<int> number = countOf(value(option));
    if (!number)
        problem = QStringLiteral("--%1 takes a whole number from 1 on, not '%2'")
                      .arg(option, value(option));
    return number;
}

std::optional<double> CommandLine::seconds(const QString &option, QString &problem) const
{
    const std::optional<double> number = secondsOf(value(option));
    if (!number)
        problem = QStringLiteral("--%1 takes a number of seconds above 0, not '%2'")
                      .arg(option, value(option));
    return number;
}

std::optional<int> countOf(const QString &text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < 1 || number > largest)
        return {};
    return number;
}

std::optional<double> secondsOf(const QString &text)
{
    double number = 0;
    if (!toNumber(text.toStdString(), number) || !(number > 0) || number > largest)
        return {};
    return number;
}

} // namespace Talmo
