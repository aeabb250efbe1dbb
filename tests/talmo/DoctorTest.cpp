// talmo doctor

#include "Descriptor.h"
#include "RunFixture.h"
#include "answerWithin.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSysInfo>
#include <QThread>

#include <csignal>
#include <cstring>
#include <functional>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

class DoctorTest : public RunFixture
{
protected:
    /// Runs "talmo doctor" with \a arguments, and expects nothing on standard error, and an exit
    /// status that goes with what it prints. The room on disks, which no test can foresee, is N.
    QByteArray doctor(const QStringList &arguments = {})
    {
        const Outcome outcome = run(QStringList("doctor") + arguments);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, outcome.output.contains("\nproblem ") ? 1 : 0);
        QString text = QString::fromUtf8(outcome.output);
        text.replace(QRegularExpression(": [0-9.e+-]+ (MB|GB) are free"), ": N are free");
        return text.toUtf8();
    }

    /// Those lines of "talmo doctor" that are about \a subject.
    QByteArray linesAbout(const QByteArray &subject)
    {
        QByteArray lines;
        for (const QByteArray &line : doctor().split('\n')) {
            if (line.mid(9).startsWith(subject))
                lines += line + '\n';
        }
        return lines;
    }

    /// What is printed about the system, whatever that is.
    QByteArray aboutSystem()
    {
        const QString talmo = QFileInfo(driver).canonicalFilePath();
        const QByteArray version = run({"--version"}).output.trimmed().mid(6);
        const QByteArray kernel = (QSysInfo::kernelType() + ' ' + QSysInfo::kernelVersion() + ", " +
                                   QSysInfo::currentCpuArchitecture())
                                      .toUtf8();
        return "ok       Talmo: " + version + ", '" + talmo.toUtf8() +
               "'\n"
               "ok       Qt: " +
               qVersion() +
               "\n"
               "ok       system: " +
               QSysInfo::prettyProductName().toUtf8() + ", " + kernel + '\n';
    }

    QByteArray ofSettings(const QByteArray &after) const
    {
        return "settings: '" + settings.toUtf8() + "' " + after + '\n';
    }

    /// Makes the folder of the settings, and nothing in it.
    void makePlaceOfSettings() const { QDir().mkpath(QFileInfo(settings).path()); }

    /// True if the process \a number has ended, or does so within ten seconds. Whether somebody
    /// has asked for its exit status does not count.
    static bool endsSoon(const QByteArray &number)
    {
        EXPECT_GT(number.toInt(), 1);
        QElapsedTimer timer;
        timer.start();
        do {
            QFile status("/proc/" + QString::fromLatin1(number) + "/stat");
            if (!status.open(QIODevice::ReadOnly) || status.readAll().contains(") Z "))
                return true;
            QThread::msleep(20);
        } while (timer.elapsed() < 10000);
        return false;
    }

    const QByteArray known = "ok       locks: the file system knows them\n";
    const QByteArray well = "can be read and written";
};

} // namespace

TEST_F(DoctorTest, TellsAllThereIsToKnow)
{
    addProgram("sim1", "");
    configure({"sim1"});
    write("test1", "=heading\n=simprogram *\n=run $simProgram\n");
    EXPECT_EQ(make().status, 0);
    const QByteArray scripts = QByteArray::number(
        QDir(QStringLiteral(DISTRIBUTION)).entryList({"test*"}, QDir::Files).size());
    EXPECT_EQ(doctor(), aboutSystem() + "ok       locale: C.UTF-8, with the encoding UTF-8\n" +
                            "ok       " + ofSettings(well) + "ok       program sim1: " +
                            programs.toUtf8() + "/sim1\n" + "ok       distribution: '" +
                            QFileInfo(QStringLiteral(DISTRIBUTION)).canonicalFilePath().toUtf8() +
                            "', " + scripts + " scripts\n" + "ok       suite: '" + work.toUtf8() +
                            "', 1 script\n"
                            "ok       suite's disk: N are free\n"
                            "ok       locks: the file system knows them\n"
                            "ok       results: those of 1 run are kept in '.talmo'\n"
                            "ok       temporary files: N are free\n");
}

