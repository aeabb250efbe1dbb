// The companion of the driver: talmo COMMAND. What it prints on standard output is a result; what
// it has to say beside that goes to standard error.

#include "CommandLine.h"
#include "commandTable.h"
#include "interruption.h"
#include "standardStreams.h"
#include "talmo/StartupGuard.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <new>

using namespace Talmo;

namespace
{

/// \a argument as text. A byte order mark at its front is a character of it, which Qt would drop.
QString textOf(const char *argument)
{
    return QFile::decodeName(QByteArray("x") + argument).mid(1);
}

/// The arguments behind the program's name. False if one is no valid text: what it names would not
/// be found.
bool readArguments(int argc, char *argv[], QStringList &arguments)
{
    for (int index = 1; index < argc; ++index) {
        const QString argument = textOf(argv[index]);
        if (QFile::encodeName(argument) != argv[index]) {
            std::fprintf(stderr, "talmo: argument %d is no valid text\n", index);
            return false;
        }
        arguments += argument;
    }
    return true;
}

int performInMemory(const QStringList &arguments)
{
    try {
        return performCommand(arguments);
    } catch (const std::bad_alloc &) {
        std::fputs("talmo: out of memory\n", stderr);
        return AtFault;
    }
}

} // namespace

int main(int argc, char *argv[])
{
    enterMain();
    occupyStandardStreams();
    waitForReaders();
    dropWarningsOfQt();
    QStringList arguments;
    if (!readArguments(argc, argv, arguments))
        return WrongCall;
    // The application is given no arguments, because it would take Qt's own options out of them.
    int count = 1;
    char name[] = "talmo";
    char *names[] = {name, nullptr};
    const QCoreApplication application(count, names);
    const int status = performInMemory(arguments);
    const bool isWritten = reportIsWritten("talmo", "standard output");
    endIfInterrupted();
    return isWritten || status != AllIsWell ? status : AtFault;
}
