// Writes pages to look at and to test in a browser, each within a time. usage: sampleReports
// DIRECTORY

#include "ReportForTests.h"
#include "htmlReport.h"
#include "talmo/StartupGuard.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <cstdio>

namespace
{

bool writePage(const QString &name, const Talmo::Report &report)
{
    QFile file(name);
    QString problem;
    QElapsedTimer timer;
    timer.start();
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && Talmo::writeHtml(report, file, problem) && file.flush();
    if (!isWritten)
        std::fprintf(stderr, "sampleReports: cannot write '%s'\n", qPrintable(name));
    constexpr qint64 most = 5000;
    const qint64 took = timer.elapsed();
    if (isWritten)
        std::printf("%s took %lld ms\n", qPrintable(QFileInfo(name).fileName()),
            static_cast<long long>(took));
    return isWritten && took <= most;
}

} // namespace

int main(int count, char *arguments[])
{
    Talmo::enterMain();
    if (count != 2 || !QDir(arguments[1]).exists()) {
        std::fputs("usage: sampleReports DIRECTORY\n", stderr);
        return 2;
    }
    const QString folder = QDir(arguments[1]).absolutePath();
    Talmo::Report passed = reportOf(folder, 12, 0, 10);
    const bool areWritten = writePage(folder + "/rich.html", richReport(folder)) &&
                            writePage(folder + "/hostile.html", hostileReport(folder)) &&
                            writePage(folder + "/passed.html", passed) &&
                            writePage(folder + "/big.html", reportOf(folder, 10000, 200, 2000));
    return areWritten && !testing::Test::HasFailure() ? 0 : 1;
}