TEST_F(DoctorTest, ChangesNothing)
{
    const QByteArray missing =
        "ok       " + ofSettings("does not exist yet, so all preferences have their "
                                 "defaults");
    const QStringList before = everything();
    EXPECT_EQ(linesAbout("settings"), missing);
    EXPECT_EQ(linesAbout("programs"),
        "note     programs: no simulation program is configured; 'talmo prefs programs add NAME' "
        "configures one\n");
    EXPECT_EQ(everything(), before);

    configure({"sim1"});
    write("test1", "=heading\n=exists none\n");
    EXPECT_EQ(make().status, 1);
    const QStringList all = everything();
    const QByteArray text = read(settings);
    const QByteArray latest = read(".talmo/latest.xml");
    struct stat status = {};
    ASSERT_EQ(stat(qPrintable(work), &status), 0);
    doctor();
    run({"doctor", "--json"});
    struct stat after = {};
    ASSERT_EQ(stat(qPrintable(work), &after), 0);
    EXPECT_EQ(everything(), all);
    EXPECT_EQ(read(settings), text);
    EXPECT_EQ(read(".talmo/latest.xml"), latest);
    EXPECT_EQ(after.st_mtim.tv_sec, status.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, status.st_mtim.tv_nsec);
}

TEST_F(DoctorTest, TellsTheSameAsJson)
{
    configure({"none"});
    const Outcome outcome = run({"doctor", "--json"});
    EXPECT_EQ(outcome.status, 1);
    const QJsonObject whole = QJsonDocument::fromJson(outcome.output).object();
    EXPECT_EQ(whole["format"], 1);
    QString lines;
    for (const QJsonValue value : whole["observations"].toArray()) {
        const QString advice = value["advice"].toString();
        lines += value["verdict"].toString().leftJustified(8) + ' ' + value["subject"].toString() +
                 ": " + value["text"].toString() + (advice.isEmpty() ? "" : "; " + advice) + '\n';
    }
    lines.replace(QRegularExpression(": [0-9.e+-]+ (MB|GB) are free"), ": N are free");
    EXPECT_EQ(lines.toUtf8(), doctor());
}

TEST_F(DoctorTest, WorksInAnotherDirectory)
{
    write("suite/test1", "=heading\n");
    write("suite/test2", "=heading\n");
    EXPECT_TRUE(doctor({"-C", "suite"})
                    .contains("\nok       suite: '" + work.toUtf8() + "/suite', 2 scripts\n"));
    expectWrongCall({"doctor", "-C", "none"},
        "talmo: doctor: cannot go to the directory 'none': No such file or directory\n");
    expectWrongCall({"doctor", "suite"}, "talmo: doctor: it takes no arguments\n");
    expectWrongCall({"doctor", "--fix"}, "talmo: doctor: unknown option 'fix'\n");
}

TEST_F(DoctorTest, SaysWhatIsWrongInTheSettings)
{
    const QByteArray good = "ok       " + ofSettings(well);
    const struct {
        QByteArray text;
        QByteArray lines;
    } rows[] = {
        {"[General]\nmine=1\nIconSize=\n", good},
        {"[General]\nRoot=@\n", good + "problem  settings: 'Root' is '@', at which programs end; "
                                       "talmo prefs unset Root\n"},
        {"[General]\nSimProgam1.name=sim\n",
            good + "note     settings: 'SimProgam1.name' is no preference; did you mean "
                   "SimProgram1.name?\n"},
        {QByteArray(1000, '\xFF') + "\n[", good},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        write(settings, row.text);
        EXPECT_EQ(linesAbout("settings"), row.lines);
    }
}

