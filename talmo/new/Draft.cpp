#include "Draft.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// The line of the words \a words, and its end.
QByteArray lineOf(const QStringList &words)
{
    return words.join(QLatin1Char(' ')).toUtf8() + '\n';
}

QByteArray fileOf(const QString &name, const QByteArray &body)
{
    return lineOf({QStringLiteral("=file"), name}) + body;
}

QByteArray testOf(const Output &output)
{
    if (output.test == Output::Nothing)
        return {};
    if (output.test == Output::Exists)
        return lineOf({QStringLiteral("=exists"), output.scriptName});
    QStringList words = {QStringLiteral("=compare"), output.scriptName, output.reference};
    for (const std::string &tolerance : output.tolerances)
        words += QString::fromStdString(tolerance);
    return lineOf(words);
}

} // namespace

QByteArray Draft::head() const
{
    QByteArray text = '=' + heading.toUtf8() + '\n';
    if (!program.isEmpty())
        text += lineOf({QStringLiteral("=simprogram"), program});
    for (const Input &input : inputs) {
        // Where the output of cp goes is said, so that it makes no file of its own.
        text += input.outside.isNull() ? fileOf(input.name, input.text)
                                       : lineOf({QStringLiteral("=run cp"), input.outside,
                                             input.name, QStringLiteral(">/dev/null")});
    }
    if (!command.shellText.isNull())
        text += fileOf(shellName, command.shellText);
    return text + lineOf({QStringLiteral("=run"), command.words});
}

QByteArray Draft::text() const
{
    QByteArray text = head();
    for (const Output &output : outputs) {
        if (output.test == Output::Compares)
            text += fileOf(output.reference, output.body);
    }
    for (const Output &output : outputs)
        text += testOf(output);
    return text;
}

QString Draft::freeName(const QString &base, const QStringList &taken) const
{
    const auto isTaken = [&](const QString &name) {
        const auto isInput = [&name](const Input &input) { return input.name == name; };
        const auto isOutput = [&name](const Output &output) {
            return output.scriptName == name || output.reference == name;
        };
        return taken.contains(name) || name == shellName ||
               std::any_of(inputs.begin(), inputs.end(), isInput) ||
               std::any_of(outputs.begin(), outputs.end(), isOutput);
    };
    QString name = base;
    for (int number = 2; isTaken(name); ++number)
        name = base + QString::number(number);
    return name;
}

} // namespace Talmo
