#include "CompanionTest.h"
#include "Sessions.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace
{

class FailuresManual : public CompanionTest
{
protected:
    FailuresManual()
    {
        // The folder of somebody who has built Talmo, and two changed trackers elsewhere.
        work = folder.filePath(QStringLiteral("talmo"));
        link(QStringLiteral(BUILD), QStringLiteral("talmo/build/release"));
        link(QStringLiteral(SCRIPTS), QStringLiteral("talmo/test"));
        link(QStringLiteral(FIRST_TRACKER), QStringLiteral("first/tracker"));
        link(QStringLiteral(SECOND_TRACKER), QStringLiteral("second/tracker"));
        environment[QStringLiteral("HOME")] = folder.path();
    }

    void link(const QString &target, const QString &name)
    {
        const QString path = folder.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        ASSERT_TRUE(QFile::link(target, path)) << name.toStdString();
    }
};

} // namespace

TEST_F(FailuresManual, EverySessionIsTrue)
{
    EXPECT_GE(expectSessions(QStringLiteral(MANUAL), environment, work, folder.path()), 10);
}
