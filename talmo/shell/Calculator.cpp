#include "Calculator.h"

#include "Definitions.h"
#include "LineEditor.h"
#include "UnitsGrammar.h"
#include "knownUnits.h"
#include "lineText.h"
#include "nearest.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <string>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

const QString prompt = QStringLiteral("> ");

const QString helpText = QStringLiteral(
    "EXPRESSION     its value: 2*3mm+5mm (no blanks; docs/expressions.md is the manual)\n"
    "NAME = TEXT    defines a macro, which expressions can name\n"
    ":units         the units that are known\n"
    ":units UNIT    those into which UNIT can be converted\n"
    ":help          this help\n"
    ":quit          ends, as Ctrl-D does\n"
    "Tab completes units, functions and macros; Ctrl-C drops a line.\n");

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

bool isWordPart(QChar character)
{
    const ushort unicode = character.unicode();
    return isDigit(character) || character == QLatin1Char('_') ||
           (unicode < 0x80 && character.isLetter());
}

/// Where in \a text, before \a end, the characters begin that are all of one \a kind.
template <typename Kind>
int beginOf(Kind kind, const QString &text, int end)
{
    while (end > 0 && kind(text[end - 1]))
        --end;
    return end;
}

/// The position behind the number in \a text that begins at \a position, with its exponent.
int endOfNumber(const QString &text, int position)
{
    const auto size = static_cast<int>(text.size());
    const auto isAt = [&](int index, auto kind) { return index < size && kind(text[index]); };
    const auto isExponent = [](QChar character) { return character.toLower() == QLatin1Char('e'); };
    while (
        isAt(position, isDigit) || isAt(position, [](QChar at) { return at == QLatin1Char('.'); }))
        ++position;
    if (!isAt(position, isExponent) || !isAt(position + 1, isDigit))
        return position;
    ++position;
    while (isAt(position, isDigit))
        ++position;
    return position;
}

/// Those of \a words that begin with \a beginning, sorted, each once.
Completion chosen(QStringList words, const QString &beginning)
{
    const auto isOther = [&](const QString &word) { return !word.startsWith(beginning); };
    words.erase(std::remove_if(words.begin(), words.end(), isOther), words.end());
    words.removeDuplicates();
    words.sort();
    return {static_cast<int>(beginning.size()), words};
}

/// What may be named in an expression.
QStringList names()
{
    QStringList words = Macro::hash.keys() + Macro::globalHash.keys();
    for (const QString &name : functionNames())
        words += name + QLatin1Char('(');
    return words;
}

/// How many columns of a terminal \a text takes.
int widthOf(const QString &text)
{
    const std::wstring wide = text.toStdWString();
    int width = 0;
    for (const wchar_t character : wide)
        width += std::max(wcwidth(character), 0);
    return width;
}

int columnsOfTerminal()
{
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// Prints \a text as it is.
void print(const QString &text, std::FILE *stream)
{
    std::string bytes;
    appendBytes(bytes, text);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
}

/// Prints what is wrong in \a line, which stands above, behind the prompt.
void printProblemBelow(const QString &line, const Calculator::Answer &answer)
{
    const int column = widthOf(prompt + line.left(answer.place));
    const bool isBelow = answer.place >= 0 && widthOf(prompt + line) < columnsOfTerminal();
    if (isBelow)
        print(QString(column, QLatin1Char(' ')) + QStringLiteral("^\n"), stderr);
    else if (answer.place >= 0)
        print(QStringLiteral("column %1: ").arg(columnAt(line, answer.place)), stderr);
    print(answer.problem + QLatin1Char('\n'), stderr);
}

Calculator::Answer wrong(const QString &problem, int place = -1)
{
    return {QString(), problem, place};
}

} // namespace

Calculator::Answer Calculator::answerUnits(const QString &unit)
{
    QString problem;
    if (unit.isEmpty())
        return {Units::inspect(), QString(), -1};
    if (!knownUnits().contains(unit)) {
        areUnits(unit, problem);
        return wrong(problem.isEmpty() ? QStringLiteral("'%1' is no unit").arg(unit) : problem);
    }
    return {
        Units::compatibleUnits(unit).join(QStringLiteral(", ")) + QLatin1Char('\n'), QString(), -1};
}

/// Performs the command \a text, ":NAME" or ":NAME WORD".
Calculator::Answer Calculator::answerCommand(const QString &text)
{
    const QStringList words = text.simplified().split(QLatin1Char(' '));
    const QString &name = words[0];
    const QString word = words.size() == 2 ? words[1] : QString();
    if (name == QLatin1String(":units") && words.size() <= 2)
        return answerUnits(word);
    if (name == QLatin1String(":help") && words.size() == 1)
        return {helpText, QString(), -1};
    if (name == QLatin1String(":quit") && words.size() == 1) {
        hasEnded = true;
        return {};
    }
    return wrong(QStringLiteral("'%1' is no command; ':help' lists them").arg(text));
}

Calculator::Answer Calculator::answer(const QString &line)
{
    const QString text = line.trimmed();
    if (text.isEmpty())
        return {};
    if (text.startsWith(QLatin1Char(':')))
        return answerCommand(text);
    if (defineByAssignment(text))
        return {};
    QString result;
    const Problem problem = evaluate(text, result);
    if (problem.message.isEmpty())
        return {result + QLatin1Char('\n'), QString(), -1};
    return wrong(problem.message, static_cast<int>(line.indexOf(text)) + problem.position);
}

void Calculator::run()
{
    LineEditor editor(prompt, completionOf);
    QString line;
    while (!hasEnded) {
        const LineEditor::Input input = editor.read(line);
        if (input == LineEditor::Input::End)
            return;
        if (input == LineEditor::Input::Dropped)
            continue;
        const Answer made = answer(line);
        print(made.output, stdout);
        std::fflush(stdout);
        if (!made.problem.isEmpty())
            printProblemBelow(line, made);
    }
}

Completion Calculator::completionOf(const QString &before)
{
    const auto end = static_cast<int>(before.size());
    const QString unitsCommand = QStringLiteral(":units ");
    if (before.startsWith(unitsCommand))
        return chosen(knownUnits(), before.mid(unitsCommand.size()));
    if (before.startsWith(QLatin1Char(':')))
        return chosen(
            {QStringLiteral(":help"), QStringLiteral(":quit"), QStringLiteral(":units")}, before);
    const auto isWordOrPoint = [](QChar at) { return isWordPart(at) || at == QLatin1Char('.'); };
    const int number = beginOf(isWordOrPoint, before, end);
    if (number < end && (isDigit(before[number]) || before[number] == QLatin1Char('.')))
        return chosen(knownUnits(), before.mid(endOfNumber(before, number)));
    return chosen(names(), before.mid(beginOf(isWordPart, before, end)));
}

} // namespace Talmo