TEST_F(DoctorTest, SaysWhatIsInThePlaceOfTheSettings)
{
    const QByteArray advice = "; remove it if that is not meant\n";
    makePlaceOfSettings();
    ASSERT_EQ(mkfifo(qPrintable(settings), 0600), 0);
    EXPECT_EQ(linesAbout("settings") + linesAbout("program"),
        "problem  settings: cannot read the settings '" + settings.toUtf8() +
            "': it is a pipe; mend the file, or move it away\n");
    QFile::remove(settings);
    QDir().mkpath(settings);
    EXPECT_EQ(linesAbout("settings"),
        "note     " + ofSettings("is no file, so it counts as empty").trimmed() + advice);
    QDir().rmdir(settings);
    write(settings, "");
    QDir().mkpath(settings + ".lock");
    EXPECT_EQ(linesAbout("settings"),
        "problem  " +
            ofSettings("cannot be saved: '" + settings.toUtf8() + ".lock' is in the way")
                .trimmed() +
            "; remove that\n");
}

TEST_F(DoctorTest, SaysWhatIsInTheWayOfTheFirstSettings)
{
    makePlaceOfSettings();
    const QByteArray missing =
        "ok       " + ofSettings("does not exist yet, so all preferences have their defaults");
    const QByteArray obstacle =
        "problem  " +
        ofSettings("cannot be saved: '" + settings.toUtf8() + ".lock' is in the way").trimmed() +
        "; remove that\n";
    QDir().mkpath(settings + ".lock");
    EXPECT_EQ(linesAbout("settings"), missing + obstacle);
    QDir().rmdir(settings + ".lock");

    write(settings + ".lock", ""); // as if its owner had been killed; Qt removes it
    const timespec old[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, qPrintable(settings + ".lock"), old, 0), 0);
    EXPECT_EQ(linesAbout("settings"), missing);
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write anywhere, and cannot be kept from it here";
    ASSERT_EQ(chmod(qPrintable(settings + ".lock"), 0400), 0);
    EXPECT_EQ(linesAbout("settings"), missing + obstacle);
    EXPECT_EQ(run({"prefs", "set", "Root", "x"}).errors,
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': '" + settings.toUtf8() +
            ".lock' is in the way\n");
    ASSERT_EQ(chmod(qPrintable(settings + ".lock"), 0600), 0);
    EXPECT_EQ(run({"prefs", "set", "Root", "x"}).status, 0);
}

TEST_F(DoctorTest, SaysWhereALinkToTheSettingsLeads)
{
    makePlaceOfSettings();
    const QString target = folder.filePath("mine/dotfile");
    ASSERT_TRUE(QFile::link(target, settings));
    const QByteArray text = ofSettings("is a link to '" + target.toUtf8() +
                                       "', which does not exist, so all preferences have their "
                                       "defaults")
                                .trimmed();
    EXPECT_EQ(linesAbout("settings"),
        "note     " + text +
            ", and they cannot be saved; make the folder that it leads to, or remove the link\n");
    QDir().mkpath(QFileInfo(target).path());
    EXPECT_EQ(linesAbout("settings"), "ok       " + text + '\n');
    EXPECT_EQ(run({"prefs", "set", "Root", "x"}).status, 0);
    EXPECT_EQ(read(target), "[General]\nRoot=x\n");
    EXPECT_EQ(linesAbout("settings"), "ok       " + ofSettings(well));
}

TEST_F(DoctorTest, SaysWhatIsTakenFromTheSystemsSettings)
{
    const QString others = folder.filePath("system/Brelund, Inc./Talmo.conf");
    environment["XDG_CONFIG_DIRS"] = folder.filePath("system");
    write(others, "[General]\nSimProgram1.name=none\n");
    write(settings, "");
    EXPECT_EQ(linesAbout("settings"), "ok       " + ofSettings(well) +
                                          "note     settings: what is missing is taken from '" +
                                          others.toUtf8() + "'\n");
    EXPECT_EQ(linesAbout("program"), "problem  program none: not found in the PATH; mend that, or "
                                     "'talmo prefs programs remove none'\n");
}

