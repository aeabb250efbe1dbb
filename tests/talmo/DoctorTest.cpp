// talmo doctor as a whole

#include "DoctorFixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>
#include <QThread>

#include <csignal>
#include <cstring>

#include <sys/stat.h>

namespace
{

class DoctorTest : public DoctorFixture
{
protected:
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
