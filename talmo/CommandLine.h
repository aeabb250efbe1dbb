#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace Talmo
{

/// Prints on standard error, in the name of talmo, that the call is wrong, a line for each of
/// \a sentences. Returns the exit status.
int wrongCall(const QStringList &sentences);
int wrongCall(const QString &sentence);

/// The arguments of one command.
class CommandLine : public QCommandLineParser
{
public:
    /// \a name is that of the command, \a description what its help begins with.
    CommandLine(const QString &name, const QString &description);

    /// Reads \a arguments. Returns an exit status if nothing is left to do, because help was asked
    /// for and printed, or because the arguments are wrong, which was said.
    std::optional<int> read(const QStringList &arguments);

    /// The same. An argument that begins with "-" is no option if \a isOperand says so.
    std::optional<int> read(const QStringList &arguments,
        const std::function<bool(const QString &argument)> &isOperand);

    // As those of the parser, but the names of options that take values are remembered.
    bool addOption(const QCommandLineOption &option);
    bool addOptions(const QList<QCommandLineOption> &options);

    /// Says that \a sentence, about one of the arguments, makes the call wrong; returns the status.
    int refuse(const QString &sentence) const;

    /// The value of \a option as a whole number from 1 on; none, and a sentence in \a problem, if
    /// it is not one.
    std::optional<int> count(const QString &option, QString &problem) const;

    /// The value of \a option as a number of seconds above 0; none, and a sentence in \a problem,
    /// if it is not one.
    std::optional<double> seconds(const QString &option, QString &problem) const;

private:
    QStringList sorted(const QStringList &arguments,
        const std::function<bool(const QString &argument)> &isOperand) const;

    QString commandName;
    QStringList withValues; // the names of options
};

/// \a text as a whole number from 1 to a billion; none if it is not one.
std::optional<int> countOf(const QString &text);

/// \a text as a number of seconds above 0, up to a billion; none if it is not one.
std::optional<double> secondsOf(const QString &text);

} // namespace Talmo