TEST_F(DoctorTest, SaysWhatMayNotBeReadOrWritten)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may do anything, and cannot be kept from it here";
    const QString place = QFileInfo(settings).path();
    const QByteArray path = settings.toUtf8();
    makePlaceOfSettings();
    ASSERT_EQ(chmod(qPrintable(place), 0500), 0);
    EXPECT_EQ(linesAbout("settings"),
        "ok       " + ofSettings("does not exist yet, so all preferences have their defaults") +
            "note     settings: they cannot be saved: '" + place.toUtf8() +
            "': Permission denied; set XDG_CONFIG_HOME to a folder in which you may write\n");
    ASSERT_EQ(chmod(qPrintable(place), 0700), 0);
    write(settings, "");
    ASSERT_EQ(chmod(qPrintable(settings), 0400), 0);
    EXPECT_EQ(linesAbout("settings"),
        "note     " + ofSettings("can be read only: cannot write '" + path +
                                 "': Permission denied; change its permissions if 'talmo prefs' is "
                                 "to save"));
    ASSERT_EQ(chmod(qPrintable(settings), 0), 0);
    EXPECT_EQ(linesAbout("settings"), "problem  settings: cannot read the settings '" + path +
                                          "': Permission denied; mend the file, or move it away\n");

    const QString other = folder.filePath("other");
    QDir().mkpath(other);
    environment["TMPDIR"] = other;
    for (const mode_t mode : {0200U, 0100U, 0500U}) { // files can be made with 0300
        ASSERT_EQ(chmod(qPrintable(other), mode), 0);
        EXPECT_EQ(linesAbout("temporary"),
            "problem  temporary files: no files can be made in '" + other.toUtf8() +
                "': Permission denied; set TMPDIR to a folder in which you may write\n");
    }
    ASSERT_EQ(chmod(qPrintable(other), 0300), 0);
    EXPECT_EQ(linesAbout("temporary"), "ok       temporary files: N are free\n");
    ASSERT_EQ(chmod(qPrintable(other), 0700), 0);

    const QByteArray disk = "problem  suite's disk: no files can be made in '" + work.toUtf8() +
                            "': Permission denied; runs make their directories there; work in a "
                            "copy of the suite\n";
    ASSERT_EQ(chmod(qPrintable(work), 0500), 0);
    EXPECT_EQ(linesAbout("suite's disk"), disk);
    EXPECT_EQ(linesAbout("locks"), known); // of the directory, since no file can be made
    ASSERT_EQ(chmod(qPrintable(work), 0300), 0);
    EXPECT_EQ(linesAbout("suite:") + linesAbout("locks"),
        "problem  suite: '" + work.toUtf8() +
            "' cannot be listed: Permission denied\n"
            "note     locks: whether there are any cannot be found out: Permission denied\n");
    ASSERT_EQ(chmod(qPrintable(work), 0700), 0);
}

TEST_F(DoctorTest, SaysWhichProgramsCannotBeStarted)
{
    addProgram("sim1", "");
    write("../other/sim1", "");
    QFile::setPermissions(folder.filePath("other/sim1"), QFile::ReadOwner | QFile::ExeOwner);
    const QByteArray other = QDir(folder.filePath("other")).absolutePath().toUtf8();
    environment["PATH"] = programs + ':' + other + ":/usr/bin:/bin";
    const QByteArray first = programs.toUtf8() + "/sim1";
    const QByteArray advice = "; mend that, or 'talmo prefs programs remove ";
    const QByteArray noName = "the shell does not take this for the name of a program";
    write(settings, "[General]\nSimProgram1.name=sim1\nSimProgram2.name=none\n"
                    "SimProgram3.name=test\nSimProgram4.name=sim1\nSimProgram5.name=a\\nb\n"
                    "SimProgram6.name=a/b\n");
    EXPECT_EQ(linesAbout("program"),
        "note     program sim1: " + first + ", also " + other +
            "/sim1; make sure that this is meant\n"
            "problem  program none: not found in the PATH" +
            advice + "none'\n" + "problem  program test: " + noName + advice + "test'\n" +
            "note     program sim1: " + first +
            ", configured twice, so each of its runs is made twice; make sure that this is meant\n"
            "problem  program a\\x0ab: " +
            noName + advice + "a\\x0ab'\n" +
            "problem  program a/b: its name has a '/', so its runs can have no directories" +
            advice + "a/b'\n");
}

