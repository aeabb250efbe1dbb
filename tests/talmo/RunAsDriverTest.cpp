// Both over many suites: what the driver prints and leaves on disk, and what `talmo run` does.

#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <random>

namespace
{

using Disk = QMap<QString, QByteArray>;

class RunAsDriver : public RunFixture
{
protected:
    /// A number below \a limit, the next one of this seed.
    int next(int limit) { return static_cast<int>(engine() % static_cast<unsigned>(limit)); }

    bool isOneIn(int count) { return next(count) == 0; }

    QByteArray oneOf(const QByteArrayList &texts)
    {
        return texts[next(static_cast<int>(texts.size()))];
    }

    /// A script that is made up. No two of its patterns match one program, since the driver would
    /// then run it twice.
    QByteArray scriptMadeUp()
    {
        QByteArray script = "=number " + QByteArray::number(next(100)) + "\n";
        if (isOneIn(2))
            script += "=simprogram " + oneOf({"sim*", "sim1", "sim2 sim1", "none", "", "*"}) + "\n";
        for (int left = next(7); left > 0; --left)
            script += oneOf(commands) + "\n";
        if (isOneIn(8))
            script.replace("\n", "\r\n");
        if (isOneIn(8))
            script.chop(1);
        return script;
    }

    void makeUp(unsigned seed)
    {
        engine.seed(seed);
        QDir(work).removeRecursively();
        QDir().mkpath(work);
        for (int left = 1 + next(8); left > 0; --left)
            write(names[next(static_cast<int>(names.size()))], scriptMadeUp());
    }

    /// All that runs have left, but the records of talmo.
    Disk disk()
    {
        Disk found;
        const QStringList paths = entries();
        for (const QString &path : paths) {
            const QFileInfo file(QDir(work).filePath(path));
            if (path.startsWith(".talmo/") || !path.contains(".dir"))
                continue;
            found[path] = file.isFile() && file.isReadable() ? read(path) : QByteArray("-");
        }
        return found;
    }

    void removeDirectories()
    {
        const QStringList directories =
            QDir(work).entryList({"*.dir", ".talmo"}, QDir::Dirs | QDir::Hidden);
        for (const QString &directory : directories)
            QDir(QDir(work).filePath(directory)).removeRecursively();
    }

    /// The lines that the driver prints about its runs, and what it leaves.
    QByteArrayList linesOfDriver(Disk &left, bool &isWell)
    {
        const Outcome outcome = runDriver({"*"});
        left = disk();
        isWell = outcome.status == 0;
        QByteArrayList lines = outcome.output.split('\n');
        while (!lines.isEmpty() && !lines.takeFirst().startsWith("talmo_test: tests to run from")) {
        }
        lines.removeFirst(); // the names of the scripts
        lines.removeLast();  // behind the last newline
        const int summary = isWell ? 1 : 3;
        return lines.mid(0, lines.size() - summary);
    }

    /// The same of talmo. No script prints a line that is empty or begins with blanks.
    QByteArrayList linesOfTalmo(Disk &left, bool &isWell)
    {
        const Outcome outcome = run({"run", "-j1", "-v", "*"});
        left = disk();
        EXPECT_EQ(outcome.errors, "");
        QByteArrayList lines;
        for (const QByteArray &line : outcome.output.split('\n')) {
            if (line.isEmpty())
                break;
            if (!line.startsWith(' '))
                lines += line;
        }
        isWell = outcome.output.contains(" 0 failed, ");
        return lines;
    }

    const QStringList names = {"test1", "test2", "Test3", "test10", "a b", "x(1)", "te[s]t", "it's",
        "50%", QString::fromUtf8("t\u00e4st"), "-x", "z"};
    const QByteArrayList commands = {"=echo some words", "# a comment", "", "=file a\n1 2\n3 4",
        "=file b\n1 2\n3 4.5", "=file c", "=compare a b 0 1", "=compare a b", "=compare a a 0 0",
        "=compare a b 0 0.1", "=compare a c", "=exists a", "=exists none", "=run true",
        "=run false", "=run echo printed >&1", "=run echo captured", "=run cat a >&1 2>&1",
        "=run sh -c 'echo no; exit 3'", "=run mkdir d", "=run no-such-program",
        "=run kill -KILL $$", "=run echo added >>own; cat own >&1", "=run ln -s a link",
        "=run chmod 000 a", "=run printf 'no end' >&1; echo >&1", "=ignore failed", "=ignore .*",
        "=ignore differ", "=ignore exist", "=platform DARWIN", "=platform LINUX", "=platform",
        "=platform MARS", "=testbeam beam 0 1 2 0 1 2 0 13 1", "=testbeam beam", "=meanandsigma",
        "=nonsense", "=run $simProgram", "=run $simProgram >&1 2>&1", "=echo for $simProgram",
        " =echo behind a blank", "no command", "=exists a b"};
    std::mt19937 engine;
};

} // namespace

TEST_F(RunAsDriver, PrintsTheSameLinesAndLeavesTheSame)
{
    configure({"sim1", "sim2", "sim3"});
    addProgram("sim1", "echo this is sim1\nls\n");
    addProgram("sim2", "echo this is sim2 >&2\necho x >data\nexit 2\n"); // there is no sim3
    int runs = 0;
    int failures = 0;
    int kept = 0;
    for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        makeUp(seed);
        Disk leftByDriver;
        bool isWellForDriver = false;
        const QByteArrayList expected = linesOfDriver(leftByDriver, isWellForDriver);
        removeDirectories();
        Disk left;
        bool isWell = false;
        EXPECT_EQ(linesOfTalmo(left, isWell), expected);
        EXPECT_EQ(left, leftByDriver);
        EXPECT_EQ(isWell, isWellForDriver);
        for (const QByteArray &line : expected) {
            runs += line.contains(": number ") ? 1 : 0;
            failures += line.contains(": ***ERROR: ") ? 1 : 0;
        }
        kept += static_cast<int>(left.size());
    }
    EXPECT_GT(runs, 150); // so that the suites are worth it
    EXPECT_GT(failures, 150);
    EXPECT_GT(kept, 300);
}
