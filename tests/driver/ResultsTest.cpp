#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Results are printed at the end of each run, not at the end of the driver.

using Results = DriverTest;

TEST_F(Results, OfARunArriveBeforeTheNextEnds)
{
    const struct {
        QByteArray script;
        QByteArray result;
    } rows[] = {
        {"=heading\n", passed},
        {"=heading\n=end\n", ended},
    };
    ASSERT_EQ(mkfifo(qPrintable(QDir(work).filePath("fifo")), 0600), 0);
    const int writer = open(QFile::encodeName(work + "/fifo"), O_RDWR | O_CLOEXEC);
    write("test2", "=blocks\n=compare ../fifo ../fifo\n"); // the FIFO's writer never writes
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script.toStdString());
        write("test1", row.script);
        QProcess process;
        startProcess(process, driver, {"test1", "test2"}, environment, work);
        const QByteArray expected = preamble("test1 test2") + row.result;
        QByteArray output;
        while (output.size() < expected.size() && process.waitForReadyRead(60000))
            output += process.readAllStandardOutput();
        EXPECT_EQ(output, expected);
        EXPECT_EQ(process.state(), QProcess::Running);
        process.kill();
        EXPECT_TRUE(process.waitForFinished(60000));
    }
    close(writer);
}