TEST_F(DoctorTest, SaysWhichScriptsHaveNoInterpreter)
{
    environment["PATH"] = programs + ":/usr/bin:/bin";
    const QByteArray plain = folder.filePath("plain").toUtf8();
    write(plain, "");
    const struct {
        QByteArray line;
        QByteArray problem; ///< empty if there is none
    } rows[] = {
        {"#!/bin/sh", ""},
        {"#! /bin/sh -e ", ""},
        {"#!/usr/bin/env sh", ""},
        {"#!/usr/bin/env -S sh -e", ""},
        {"# no interpreter", ""},
        {"#!/bin/sh none7", ""},
        {"#!/none/sh -e", "'/none/sh' does not exist"},
        {"#!/bin/sh\r", "'/bin/sh\\x0d' does not exist"},
        {"#!/bin/sh/x", "'/bin/sh/x' does not exist"},
        {"#!/bin", "'/bin' is not executable"},
        {"#!" + plain, "'" + plain + "' is not executable"},
        {"#!/usr/bin/env none7", "'none7' is not in the PATH"},
        {"#!/usr/bin/env sh -e", "'sh -e' is not in the PATH"},
    };
    configure({"sim1"});
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line.toStdString());
        write(programs + "/sim1", row.line + '\n');
        QFile::setPermissions(programs + "/sim1", QFile::ReadOwner | QFile::ExeOwner);
        EXPECT_EQ(linesAbout("program"),
            row.problem.isEmpty() ? "ok       program sim1: " + programs.toUtf8() + "/sim1\n"
                                  : "problem  program sim1: its interpreter " + row.problem +
                                        "; mend that, or 'talmo prefs programs remove sim1'\n");
        QFile::remove(programs + "/sim1");
    }
}

TEST_F(DoctorTest, SaysIfTheLocaleIsNotUtf8)
{
    const QByteArray advice = "; set LC_ALL=C.UTF-8, or another locale of that encoding\n";
    environment["LC_ALL"] = "C";
    EXPECT_EQ(linesAbout("locale"), "note     locale: C, with the encoding ANSI_X3.4-1968; names "
                                    "with other letters may not be found" +
                                        advice);
    environment["LC_ALL"] = "xx_YY";
    EXPECT_EQ(linesAbout("locale"),
        "note     locale: 'xx_YY' is not installed, so programs use the locale C" + advice);
    environment.remove("LC_ALL");
    environment["LC_CTYPE"] = "";
    environment["LANG"] = "C.UTF-8";
    EXPECT_EQ(linesAbout("locale"), "ok       locale: C.UTF-8, with the encoding UTF-8\n");
}

TEST_F(DoctorTest, SaysWhichScriptsArePassedOver)
{
    EXPECT_EQ(linesAbout("suite:"), "note     suite: '" + work.toUtf8() +
                                        "', without scripts of the name test*; go to the folder "
                                        "of a suite, or name it with -C\n");
    write("test1", "=heading\n");
    if (!obeyPermissions())
        GTEST_SKIP() << "root may read anything, and cannot be kept from it here";
    write("test2", "=heading\n");
    ASSERT_EQ(chmod(qPrintable(work + "/test2"), 0), 0);
    EXPECT_EQ(linesAbout("suite:"), "ok       suite: '" + work.toUtf8() +
                                        "', 1 script\n"
                                        "note     suite: 'test2' is passed over: Permission "
                                        "denied\n");
}

