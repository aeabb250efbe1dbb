#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

#include <functional>

namespace Talmo
{

/// The one place where the library reports problems to the user, through the console. Whoever reads
/// input line by line keeps `line` and `lineNumber` up to date, so that a report names its line.
///
/// Before main, every operation but message and reported crashes deliberately (see startupGuard).
class Error
{
public:
    /// Prints "Error: " and \a text as a line of its own. Usable before main.
    static void message(QString text);

    /// How many problems have been reported since the program started. After most of them the
    /// library carries on, so a caller that wants to stop compares the numbers before and after.
    /// Usable before main.
    static qint64 reported();

    /// Reports \a problem as a syntax error in \a inputLine, whose number is \a number. An empty
    /// line stands for Error::line, and a negative number for Error::lineNumber. If the line is
    /// still empty, it is left out, and so is a number below 1.
    static void syntax(QString problem, QString inputLine = QString(), int number = -1);

    /// Reserved: nothing is deferred or collected yet, so both do nothing.
    static void displayDeferredMessages(QString heading);
    static void display();

    /// Is given the problems that syntax reports, without a line or a number, instead of the
    /// console, where they are counted all the same. Null for the console.
    static std::function<void(const QString &problem)> handler;

    static QString line;   ///< the input line being processed
    static int lineNumber; ///< its number, from 1; 0 if it has none

    // Declared for deferring and collecting messages; nothing fills them yet.
    static quintptr current;          ///< error state
    static QString collectedMessages; ///< for display
    static bool defer;                ///< whether messages are to be deferred
    static QString deferredMessages;  ///< held back meanwhile
    static QList<bool> stack;         ///< saved values of defer
    static QList<bool> stack2;        ///< more saved values of defer
};

} // namespace Talmo
