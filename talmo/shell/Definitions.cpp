#include "Definitions.h"

#include "CommandLine.h"
#include "Filter.h"
#include "InputLines.h"
#include "commandTable.h"
#include "lineText.h"
#include "strict.h"
#include "talmo/Macro.h"
#include "talmo/RegExp.h"

#include <QRegExp>

namespace Talmo
{

namespace
{

const QString defineOption = QStringLiteral("D");
const QString fileOption = QStringLiteral("definitions");
const QString keyword = QStringLiteral("define");

bool isBlank(QChar character)
{
    return character == QLatin1Char(' ') ||
           (character >= QLatin1Char('\t') && character <= QLatin1Char('\r'));
}

/// The first word of \a text from \a position on, which moves behind it and the blanks that follow.
QString takeWord(const QString &text, int &position)
{
    const auto isBlankAt = [&text](int index) { return isBlank(text[index]); };
    const int begin = position;
    while (position < text.size() && !isBlankAt(position))
        ++position;
    const int end = position;
    while (position < text.size() && isBlankAt(position))
        ++position;
    return text.mid(begin, end - begin);
}

int firstWord(const QString &text)
{
    int position = 0;
    while (position < text.size() && isBlank(text[position]))
        ++position;
    return position;
}

bool isName(const QString &name)
{
    return RE.match(QStringLiteral("^[A-Za-z0-9_]+$"), name);
}

/// Whether \a text, of a line, says nothing: it is blank or a comment.
bool isSilent(const QString &text)
{
    const int begin = firstWord(text);
    return begin == text.size() || text[begin] == QLatin1Char('#');
}

/// Defines what the file \a name says, without the macros \a kept. Returns the exit status; what is
/// wrong was said.
int defineByFile(const QString &name, const CommandLine &line, const QSet<QString> &kept)
{
    const QString problem = problemOfInputs({name});
    if (!problem.isNull())
        return line.refuse(problem);
    InputLines lines;
    if (!lines.open(name))
        return line.refuse(lines.failure());
    InputLine input;
    bool isWrong = false;
    while (lines.next(input)) {
        FilterLine one(name, lines.number(), input.text);
        const QString text = textOf(input.text);
        if (isDefinition(text))
            performDefinition(one, text, kept);
        else if (!isSilent(text))
            one.report(firstWord(text) + 1, QStringLiteral("no definition, 'define NAME TEXT'"));
        isWrong = isWrong || one.isWrong();
    }
    if (!lines.failure().isNull())
        return line.refuse(lines.failure());
    return isWrong ? AtFault : AllIsWell;
}

} // namespace

void addDefinitionOptions(CommandLine &line)
{
    line.addOptions({
        {defineOption, QStringLiteral("Defines the macro NAME as TEXT."),
            QStringLiteral("NAME=TEXT")},
        {fileOption, QStringLiteral("Defines macros by the lines 'define NAME TEXT' of FILE."),
            QStringLiteral("FILE")},
    });
}

int define(const CommandLine &line)
{
    QSet<QString> kept;
    for (const QString &text : line.values(defineOption)) {
        QString problem;
        if (!defineByText(text, problem))
            return line.refuse(problem);
        kept.insert(text.left(text.indexOf(QLatin1Char('='))));
    }
    int status = AllIsWell;
    for (const QString &name : line.values(fileOption)) {
        if (status == AllIsWell)
            status = defineByFile(name, line, kept);
    }
    return status;
}

bool defineByText(const QString &text, QString &problem)
{
    const auto sign = text.indexOf(QLatin1Char('='));
    const QString name = text.left(sign);
    if (sign < 0 || !isName(name)) {
        problem = sign < 0 ? QStringLiteral("'%1' is no definition, 'NAME=TEXT'").arg(text)
                           : QStringLiteral("'%1' is no name of a macro, which has letters, digits "
                                            "and '_'")
                                 .arg(name);
        return false;
    }
    Macro::hash[name] = text.mid(sign + 1);
    return true;
}

bool defineByAssignment(const QString &text)
{
    if (!RE.match(QStringLiteral("^[ \t]*([A-Za-z_][A-Za-z0-9_]*)[ \t]*=(?!=)[ \t]*"), text))
        return false;
    const QString name = RegExp::prev->cap(1);
    const QString value = text.mid(RegExp::prev->matchedLength());
    Macro::hash[name] = value;
    return true;
}

QString problemOfStandardInput(const CommandLine &line, bool isRead, const QString &contents)
{
    const bool isBoth = isRead && line.values(fileOption).contains(QStringLiteral("-"));
    return isBoth ? QStringLiteral("standard input cannot be both definitions and %1").arg(contents)
                  : QString();
}

bool isDefinition(const QString &text)
{
    int position = firstWord(text);
    return takeWord(text, position) == keyword;
}

void performDefinition(FilterLine &line, const QString &text, const QSet<QString> &kept)
{
    QString expanded;
    Strict strict;
    const Problem problem = strict.expand(text, expanded);
    if (!problem.message.isEmpty())
        return line.report(columnAt(text, problem.position), problem.message);
    int position = firstWord(expanded);
    takeWord(expanded, position);
    const int begin = position;
    const QString name = takeWord(expanded, position);
    if (!isName(name))
        return line.report(columnAt(expanded, begin),
            name.isEmpty() ? QStringLiteral("no definition, 'define NAME TEXT'")
                           : QStringLiteral("'%1' is no name of a macro").arg(name));
    QString value = expanded.mid(position);
    while (!value.isEmpty() && isBlank(value.back()))
        value.chop(1);
    if (!kept.contains(name))
        Macro::hash[name] = value;
}

} // namespace Talmo