TEST_F(DoctorTest, SurvivesThatTheWorkingDirectoryIsRemoved)
{
    addProgram("nowhere",
        "mkdir gone && cd gone && rmdir ../gone && exec " + driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath("nowhere");
    configure({"sim1"});
    EXPECT_EQ(linesAbout("suite") + linesAbout("locks") + linesAbout("results"),
        "problem  suite: the working directory cannot be found: No such file or directory; go to "
        "another one\n");
}

TEST_F(DoctorTest, SaysThatADiskIsAlmostFull)
{
    if (!mountPrivately("mount -t tmpfs -o size=200k none \"$work\"\n"
                        "mount -t tmpfs -o size=50m none \"$folder/tmp\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(linesAbout("suite's disk") + linesAbout("temporary"),
        "problem  suite's disk: N are free; remove something from the disk\n"
        "note     temporary files: N are free; that may be too little for large outputs\n");
}

TEST_F(DoctorTest, SaysThatADiskTakesNoMoreFiles)
{
    if (!mountPrivately("mount -t tmpfs -o size=500m,nr_inodes=1 none \"$work\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(linesAbout("suite's disk"), "problem  suite's disk: N are free, but the disk takes "
                                          "no more files; remove files from the disk\n");
}

TEST_F(DoctorTest, AFileSystemThatDoesNotCountFilesTakesMore)
{
    preload(SICK_DISK);
    environment["FILES_ARE_NOT_COUNTED"] = "1";
    EXPECT_EQ(linesAbout("temporary"), "ok       temporary files: N are free\n");
}

TEST_F(DoctorTest, SaysWhatIsWrongWithTheFolderForTemporaryFiles)
{
    const QString file = folder.filePath("file");
    write(file, "");
    const struct {
        QString place;
        QByteArray reason;
    } rows[] = {{folder.filePath("none"), "No such file or directory"}, {file, "Not a directory"}};
    for (const auto &row : rows) {
        environment["TMPDIR"] = row.place;
        EXPECT_EQ(linesAbout("temporary"), "problem  temporary files: no files can be made in '" +
                                               row.place.toUtf8() + "': " + row.reason +
                                               "; set TMPDIR to a folder in which you may write\n");
    }
}

TEST_F(DoctorTest, SaysWhoseResultsThereAre)
{
    const QByteArray records = "'" + work.toUtf8() + "/.talmo";
    EXPECT_EQ(linesAbout("results"), "ok       results: none are kept here yet; 'talmo run' makes "
                                     "the folder '.talmo'\n");
    QDir(work).mkdir(".talmo");
    EXPECT_EQ(linesAbout("results"), "ok       results: none are kept in '.talmo' yet\n");
    write(".talmo/mine", "");
    EXPECT_EQ(linesAbout("results"),
        "problem  results: " + records +
            "' is not a folder of results: it has no marker; move it away, or use 'talmo run "
            "--no-record'\n");
    QFile::remove(work + "/.talmo/mine");
    QDir(work).rmdir(".talmo");
    write(".talmo", "");
    EXPECT_EQ(linesAbout("results"),
        "problem  results: " + records +
            "' is not a folder of results: it is no directory; move it away, or use 'talmo run "
            "--no-record'\n");
    QFile::remove(work + "/.talmo");
    write("test1", "=heading\n");
    EXPECT_EQ(make().status, 0);
    write(".talmo/latest.xml", "<testsuites><damaged");
    const QByteArray damaged = linesAbout("results");
    EXPECT_TRUE(damaged.startsWith("problem  results: ")) << damaged.toStdString();
    EXPECT_TRUE(damaged.contains("latest.xml")) << damaged.toStdString();
    EXPECT_TRUE(
        damaged.endsWith("; the next 'talmo run' makes new ones, and keeps what is there\n"))
        << damaged.toStdString();
    QFile::remove(work + "/.talmo/latest.xml");
    ASSERT_EQ(mkfifo(qPrintable(work + "/.talmo/latest.xml"), 0600), 0);
    EXPECT_TRUE(linesAbout("results").startsWith("problem  results: "));
}

TEST_F(DoctorTest, SaysThatTheFileSystemKnowsNoLocks)
{
    preload(SICK_DISK);
    for (const char *const which : {"all", "files"}) {
        environment["LOCKS_FAIL"] = which;
        EXPECT_EQ(linesAbout("locks"),
            "note     locks: the file system knows none: No locks available; start no two suites "
            "here at once, they would disturb one another\n");
    }
}

TEST_F(DoctorTest, ASuiteThatSomebodyHasLockedCanBeLocked)
{
    const Descriptor directory = openDirectory(qPrintable(work), O_RDONLY);
    ASSERT_EQ(flock(directory.get(), LOCK_EX), 0);
    EXPECT_EQ(linesAbout("locks"), known);
}

TEST_F(DoctorTest, DoesNotWaitForADriveThatDoesNotAnswer)
{
    const QByteArray answer = linesAbout("suite") + linesAbout("locks");
    const QByteArray all = doctor();
    preload(SICK_DISK);
    environment["DEAD_DRIVE"] = "/work";
    environment["PID_FILE"] = folder.filePath("pid");
    QElapsedTimer timer;
    timer.start();
    // The rest is examined all the same.
    const QByteArray problem = "problem  suite: no answer within 5 seconds; look for a network "
                               "drive that does not answer\n";
    EXPECT_EQ(doctor(), QByteArray(all).replace(answer, problem));
    EXPECT_GE(timer.elapsed(), 5000);
    EXPECT_TRUE(endsSoon(read(environment["PID_FILE"])));
}

TEST_F(DoctorTest, SaysHowAnExaminationHasCrashed)
{
    const QByteArray answer = linesAbout("suite") + linesAbout("locks");
    const QByteArray all = doctor();
    preload(SICK_DISK);
    environment["CRASH_AT"] = "/work";
    const QByteArray problem = QByteArray("problem  suite: the examination ended by signal 9 (") +
                               QByteArray(strsignal(SIGKILL)) +
                               "); that is a mistake of Talmo; report it, with this page\n";
    EXPECT_EQ(doctor(), QByteArray(all).replace(answer, problem));
}

namespace
{

/// Expects that \a work is given up as \a end, for the \a reason.
void expectNoAnswer(
    int milliseconds, const std::function<QByteArray()> &work, Answer::End end, const char *reason)
{
    const Answer answer = answerWithin(milliseconds, work);
    EXPECT_EQ(answer.end, end);
    EXPECT_EQ(answer.reason, reason);
    EXPECT_EQ(answer.text, QByteArray());
}

} // namespace

TEST(AnswerWithin, ReturnsWhatTheWorkReturns)
{
    for (const QByteArray &text : {QByteArray(1000000, 'x'), QByteArray()}) {
        const Answer answer = answerWithin(60000, [&text] { return text; });
        EXPECT_EQ(answer.end, Answer::Given);
        EXPECT_EQ(answer.text, text);
    }
}

TEST(AnswerWithin, DoesNotWaitForEver)
{
    const auto wait = []() -> QByteArray {
        for (;;)
            pause();
    };
    expectNoAnswer(50, wait, Answer::Late, "");
}

TEST(AnswerWithin, SaysHowTheWorkHasCrashed)
{
    const auto leave = []() -> QByteArray { _exit(3); };
    expectNoAnswer(60000, leave, Answer::Broken, "ended with exit status 3");
    const auto crash = []() -> QByteArray {
        kill(getpid(), SIGKILL);
        return {};
    };
    const std::string reason = std::string("ended by signal 9 (") + strsignal(SIGKILL) + ')';
    expectNoAnswer(60000, crash, Answer::Broken, reason.c_str());
}
