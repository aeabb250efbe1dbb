#include "DriverTest.h"

// Patterns that would take all memory, time or stack, and scripts that run out of memory. The next
// script must run nevertheless.

namespace
{

QByteArray nested(const QByteArray &open, const QByteArray &close, int depth)
{
    return open.repeated(depth) + "false" + close.repeated(depth);
}

} // namespace

class Patterns : public DriverTest
{
protected:
    /// Limits the stack of the driver, and of what it starts, to \a kilobytes.
    void limitStack(int kilobytes)
    {
        addProgram("shallow", "ulimit -s " + QByteArray::number(kilobytes) + "\nexec " +
                                  driver.toUtf8() + " \"$@\"\n");
        driver = programs + "/shallow";
    }

    /// Expects that "test1", whose lines after its heading are \a lines, prints \a printed, and
    /// that "test2" passes after it in the same driver.
    void expectNextPasses(const QByteArray &lines, const QByteArray &printed)
    {
        write("test1", "=heading\n" + lines);
        write("test2", "=next\n=ignore ^running '(.*)' failed$\n=run false\n");
        expectRun({"test1", "test2"}, "test1 test2", printed + "test2: next\n",
            printed == passed ? 0 : 1, 2);
    }

    const QByteArray falseFailed = "test1: ***ERROR: running 'false' failed\n";
    const QByteArray outOfMemory = "test1: ***ERROR: Out of memory\n";
};

TEST_F(Patterns, ThatCostTooMuchMatchNothing)
{
    if (!isSanitized)
        limitMemory();
    const QByteArray rows[] = {
        nested("(?=", ")", 30),
        nested("(?=.*", ")", 30),
        nested("(?!", ")", 30),
        "([a-z]{0,1000}){0,1000}b|false",
        "((((a{1000}){1000}){1000}){1000}|false",
        "false|(((){1000}){1000}){1000}",
        QByteArray(".*").repeated(1000) + "false",
        QByteArray("(.*)").repeated(200) + "false",
        "false|" + QByteArray("(^|$|\\b|\\B)").repeated(30),
        "(.*)(?:" + QByteArray("\\1|").repeated(500) + ".)*",
        QByteArray(1000000, 'x') + "|false",
        QByteArray("(").repeated(1000000) + "false",
        nested("(", ")", 999),
    };
    for (const QByteArray &row : rows) {
        SCOPED_TRACE(row.left(70).toStdString());
        expectNextPasses("=ignore " + row + "\n=run false\n", falseFailed);
        expectNextPasses(
            "=ignore " + row + "\n=file f\n", "test1: ***ERROR: Command should have failed\n");
    }
}

TEST_F(Patterns, BelowTheBoundMatch)
{
    if (!isSanitized)
        limitMemory();
    const QByteArray rows[] = {
        nested("(?=.*", ")", 1),
        nested("(", ")", 50),
        QByteArray(".*").repeated(100) + "false",
        QByteArray("(.*)").repeated(20) + "false",
        "^(\\w{1,100}|.{0,100})+ .*$",
        QByteArray("word|").repeated(500) + "false",
        QByteArray(20000, 'x') + "|false.",
    };
    for (const QByteArray &row : rows) {
        SCOPED_TRACE(row.left(70).toStdString());
        expectNextPasses("=ignore " + row + "\n=run false\n", passed);
    }
}

TEST_F(Patterns, DoNotNeedMuchStack)
{
    limitStack(512);
    expectNextPasses("=ignore " + nested("(", ")", 50) + "\n=run false\n", passed);
    expectNextPasses("=ignore " + nested("(?:a*(?:b|", "){0,1})", 25) + "\n=run false\n", passed);
    expectNextPasses("=ignore " + nested("(", ")", 999) + "\n=run false\n", falseFailed);
    expectNextPasses("=ignore " + nested("(?:", ")*", 999) + "\n=run false\n", falseFailed);
    expectNextPasses("=ignore " + nested("((?=", "))", 999) + "\n=run false\n", falseFailed);
}

TEST_F(Patterns, OfProgramsMayHaveManyStars)
{
    if (!isSanitized)
        limitMemory();
    configure({"sim1"});
    const QByteArray none = work.toUtf8() + "/test1: No applicable SimPrograms\n";
    const QByteArray refused = work.toUtf8() + "/test1: ***ERROR: Invalid =simprogram pattern\n";
    const auto expectPrinted = [&](const QByteArray &pattern, const QByteArray &printed) {
        SCOPED_TRACE(pattern.left(70).toStdString());
        write("test1", "=heading\n=simprogram " + pattern + "\n");
        expectRun({"test1"}, "test1", printed, printed == refused ? 1 : 0, 1);
    };
    expectPrinted(QByteArray(138, '*') + "1", "test1(sim1): heading\n");
    expectPrinted(QByteArray(138, '*') + "2", none);
    expectPrinted(QByteArray(139, '*') + "1", refused); // otherwise it would pass without running
    expectPrinted(QByteArray(20000, '*') + "1", refused);
    expectPrinted("sim? " + QByteArray(20000, '*') + "1", refused);
}

TEST_F(Patterns, AreNotKept)
{
    if (!isSanitized)
        limitMemory();
    // Each pattern takes megabytes, and a hundred of them take more memory than there is.
    const QByteArray sets = QByteArray("[abc]").repeated(9000);
    QByteArray lines;
    for (int n = 0; n < 100; ++n)
        lines += "=ignore " + sets + QByteArray::number(n) + "|false\n=run false\n";
    expectNextPasses(lines, passed);
}

TEST_F(Patterns, AndTheNextTestSurviveLackOfMemory)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's memory cannot be limited";
    limitMemory();
    const QByteArray pending = "=ignore ^running '(.*)' failed$\n";
    const QByteArray huge(40000000, 'x');
    expectNextPasses('\n' + pending + "=run " + huge + '\n', outOfMemory);
    expectNextPasses('\n' + pending + "=run false\n" + pending + '=' + huge + '\n', outOfMemory);
    expectNextPasses("\n=ignore (" + huge + ")*\n=run false\n", outOfMemory);
    expectNextPasses("\n=ignore " + QByteArray(40000000, '(') + "\n=run false\n", outOfMemory);
    expectNextPasses("=simprogram " + QByteArray(40000000, '*') + '\n',
        work.toUtf8() + "/test1: ***ERROR: Out of memory\n");
}
