#include "DriverTest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>

#include <unistd.h>

namespace
{

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(content), content.size());
}

} // namespace

DriverTest::DriverTest()
    : work(QFileInfo(folder.path()).canonicalFilePath() + QStringLiteral("/work"))
    , programs(folder.filePath(QStringLiteral("programs")))
    , settings(folder.filePath(QStringLiteral("config/Brelund, Inc./Talmo.conf")))
    , driver(QStringLiteral(TALMO_TEST))
{
    QDir().mkpath(work);
    QDir().mkpath(programs);
    environment = {
        {QStringLiteral("HOME"), folder.path()},
        {QStringLiteral("XDG_CONFIG_HOME"), folder.filePath(QStringLiteral("config"))},
        {QStringLiteral("XDG_CONFIG_DIRS"), folder.filePath(QStringLiteral("none"))},
        {QStringLiteral("PATH"), programs + QStringLiteral(":/usr/bin:/bin")},
        {QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8")},
    };
}

void DriverTest::write(const QString &path, const QByteArray &content)
{
    writeFile(QDir(work).filePath(path), content);
}

QByteArray DriverTest::read(const QString &path) const
{
    QFile file(QDir(work).filePath(path));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

bool DriverTest::exists(const QString &path) const
{
    const QFileInfo info(QDir(work).filePath(path));
    return info.exists() || info.isSymLink();
}

QStringList DriverTest::entries() const
{
    QStringList names;
    QDirIterator entry(work, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
        QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        const QString path = entry.next();
        const bool isDirectory = entry.fileInfo().isDir() && !entry.fileInfo().isSymLink();
        names += QDir(work).relativeFilePath(path) + QLatin1String(isDirectory ? "/" : "");
    }
    names.sort();
    return names;
}

void DriverTest::addProgram(const QString &name, const QByteArray &body)
{
    const QString path = QDir(programs).filePath(name);
    writeFile(path, "#!/bin/sh\n" + body);
    ASSERT_TRUE(
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

void DriverTest::configure(const QStringList &simPrograms)
{
    QByteArray content = "[General]\n";
    configured.clear();
    for (int n = 0; n < simPrograms.size(); ++n) {
        content +=
            "SimProgram" + QByteArray::number(n + 1) + ".name=" + simPrograms[n].toUtf8() + "\n";
        if (!simPrograms[n].isEmpty())
            configured += simPrograms[n];
    }
    writeFile(settings, content);
}

Outcome DriverTest::run(const QStringList &arguments)
{
    return runProcess(driver, arguments, environment, work);
}

QByteArray DriverTest::preamble(const QByteArray &names) const
{
    return "Preferences loaded from '" + settings.toUtf8() + "'\n" +
           "talmo_test: executing tests in '" + work.toUtf8() + "'\n" +
           "Configured SimPrograms: " + configured.join(QLatin1Char(' ')).toUtf8() + "\n" +
           "talmo_test: tests to run from '" + work.toUtf8() + "':\n" + names + "\n";
}

QByteArray DriverTest::summary(int failed, int total) const
{
    if (failed == 0)
        return "All tests passed (" + QByteArray::number(total) + " total)\n";
    return "***talmo_test: " + QByteArray::number(failed) + " tests failed out of " +
           QByteArray::number(total) + " tests\n   The current directory is \"" + work.toUtf8() +
           "\".\n   For each failing test a directory has been created containing the output(s).\n";
}

void DriverTest::expectRun(const QStringList &arguments, const QByteArray &names,
    const QByteArray &printed, int failed, int total)
{
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.output, preamble(names) + printed + summary(failed, total));
    EXPECT_EQ(outcome.errors, QByteArray());
    EXPECT_EQ(outcome.status, failed == 0 ? 0 : 2);
}

bool DriverTest::obeyPermissions()
{
    if (geteuid() != 0)
        return true;
    // Without these two capabilities, permissions hold for root as for any user.
    const QByteArray drop = "setpriv --bounding-set=-dac_override,-dac_read_search ";
    addProgram(QStringLiteral("obedient"), "exec " + drop + driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath(QStringLiteral("obedient"));
    return std::system((drop + "true").constData()) == 0;
}

bool DriverTest::mountPrivately(const QByteArray &before, const QByteArray &after)
{
    const QByteArray unshare =
        geteuid() == 0 ? "unshare --mount " : "unshare --mount --map-root-user ";
    const QByteArray folderPath = QFileInfo(work).path().toUtf8();
    const QByteArray body = "folder='" + folderPath + "'\nwork=$folder/work\nset -eu\n" + before +
                            "\ncd \"$work\"\nstatus=0\n" + driver.toUtf8() +
                            " \"$@\" || status=$?\ncd /\n" + after + "\nexit $status\n";
    addProgram(QStringLiteral("amongMounts"), body);
    addProgram(QStringLiteral("private"),
        "exec " + unshare + QDir(programs).filePath(QStringLiteral("amongMounts")).toUtf8() +
            " \"$@\"\n");
    driver = QDir(programs).filePath(QStringLiteral("private"));
    const QByteArray attempt = unshare + "mount -t tmpfs none '" + folderPath + "' 2>/dev/null";
    return std::system(attempt.constData()) == 0;
}

void DriverTest::preload(const QString &module)
{
    environment[QStringLiteral("LD_PRELOAD")] = module;
    // The sanitizer would complain that its own library does not come first.
    environment[QStringLiteral("ASAN_OPTIONS")] = QStringLiteral("verify_asan_link_order=0");
}

void DriverTest::limitMemory()
{
    addProgram(QStringLiteral("frugal"), "ulimit -v 150000\nexec " + driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath(QStringLiteral("frugal"));
}

QByteArray DriverTest::runScript(const QByteArray &script)
{
    write(QStringLiteral("test1"), script);
    const Outcome outcome = run({QStringLiteral("test1")});
    EXPECT_EQ(outcome.errors, QByteArray());
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 2) << outcome.status;
    const QByteArray before = preamble("test1");
    const QByteArray after = summary(outcome.status == 0 ? 0 : 1, 1);
    EXPECT_TRUE(outcome.output.startsWith(before)) << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(after)) << outcome.output.toStdString();
    return outcome.output.mid(before.size(), outcome.output.size() - before.size() - after.size());
}

QByteArray DriverTest::errorOf(const QByteArray &lines)
{
    const QByteArray printed = runScript("=heading\n" + lines);
    const QByteArray failure = "test1: ***ERROR: ";
    if (printed == "test1: heading\n")
        return {};
    const bool hasForm = printed.startsWith(failure) && printed.endsWith('\n');
    EXPECT_TRUE(hasForm) << printed.toStdString();
    return hasForm ? printed.mid(failure.size()).chopped(1) : "no failure: " + printed;
}
