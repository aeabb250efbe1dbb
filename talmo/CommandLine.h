#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

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

    /// Says that \a sentence, about one of the arguments, makes the call wrong; returns the status.
    int refuse(const QString &sentence) const;

    /// The value of \a option as a whole number from 1 on; none, and a sentence in \a problem, if
    /// it is not one.
    std::optional<int> count(const QString &option, QString &problem) const;

    /// The value of \a option as a number of seconds above 0; none, and a sentence in \a problem,
    /// if it is not one.
    std::optional<double> seconds(const QString &option, QString &problem) const;

private:
    QString commandName;
};

/// \a text as a whole number from 1 to a billion; none if it is not one.
std::optional<int> countOf(const QString &text);

/// \a text as a number of seconds above 0, up to a billion; none if it is not one.
std::optional<double> secondsOf(const QString &text);

} // namespace Talmo
