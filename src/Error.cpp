#include "talmo/Error.h"

#include "talmo/Console.h"
#include "talmo/StartupGuard.h"

namespace Talmo
{

std::function<void(const QString &problem)> Error::handler;
QString Error::line;
int Error::lineNumber = 0;
quintptr Error::current = 0;
QString Error::collectedMessages;
bool Error::defer = false;
QString Error::deferredMessages;
QList<bool> Error::stack;
QList<bool> Error::stack2;

namespace
{

qint64 reports = 0;

} // namespace

void Error::message(QString text)
{
    ++reports;
    Console::printf("Error: %s\n", qPrintable(text));
}

qint64 Error::reported()
{
    return reports;
}

void Error::syntax(QString problem, QString inputLine, int number)
{
    startupGuard();
    if (handler) {
        ++reports;
        return handler(problem);
    }
    if (inputLine.isEmpty())
        inputLine = line;
    if (number < 0)
        number = lineNumber;
    const bool hasNumber = number >= 1; // Deliberate: 0 suppresses the stored number
    // All arguments are inserted at once, because the user's own text may hold a "%1".
    if (inputLine.isEmpty() && !hasNumber)
        message(QStringLiteral("Syntax Error %1").arg(problem));
    else if (inputLine.isEmpty())
        message(
            QStringLiteral("Syntax Error %1, at line %2").arg(problem, QString::number(number)));
    else if (!hasNumber)
        message(QStringLiteral("Syntax Error %1\n       line: %2").arg(problem, inputLine));
    else
        message(QStringLiteral("Syntax Error %1, at line %2\n       line: %3")
                    .arg(problem, QString::number(number), inputLine));
}

void Error::displayDeferredMessages(QString)
{
    startupGuard();
}

void Error::display()
{
    startupGuard();
}

} // namespace Talmo
