#include "DriverTest.h"

#include <QDir>
#include <QFile>

// Working directories that cannot be listed or named, or that have a strange name. If a script that
// exists were not seen, the driver would pass without running it.

namespace
{

class WorkingDirectory : public DriverTest
{
protected:
    /// Has a shell run \a lines in the working directory; "$driver" is the driver.
    Outcome shell(const QByteArray &lines)
    {
        environment["driver"] = driver;
        return runProcess("/bin/sh", {"-c", QString::fromUtf8(lines)}, environment, work);
    }

    /// Expects that the driver refused to run anything, and gave the \a reason.
    void expectRefusal(const Outcome &outcome, const QByteArray &reason)
    {
        const QByteArray line = "***talmo_test: " + reason + "\n";
        EXPECT_TRUE(outcome.output.endsWith('\n' + line)) << outcome.output.toStdString();
        EXPECT_FALSE(outcome.output.contains("tests to run from"));
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 2);
    }
};

} // namespace

TEST_F(WorkingDirectory, WhoseNameIsNoTextWorksLikeAnyOther)
{
    const QByteArray name = "J\xF6rg";
    QByteArray expected = preamble("test1 test2 test3") + "test1: one\n" + work.toUtf8() +
                          "/test2: ***ERROR: Invalid test file\n"
                          "test3: ***ERROR: Unknown test command '=end'\n" +
                          summary(2, 3);
    expected.replace(work.toUtf8(), work.toUtf8() + '/' + name);
    const Outcome outcome =
        shell("d=$(printf 'J\\366rg'); mkdir \"$d\"; cd \"$d\"\n"
              "printf '=one\\n=file a\\nx\\n=run cat a\\n=compare a cat.out\\n' >test1\n"
              "echo no heading >test2\n"
              "printf '=three\\n=file a\\nx\\n=end\\n' >test3\n"
              "\"$driver\" 'test*'; status=$?\n"
              "ls -d * >../left; exit $status");
    EXPECT_EQ(outcome.output, expected);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(read("left"), "test1\ntest2\ntest3\ntest3.dir\n");
}

TEST_F(WorkingDirectory, ADistributionWhoseNameIsNoTextIsFound)
{
    const Outcome outcome = shell("d=$(printf 'J\\366rg'); mkdir -p \"$d/bin\" \"$d/test\"\n"
                                  "cp \"$driver\" \"$d/bin/talmo_test\"\n"
                                  "echo =one >\"$d/test/test1\"\n"
                                  "\"$d/bin/talmo_test\"");
    EXPECT_TRUE(outcome.output.contains("/J\xF6rg/test':\ntest1\ntest1: one\n"))
        << outcome.output.toStdString();
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(WorkingDirectory, OneThatWasRemovedIsRefused)
{
    for (const char *const arguments : {"", "test1", "-d"}) {
        SCOPED_TRACE(arguments);
        const Outcome outcome =
            shell("mkdir gone; cd gone; rmdir ../gone\n\"$driver\" " + QByteArray(arguments));
        expectRefusal(outcome, "the working directory has no name: No such file or directory");
        EXPECT_EQ(entries(), QStringList());
    }
}

TEST_F(WorkingDirectory, OneWhosePathIsTooLongIsRefused)
{
    const Outcome outcome =
        shell("d=$(printf '%0200d' 0); n=0\n"
              "while [ $n -lt 25 ]; do mkdir $d; cd -P $d || exit 9; n=$((n + 1)); done\n"
              "echo =one >test1\n"
              "\"$driver\" test1");
    expectRefusal(outcome, "the working directory has no name: File name too long");
}

TEST_F(WorkingDirectory, OneThatMayNotBeListedOrSearchedIsRefused)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may list everything, and cannot be kept from it here";
    write("test1", "=one\n");
    for (const char *const mode : {"0311", "0444", "0000"}) {
        SCOPED_TRACE(mode);
        const Outcome outcome =
            shell("chmod " + QByteArray(mode) + " .; \"$driver\" test1; status=$?\n" +
                  "chmod 0700 .; exit $status");
        expectRefusal(
            outcome, "cannot list the scripts in '" + work.toUtf8() + "': Permission denied");
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }
}

TEST_F(WorkingDirectory, WithoutAFreeDescriptorNothingIsRun)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs descriptors of its own";
    write("test1", "=one\n");
    shell("\"$driver\" test1"); // saves the settings
    const QByteArray list =
        "***talmo_test: cannot list the scripts in '" + work.toUtf8() + "': Too many open files\n";
    int refusals = 0;
    // How many files are open from the start depends on the caller.
    for (int most = 3; most < 20; ++most) {
        SCOPED_TRACE(most);
        const Outcome outcome =
            shell("ulimit -n " + QByteArray::number(most) + "; exec \"$driver\" test1");
        const bool isPass = outcome.output.endsWith("\ntest1: one\n" + summary(0, 1));
        EXPECT_EQ(outcome.status == 0, isPass) << outcome.output.toStdString();
        if (outcome.output.endsWith(list) && outcome.status == 2)
            ++refusals;
    }
    EXPECT_GT(refusals, 0);
}

TEST_F(WorkingDirectory, WithoutMemoryForItsListNothingIsRun)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's memory cannot be limited";
    // We find the memory that is needed by halving. Just below it, a part of the list fits.
    for (int n = 0; n < 3000; ++n)
        write(QString("test-with-a-long-name-that-takes-memory-%1").arg(n), "");
    write("testlast", "=one\n");
    const auto listed = [this](int kilobytes) {
        const Outcome outcome = shell("ulimit -c 0; ulimit -v " + QByteArray::number(kilobytes) +
                                      "; exec \"$driver\" 'test-w*1' testlast");
        const auto begin = outcome.output.indexOf("tests to run from");
        const auto names = outcome.output.mid(begin).split('\n').value(1).split(' ').size();
        EXPECT_TRUE(begin < 0 || names == 301) << kilobytes << ": " << names;
        EXPECT_NE(outcome.status, 0); // the scripts have no heading
        return begin >= 0;
    };
    int enough = 1000000;
    int tooLittle = 1000;
    ASSERT_TRUE(listed(enough));
    ASSERT_FALSE(listed(tooLittle));
    while (enough - tooLittle > 64) {
        const int middle = (enough + tooLittle) / 2;
        (listed(middle) ? enough : tooLittle) = middle;
    }
    for (int less = 64; less < 2048; less += 64)
        listed(enough - less);
}

TEST_F(WorkingDirectory, ADistributionThatMayNotBeListedIsRefused)
{
    write("dist/test/test1", "=one\n");
    QDir(work).mkpath("dist/bin");
    ASSERT_TRUE(QFile::copy(driver, work + "/dist/bin/talmo_test"));
    driver = work + "/dist/bin/talmo_test";
    if (!obeyPermissions())
        GTEST_SKIP() << "root may list everything, and cannot be kept from it here";
    const Outcome outcome = shell("chmod 0311 dist/test; \"$driver\"; status=$?\n"
                                  "chmod 0700 dist/test; exit $status");
    expectRefusal(
        outcome, "cannot list the scripts in '" + work.toUtf8() + "/dist/test': Permission denied");
}
