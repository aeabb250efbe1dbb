#include "runLine.h"

#include "commands.h"

#include <QFile>

#include <algorithm>

namespace Talmo
{

namespace
{

const QString placeholder = QStringLiteral("$simProgram");

/// True if the shell, and the driver, take \a character of a word as nothing but itself.
bool isPlain(QChar character)
{
    const ushort code = character.unicode();
    const bool isLetter = (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z');
    return isLetter || (code >= '0' && code <= '9') ||
           QStringLiteral("._-+,:@/=%").contains(character);
}

bool isPlainWord(const QString &word)
{
    return !word.isEmpty() && std::all_of(word.begin(), word.end(), isPlain);
}

/// True if the shell takes \a word, where a command begins, for the name of one.
bool isPlainCommand(const QString &word)
{
    static const QStringList grammar = {QStringLiteral("if"), QStringLiteral("then"),
        QStringLiteral("else"), QStringLiteral("elif"), QStringLiteral("fi"), QStringLiteral("do"),
        QStringLiteral("done"), QStringLiteral("case"), QStringLiteral("esac"),
        QStringLiteral("while"), QStringLiteral("until"), QStringLiteral("for"),
        QStringLiteral("in"), QStringLiteral("function"), QStringLiteral("select"),
        QStringLiteral("time"), QStringLiteral("coproc")};
    // A '=' would make it an assignment.
    return isPlainWord(word) && !word.contains(QLatin1Char('=')) && !grammar.contains(word);
}

/// \a word for a shell, as one word of the same text.
QByteArray quoted(const QString &word)
{
    QByteArray text = QFile::encodeName(word);
    text.replace('\'', "'\\''");
    text.replace('\n', "\n''"); // or a line of the script could begin with '='
    return '\'' + text + '\'';
}

} // namespace

bool writeRunLine(const QStringList &command, const QString &program, const QString &shellName,
    RunLine &line, QString &problem)
{
    const auto place = program.isEmpty() ? -1 : command.indexOf(program);
    line = RunLine();
    line.isFor = place >= 0;
    QStringList words = command;
    if (line.isFor)
        words[place] = placeholder;
    bool isPlain = place == 0 || isPlainCommand(command[0]);
    for (auto index = command.size() - 1; index > 0; --index)
        isPlain = isPlain && (index == place || isPlainWord(command[index]));
    if (!isPlain) {
        QByteArrayList texts;
        for (const QString &word : command)
            texts += quoted(word);
        if (line.isFor)
            texts[place] = "\"$1\"";
        line.shellText = texts.join(' ') + '\n';
        words = QStringList{QStringLiteral("sh"), shellName};
        if (line.isFor)
            words += placeholder;
    }
    line.words = words.join(QLatin1Char(' '));
    line.capture = captureOf(QStringList(QStringLiteral("=run")) + words);
    if (!line.shellText.contains('\r'))
        return true;
    problem = QStringLiteral("no script can carry an argument with a carriage return");
    return false;
}

} // namespace Talmo
