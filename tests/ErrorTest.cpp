#include "talmo/Error.h"
#include "LibraryTest.h"

using Talmo::Error;

namespace
{

class ErrorReport : public LibraryTest
{
};

} // namespace

TEST_F(ErrorReport, MessagesArePrintedAtOnceOnALineOfTheirOwn)
{
    Error::defer = true; // nothing is deferred yet
    Error::message("one");
    Error::message("");
    Error::message(QString::fromUtf8("Größe %s %1"));
    Error::defer = false;
    EXPECT_EQ(printed(), QString::fromUtf8("Error: one\nError: \nError: Größe %s %1\n"));
}

TEST_F(ErrorReport, SyntaxErrorsShowTheLineAndItsNumberIfTheyAreKnown)
{
    const struct {
        const char *storedLine;
        int storedNumber;
        const char *line;
        int number;
        const char *expected;
    } rows[] = {
        // neither a line nor a number is known
        {"", 0, "", -1, "Error: Syntax Error m\n"},
        {"", -5, "", -1, "Error: Syntax Error m\n"},
        {"", 12, "", 0, "Error: Syntax Error m\n"}, // 0 suppresses the stored number
        // the stored line and number are used
        {"x", 12, "", -1, "Error: Syntax Error m, at line 12\n       line: x\n"},
        {"x", 12, "", -99, "Error: Syntax Error m, at line 12\n       line: x\n"},
        {"x", 0, "", -1, "Error: Syntax Error m\n       line: x\n"},
        {"x", -1, "", -1, "Error: Syntax Error m\n       line: x\n"},
        {"", 12, "", -1, "Error: Syntax Error m, at line 12\n"},
        {"", 1, "", -1, "Error: Syntax Error m, at line 1\n"},
        // arguments come first
        {"x", 12, "y", 7, "Error: Syntax Error m, at line 7\n       line: y\n"},
        {"x", 12, "y", 0, "Error: Syntax Error m\n       line: y\n"},
        {"x", 12, "y", -1, "Error: Syntax Error m, at line 12\n       line: y\n"},
        {"x", 12, "", 1, "Error: Syntax Error m, at line 1\n       line: x\n"},
        {"", 0, " ", 2147483647, "Error: Syntax Error m, at line 2147483647\n       line:  \n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expected);
        Error::line = row.storedLine;
        Error::lineNumber = row.storedNumber;
        Error::syntax("m", row.line, row.number);
        EXPECT_EQ(printed(), row.expected);
    }
}

TEST_F(ErrorReport, ANullLineIsAnEmptyOne)
{
    Error::line = "x";
    Error::syntax("m", QString(), 3);
    EXPECT_EQ(printed(), "Error: Syntax Error m, at line 3\n       line: x\n");
}

TEST_F(ErrorReport, WithoutANumberTheStoredOneIsUsed)
{
    Error::line = "x";
    Error::lineNumber = 12;
    Error::syntax("m", "y");
    EXPECT_EQ(printed(), "Error: Syntax Error m, at line 12\n       line: y\n");
}

TEST_F(ErrorReport, TheNumberZeroSuppressesTheStoredOne)
{
    Error::line = "x";
    Error::lineNumber = 12;
    Error::syntax("m", "", 0);
    EXPECT_EQ(printed(), "Error: Syntax Error m\n       line: x\n");
    Error::syntax("m", "y", 0);
    EXPECT_EQ(printed(), "Error: Syntax Error m\n       line: y\n");
}

TEST_F(ErrorReport, TheUsersOwnPercentSignsStay)
{
    Error::syntax("a %2 %1 %3", "b %1 %2 %L1", 5);
    EXPECT_EQ(printed(), "Error: Syntax Error a %2 %1 %3, at line 5\n       line: b %1 %2 %L1\n");
    Error::syntax("a %2", "b %1", 0);
    EXPECT_EQ(printed(), "Error: Syntax Error a %2\n       line: b %1\n");
    Error::syntax("a %2 %1", "", 5);
    EXPECT_EQ(printed(), "Error: Syntax Error a %2 %1, at line 5\n");
    Error::syntax("a %1 %s", "", 0);
    EXPECT_EQ(printed(), "Error: Syntax Error a %1 %s\n");
}

TEST_F(ErrorReport, EachReportIsCountedOnce)
{
    const qint64 before = Error::reported();
    EXPECT_EQ(Error::reported(), before); // asking is no report
    Error::message("one");
    EXPECT_EQ(Error::reported(), before + 1);
    Error::message("");
    Error::syntax("m", "x", 5); // one report of two lines
    Error::syntax("m");
    EXPECT_EQ(Error::reported(), before + 4);
    Error::defer = true; // nothing is deferred yet
    Error::message("two");
    Error::defer = false;
    EXPECT_EQ(Error::reported(), before + 5);
    Error::display();
    Error::displayDeferredMessages("heading");
    Talmo::Console::printf("Error: only looks like one\n");
    EXPECT_EQ(Error::reported(), before + 5);
    printed(); // forgets the text, not the count
    EXPECT_EQ(Error::reported(), before + 5);
}

TEST_F(ErrorReport, AHandlerGetsTheProblemsOfSyntaxInsteadOfTheConsole)
{
    QStringList problems;
    const qint64 before = Error::reported();
    Error::line = "x";
    Error::lineNumber = 12;
    Error::handler = [&problems](const QString &problem) { problems += problem; };
    Error::syntax("one %1", "y", 5);
    Error::syntax("two");
    Error::message("three"); // is no problem of an input line
    Error::handler = nullptr;
    EXPECT_EQ(problems, QStringList({"one %1", "two"}));
    EXPECT_EQ(Error::reported(), before + 3);
    Error::syntax("four");
    EXPECT_EQ(printed(), "Error: three\nError: Syntax Error four, at line 12\n       line: x\n");
}

TEST_F(ErrorReport, ShowingWhatWasCollectedDoesNothingYet)
{
    Error::deferredMessages = "later";
    Error::collectedMessages = "collected";
    Error::display();
    Error::displayDeferredMessages("heading");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(Error::deferredMessages, "later");
    EXPECT_EQ(Error::collectedMessages, "collected");
    Error::deferredMessages.clear();
    Error::collectedMessages.clear();
}
