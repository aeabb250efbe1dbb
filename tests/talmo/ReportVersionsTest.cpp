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
    const QJsonArray versions = jsonReport({"--version"})["versions"].toArray();
    EXPECT_LT(timer.elapsed(), 30000);
    QStringList told;
    for (const QJsonValue &value : versions)
        told +=
            value.toObject()["program"].toString() + ": " + value.toObject()["version"].toString();
    EXPECT_EQ(told, QStringList({"sim1: sim1 --version <b>", "sim2: exit status 7: unknown option",
                        "sim3: it was ended by signal 9", "sim4: it did not end within 5 s",
                        "sim5: it was not found"}));
    const QString pid = QString::fromLatin1(read(programs + "/pid")).trimmed();
    EXPECT_FALSE(pid.isEmpty());
    EXPECT_EQ(stateOf(pid.toLatin1()), '?') << "what it has started is still there";
    EXPECT_FALSE(exists("litter"));
    EXPECT_FALSE(QDir(QString::fromUtf8(read(programs + "/where")).trimmed()).exists());
}
