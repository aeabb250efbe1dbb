// How talmo report asks programs for their versions.

#include "ReportFixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

using namespace Talmo;

namespace
{

class ReportVersionsTest : public ReportFixture
{
protected:
    /// "program: version" of each program.
    QStringList versions()
    {
        QStringList told;
        const QJsonArray all = jsonReport({"--version"})["versions"].toArray();
        for (const QJsonValue &value : all)
            told += value.toObject()["program"].toString() + ": " +
                    value.toObject()["version"].toString();
        return told;
    }
};

} // namespace

TEST_F(ReportVersionsTest, AsksProgramsForTheirVersions)
{
    configure({"sim1", "sim2", "sim3", "sim4", "sim5"});
    write("test1", "=one\n=simprogram sim*\n");
    for (const char *const name : {"sim1", "sim2", "sim3", "sim4", "sim5"})
        addProgram(name, "");
    EXPECT_EQ(make({"-j1"}).status, 0);
    addProgram("sim1", "echo; echo \"  sim1 $1 <b>\"; echo more; pwd >" + programs.toUtf8() +
                           "/where; touch litter");
    addProgram("sim2", "cat; echo unknown option >&2; exit 7");
    addProgram("sim3", "kill -9 $$");
    addProgram("sim4", "sleep 600 & sleep 600 & echo $! >" + programs.toUtf8() + "/pid; wait");
    QFile::remove(programs + "/sim5");
    QElapsedTimer timer;
    timer.start();
    const QStringList told = versions();
    EXPECT_LT(timer.elapsed(), 30000);
    EXPECT_EQ(told, QStringList({"sim1: sim1 --version <b>", "sim2: exit status 7: unknown option",
                        "sim3: it was ended by signal 9", "sim4: it did not end within 5 s",
                        "sim5: it was not found"}));
    const QString pid = QString::fromLatin1(read(programs + "/pid")).trimmed();
    EXPECT_FALSE(pid.isEmpty());
    EXPECT_EQ(stateOf(pid.toLatin1()), '?') << "what it has started is still there";
    EXPECT_FALSE(exists("litter"));
    EXPECT_FALSE(QDir(QString::fromUtf8(read(programs + "/where")).trimmed()).exists());
}

TEST_F(ReportVersionsTest, WhateverAProgramDoesItEndsAndAnswers)
{
    const QStringList names = {"sim1", "sim2", "sim3", "sim4"};
    configure(names);
    write("test1", "=one\n=simprogram sim*\n");
    for (const QString &name : names)
        addProgram(name, "");
    EXPECT_EQ(make({"-j1"}).status, 0);
    const QByteArray pids = programs.toUtf8() + "/pid";
    const QByteArray note = "echo $! >" + pids;
    // A process in a session of its own, whose parent ends at once.
    addProgram("sim1", "setsid sh -c 'sleep 600 & " + note + "1'; echo daemon");
    addProgram("sim2", "echo much; yes | head -c 20000000");
    addProgram("sim3", "sleep 600 & " + note + "3; exec yes");
    addProgram("sim4", "exec >&- 2>&-; sleep 0.2; exit 3");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(versions(), QStringList({"sim1: daemon", "sim2: much",
                              "sim3: it did not end within 5 s", "sim4: exit status 3"}));
    EXPECT_LT(timer.elapsed(), 30000);
    for (const char *const number : {"1", "3"}) {
        const QByteArray pid = read(programs + "/pid" + QString::fromLatin1(number)).trimmed();
        EXPECT_FALSE(pid.isEmpty()) << number;
        EXPECT_EQ(stateOf(pid), '?') << "what program " << number << " has started is still there";
    }
}
