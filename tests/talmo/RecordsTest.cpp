#include "Records.h"
#include "ResultsForTests.h"
#include "SmallDisk.h"
#include "inChild.h"

#include "ScriptFolder.h"
#include "latestResults.h"
#include "removeDir.h"

#include <QDateTime>
#include <QDir>
#include <QSysInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <functional>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

std::function<void()> beforeLocking; ///< what happens before a file is locked
int roomOnDisk = -1;                 ///< bytes that pwrite still takes; -1: any number

} // namespace

/// Takes the place of the system's call.
extern "C" int flock(int descriptor, int operation) noexcept
{
    static auto *const next = reinterpret_cast<int (*)(int, int)>(dlsym(RTLD_NEXT, "flock"));
    if (beforeLocking)
        beforeLocking();
    return next(descriptor, operation);
}

/// Takes the place of the system's call. Unlike a limit on the sizes of files, a full disk lets one
/// make a file longer by truncating it.
extern "C" ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t offset)
{
    static auto *const next = reinterpret_cast<ssize_t (*)(int, const void *, size_t, off_t)>(
        dlsym(RTLD_NEXT, "pwrite64"));
    if (roomOnDisk < 0)
        return next(descriptor, bytes, count, offset);
    if (roomOnDisk == 0) {
        errno = ENOSPC;
        return -1;
    }
    const ssize_t done =
        next(descriptor, bytes, std::min(count, static_cast<size_t>(roomOnDisk)), offset);
    roomOnDisk -= static_cast<int>(done);
    return done;
}

namespace
{

constexpr char firstLine[] = "results of talmo, format 1\n";

class RecordsTest : public testing::Test
{
protected:
    RecordsTest() { EXPECT_TRUE(QDir(folder.path()).mkdir("suite")); }

    QString pathOf(const QString &name) const { return folder.filePath("suite/" + name); }
    QByteArray suite() const { return QFile::encodeName(folder.filePath("suite")); }

    /// What is in the folder of the records and below, sorted; null if there is none.
    QStringList entries(const QString &name = ".talmo") const
    {
        const QDir directory(pathOf(name));
        return directory.exists() ? directory.entryList(QDir::AllEntries | QDir::Hidden |
                                                            QDir::System | QDir::NoDotAndDotDot,
                                        QDir::Name)
                                  : QStringList();
    }

    void addScripts(const QStringList &names) const
    {
        for (const QString &name : names)
            writeTo(pathOf(name), "=heading\n");
    }

    /// Opens records, or says why that is not possible.
    QString problemOfOpening(Records::Opening expected)
    {
        Records records;
        QString reason;
        EXPECT_EQ(records.open(suite(), reason), expected) << reason.toStdString();
        EXPECT_EQ(records.isOpen(), expected == Records::Opening::Opened);
        return reason;
    }

    void save(const RunResults &invocation)
    {
        Records records;
        QString reason;
        ASSERT_EQ(records.open(suite(), reason), Records::Opening::Opened) << reason.toStdString();
        EXPECT_TRUE(records.save(invocation, reason)) << reason.toStdString();
    }

    RunResults latest(Records::Reading expected = Records::Reading::Read)
    {
        RunResults results;
        problem = QString();
        EXPECT_EQ(Records::readLatest(suite(), SystemOut::Kept, results, problem), expected);
        EXPECT_EQ(problem.isNull(), expected != Records::Reading::Damaged);
        return results;
    }

    QString inSuite(const char *text) const
    {
        return QString(text).replace("SUITE", folder.filePath("suite"));
    }

    /// What is said of latest results that cannot be read, before the reason.
    QString setAside() const
    {
        return inSuite("the earlier results are kept as 'SUITE/.talmo/latest.xml.damaged', but do "
                       "not count any more: ");
    }

    QTemporaryDir folder;
    QString problem; ///< of the last reading
};

/// What stands in the place of something of ours.
enum class Place { Nothing, File, Directory, EmptyDirectory, Link, Fifo };

void put(Place place, const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    switch (place) {
    case Place::Nothing:
        break;
    case Place::File:
        writeTo(path, "x");
        break;
    case Place::EmptyDirectory:
        EXPECT_EQ(mkdir(name, 0777), 0);
        break;
    case Place::Directory:
        EXPECT_EQ(mkdir(name, 0777), 0);
        writeTo(path + "/mine", "x");
        break;
    case Place::Link:
        EXPECT_EQ(mkdir(name + ".target", 0777), 0);
        EXPECT_EQ(symlink(name + ".target", name), 0);
        break;
    case Place::Fifo:
        EXPECT_EQ(mkfifo(name, 0666), 0);
        break;
    }
}

/// A pipe of which a child waits for the end.
struct Pipe {
    Pipe() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe()
    {
        close(ends[0]);
        close(ends[1]);
    }

    std::array<int, 2> ends = {-1, -1};
};

/// Opens records as soon as nobody else has them.
bool openPatiently(Records &records, const QByteArray &suite)
{
    QString problem;
    while (records.open(suite, problem) != Records::Opening::Opened) {
        if (!problem.contains("is in use by"))
            return false;
        poll(nullptr, 0, 1);
    }
    return true;
}

} // namespace

TEST_F(RecordsTest, ThereIsNothingAtFirst)
{
    EXPECT_TRUE(latest(Records::Reading::Absent).runs.empty());
    EXPECT_FALSE(QFile::exists(pathOf(".talmo"))); // reading makes nothing
    EXPECT_TRUE(problemOfOpening(Records::Opening::Opened).isNull());
    EXPECT_EQ(entries(), QStringList({".gitignore", "marker"}));
    EXPECT_EQ(contentOf(pathOf(".talmo/.gitignore")), "*\n");
    EXPECT_EQ(contentOf(pathOf(".talmo/marker")), firstLine);
    EXPECT_TRUE(latest(Records::Reading::Absent).runs.empty());
}

TEST_F(RecordsTest, WhatIsSavedComesBack)
{
    RunResults invocation = resultsOf({runOf("test1", RunState::Failed, "why"), runOf("test2")});
    invocation.host = "node7";
    invocation.runs[0].systemOut = "output";
    save(invocation);
    const RunResults back = latest();
    EXPECT_EQ(toldHead(back), toldHead(invocation));
    EXPECT_EQ(namesOf(back), QStringList({"test1", "test2"}));
    EXPECT_EQ(told(back.runs[0]), told(invocation.runs[0]));
    EXPECT_EQ(back.runs[0].systemOut, "output");
    EXPECT_EQ(entries(), QStringList({".gitignore", "latest.xml", "marker", "runs"}));
    ASSERT_EQ(entries(".talmo/runs").size(), 1);

    RunResults results;
    EXPECT_EQ(Records::readLatest(suite(), SystemOut::PassedOver, results, problem),
        Records::Reading::Read);
    EXPECT_TRUE(results.runs[0].systemOut.isNull());
}

TEST_F(RecordsTest, AnInvocationOfAllRunsIsWrittenOnce)
{
    const auto isOneFile = [this] {
        struct stat latestFile = {};
        struct stat invocation = {};
        EXPECT_EQ(stat(QFile::encodeName(pathOf(".talmo/latest.xml")), &latestFile), 0);
        const QString name = entries(".talmo/runs").last();
        EXPECT_EQ(stat(QFile::encodeName(pathOf(".talmo/runs/" + name)), &invocation), 0);
        return latestFile.st_ino == invocation.st_ino;
    };
    addScripts({"test1", "test2"});
    save(resultsOf({runOf("test1")}));
    EXPECT_TRUE(isOneFile());
    save(resultsOf({runOf("test1"), runOf("test2")}));
    EXPECT_TRUE(isOneFile());
    save(resultsOf({runOf("test2")}));
    EXPECT_FALSE(isOneFile());
    save(resultsOf({runOf("test2"), runOf("test1")}));
    EXPECT_TRUE(isOneFile());
    EXPECT_EQ(namesOf(latest()), QStringList({"test2", "test1"}));
}

TEST_F(RecordsTest, ReadingBeforeChangesNothing)
{
    addScripts({"test1", "test2"});
    std::vector<RunRecord> runs = {runOf("test1", RunState::Failed, "why"), runOf("test2")};
    runs[1].seconds = 2;
    const std::vector<RunResults> invocations = {resultsOf({runOf("test2")}),
        resultsOf({runOf("test1"), runOf("test2")}),
        resultsOf({runOf("test1"), runOf("test2", RunState::NotRun, "not run")}), resultsOf({})};
    for (const RunResults &invocation : invocations) {
        save(resultsOf(runs));
        const RunResults before = latest();
        Records records;
        RunResults results;
        ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
        EXPECT_EQ(
            records.readLatest(SystemOut::PassedOver, results, problem), Records::Reading::Read);
        EXPECT_EQ(namesOf(results), namesOf(before));
        ASSERT_TRUE(records.save(invocation, problem));
        EXPECT_EQ(namesOf(latest()), QStringList({"test1", "test2"}));
        const RunResults now = latest();
        const bool isAsBefore = invocation.runs.empty() || now.runs[1].state == RunState::NotRun;
        EXPECT_EQ(now.runs[1].seconds, isAsBefore ? 2 : 0);
    }
}

TEST_F(RecordsTest, AFilteredInvocationDoesNotForgetTheOthers)
{
    addScripts({"test1", "test2", "test3"});
    RunResults first = resultsOf({runOf("test1", RunState::Failed, "why"),
        runOf("test2", RunState::Failed, "too"), runOf("test3"), runOf("gone")});
    first.runs[0].systemOut = "of the first";
    first.runs[1].systemOut = "of the second";
    save(first);
    RunResults second = resultsOf({runOf("test2", RunState::Failed, "still")});
    second.host = "another";
    second.runs[0].systemOut = "now";
    save(second);
    const RunResults back = latest();
    EXPECT_EQ(namesOf(back), QStringList({"test1", "test2", "test3"}));
    EXPECT_EQ(told(back.runs[0]), told(first.runs[0]));
    EXPECT_EQ(back.runs[0].systemOut, "of the first");
    EXPECT_EQ(back.runs[1].message, "still");
    EXPECT_EQ(back.runs[1].systemOut, "now");
    EXPECT_EQ(back.host, "another");
    EXPECT_EQ(back.runsInAll, 3);
    EXPECT_EQ(entries(".talmo/runs").size(), 2);
}

TEST_F(RecordsTest, ScriptsOfTheDistributionCountAsThere)
{
    const QDir distribution(QFile::decodeName(distributionDirectory()));
    const QString name = distribution.entryList(QDir::Files).value(0);
    ASSERT_FALSE(name.isEmpty());
    save(resultsOf({runOf(name), runOf("gone")}));
    save(resultsOf({runOf("test1")}));
    EXPECT_EQ(namesOf(latest()), QStringList({"test1", name}));
}

TEST_F(RecordsTest, TheLatestResultsAreThoseOfTheSuiteAsItIs)
{
    const struct {
        const char *title;
        std::vector<RunRecord> before;
        std::vector<RunRecord> now;
        QStringList latest; ///< empty: the invocation
    } rows[] = {
        {"the first ones", {}, {runOf("a"), runOf("b")}, {}},
        {"all", {runOf("a"), runOf("b")}, {runOf("b"), runOf("a")}, {}},
        {"one", {runOf("a"), runOf("b")}, {runOf("b")}, {"a", "b"}},
        {"none", {runOf("a")}, {}, {"a"}},
        {"new ones behind those that they follow", {runOf("a"), runOf("c"), runOf("e")},
            {runOf("0"), runOf("a"), runOf("b"), runOf("b2"), runOf("c"), runOf("d")},
            {"0", "a", "b", "b2", "c", "d", "e"}},
        {"of a script that is gone", {runOf("gone"), runOf("a")}, {runOf("a")}, {}},
        {"of a script that is gone, but was run", {runOf("a")}, {runOf("gone")}, {"gone", "a"}},
        {"another program", {runOf("a(p)"), runOf("a(q)")}, {runOf("a(p)")}, {"a(p)", "a(q)"}},
        {"now for a program", {runOf("a"), runOf("b")}, {runOf("a(p)")}, {"a(p)", "b"}},
        {"no program any more", {runOf("a(p)"), runOf("b")}, {runOf("a")}, {"a", "b"}},
        {"repeated", {}, {runOf("a"), runOf("b"), runOf("a")}, {"b", "a"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        const auto latest = latestAfter(resultsOf(row.before), resultsOf(row.now),
            [](const QString &script) { return script != "gone"; });
        EXPECT_EQ(latest ? namesOf(*latest) : QStringList(), row.latest);
    }
}

TEST_F(RecordsTest, ARunThatWasNotMadeKeepsItsTime)
{
    RunRecord before = runOf("test1", RunState::Failed, "why");
    before.seconds = 1.5;
    const RunRecord now = runOf("test1", RunState::NotRun, "not run");
    const auto latest =
        latestAfter(resultsOf({before}), resultsOf({now}), [](const QString &) { return true; });
    ASSERT_TRUE(latest);
    EXPECT_EQ(latest->runs[0].state, RunState::NotRun);
    EXPECT_EQ(latest->runs[0].message, "not run");
    EXPECT_EQ(latest->runs[0].seconds, 1.5);
    save(resultsOf({before}));
    save(resultsOf({now}));
    EXPECT_EQ(this->latest().runs[0].seconds, 1.5);
}

TEST_F(RecordsTest, TheLastTenInvocationsAreKept)
{
    save(resultsOf({runOf("test1")}));
    const QString mine = pathOf(".talmo/runs/mine.xml");
    writeTo(mine, "x");
    const QStringList first = entries(".talmo/runs");
    for (int count = 2; count <= 10; ++count) // some in the same millisecond
        save(resultsOf({runOf("test1")}));
    const QStringList ten = entries(".talmo/runs");
    EXPECT_EQ(ten.size(), 11);
    EXPECT_TRUE(ten.contains(first[0]));
    save(resultsOf({runOf("test1")}));
    QStringList expected = ten;
    expected.removeAll(first[0]);
    expected.insert(9, entries(".talmo/runs").value(9));
    EXPECT_EQ(entries(".talmo/runs"), expected);
    EXPECT_EQ(contentOf(mine), "x");
}

TEST_F(RecordsTest, ANewInvocationIsBehindTheOthersAlsoIfTheClockWasSetBack)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/.talmo/runs"));
    writeTo(pathOf(".talmo/marker"), "");
    for (int second = 10; second < 20; ++second)
        writeTo(
            pathOf(QStringLiteral(".talmo/runs/2999-12-31T23-59-%1.999Z.xml").arg(second)), "x");
    save(resultsOf({runOf("test1")}));
    const QStringList names = entries(".talmo/runs");
    EXPECT_EQ(names.size(), 10);
    EXPECT_EQ(names.first(), "2999-12-31T23-59-11.999Z.xml");
    EXPECT_EQ(names.last(), "2999-12-31T23-59-20.000Z.xml");
}

TEST_F(RecordsTest, NamesTellTheTime)
{
    const QString format = "yyyy-MM-dd'T'HH-mm-ss.zzz'Z.xml'";
    const QString before = QDateTime::currentDateTimeUtc().toString(format);
    save(resultsOf({runOf("test1")}));
    const QString after = QDateTime::currentDateTimeUtc().toString(format);
    const QString name = entries(".talmo/runs").value(0);
    EXPECT_LE(before, name);
    EXPECT_LE(name, after);
}

TEST_F(RecordsTest, AFolderThatIsNotOursIsRefused)
{
    const struct {
        Place folder;
        Place marker;
        Records::Opening opening;
        Records::Reading reading;
        const char *problem;
    } rows[] = {
        {Place::File, Place::Nothing, Records::Opening::Refused, Records::Reading::Damaged,
            "'SUITE/.talmo' is not a folder of results: it is no directory"},
        {Place::Fifo, Place::Nothing, Records::Opening::Refused, Records::Reading::Damaged,
            "'SUITE/.talmo' is not a folder of results: it is no directory"},
        {Place::Link, Place::Nothing, Records::Opening::Refused, Records::Reading::Damaged,
            "'SUITE/.talmo' is not a folder of results: it is a link"},
        {Place::Directory, Place::Nothing, Records::Opening::Refused, Records::Reading::Damaged,
            "'SUITE/.talmo' is not a folder of results: it has no marker"},
        {Place::EmptyDirectory, Place::Nothing, Records::Opening::Opened, Records::Reading::Absent,
            ""},
        {Place::EmptyDirectory, Place::File, Records::Opening::Refused, Records::Reading::Damaged,
            "'SUITE/.talmo' is not a folder of results: its marker is of another kind or version"},
        {Place::EmptyDirectory, Place::Fifo, Records::Opening::Refused, Records::Reading::Damaged,
            "cannot read 'SUITE/.talmo/marker': It is no regular file"},
        {Place::EmptyDirectory, Place::Link, Records::Opening::Refused, Records::Reading::Damaged,
            "cannot read 'SUITE/.talmo/marker': It is no regular file"},
        {Place::EmptyDirectory, Place::Directory, Records::Opening::Refused,
            Records::Reading::Damaged, "cannot read 'SUITE/.talmo/marker': Is a directory"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.problem);
        put(row.folder, pathOf(".talmo"));
        put(row.marker, pathOf(".talmo/marker"));
        const QStringList before = entries();
        const QStringList beside = entries(".");
        latest(row.reading);
        EXPECT_EQ(problem, inSuite(row.problem));
        EXPECT_EQ(problemOfOpening(row.opening), inSuite(row.problem));
        if (row.opening == Records::Opening::Refused) {
            EXPECT_EQ(entries(), before);
        }
        EXPECT_EQ(entries("."), beside);
        EXPECT_TRUE(entries(".talmo.target").isEmpty());
        ASSERT_TRUE(QDir(folder.filePath("suite")).removeRecursively());
        ASSERT_TRUE(QDir(folder.path()).mkdir("suite"));
    }
}

TEST_F(RecordsTest, AMarkerTellsItsVersion)
{
    const struct {
        QByteArray content;
        Records::Opening opening;
    } rows[] = {
        {"", Records::Opening::Opened},                   // somebody is about to write it
        {QByteArray(27, '\0'), Records::Opening::Opened}, // or could not
        {QByteArray(2000, '\0'), Records::Opening::Opened},
        {"results of t", Records::Opening::Opened},
        {QByteArray("results of t") + QByteArray(15, '\0'), Records::Opening::Opened},
        {"results of talmo, format 1", Records::Opening::Opened},
        {firstLine, Records::Opening::Opened},
        {"results of talmo, format 1\nin use by process 1 on another\n", Records::Opening::Opened},
        {"results of talmo, format 2\n", Records::Opening::Refused},
        {"results of talmo, format 10\n", Records::Opening::Refused},
        {QByteArray("results of talmo, format 1\0 ", 28), Records::Opening::Refused},
        {"results of mine", Records::Opening::Refused},
        {QByteArray("\0results", 8), Records::Opening::Refused},
        {"\n", Records::Opening::Refused},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content.toStdString());
        QDir(folder.path()).mkpath("suite/.talmo");
        writeTo(pathOf(".talmo/marker"), row.content);
        problemOfOpening(row.opening);
        const bool isOpened = row.opening == Records::Opening::Opened;
        EXPECT_EQ(contentOf(pathOf(".talmo/marker")), isOpened ? firstLine : row.content);
    }
}

TEST_F(RecordsTest, TheSecondOneIsToldWhoRecords)
{
    Records first;
    ASSERT_EQ(first.open(suite(), problem), Records::Opening::Opened);
    const QString holder =
        QStringLiteral("process %1 on %2").arg(getpid()).arg(QSysInfo::machineHostName());
    EXPECT_EQ(problemOfOpening(Records::Opening::Refused),
        inSuite("'SUITE/.talmo' is in use by ") + holder);
    EXPECT_EQ(contentOf(pathOf(".talmo/marker")),
        firstLine + QStringLiteral("in use by %1\n").arg(holder).toUtf8());
    first.close();
    EXPECT_FALSE(first.isOpen());
    EXPECT_EQ(contentOf(pathOf(".talmo/marker")), firstLine);
    problemOfOpening(Records::Opening::Opened);
}

TEST_F(RecordsTest, WhoHasNotSaidItsNameYetIsAnotherProcess)
{
    problemOfOpening(Records::Opening::Opened);
    for (const char *content : {"", firstLine, "results of talmo, format 1\nnonsense\n"}) {
        writeTo(pathOf(".talmo/marker"), content);
        const Descriptor marker(
            open(QFile::encodeName(pathOf(".talmo/marker")), O_RDWR | O_CLOEXEC));
        ASSERT_EQ(flock(marker.get(), LOCK_EX | LOCK_NB), 0);
        EXPECT_EQ(problemOfOpening(Records::Opening::Refused),
            inSuite("'SUITE/.talmo' is in use by another process"));
    }
}

TEST_F(RecordsTest, AProgramThatIsStartedDoesNotKeepTheLock)
{
    Pipe goOn;
    Records records;
    ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
    Pipe ready;
    const pid_t child = inChild([&] { // a program that goes on until its input ends
        dup2(goOn.ends[0], STDIN_FILENO);
        dup2(ready.ends[1], STDOUT_FILENO);
        execlp("sh", "sh", "-c", "echo; exec cat", nullptr);
        return false;
    });
    char byte = 0;
    EXPECT_EQ(read(ready.ends[0], &byte, 1), 1);
    records.close();
    problemOfOpening(Records::Opening::Opened);
    close(goOn.ends[1]);
    goOn.ends[1] = -1;
    EXPECT_TRUE(succeeded(child));
}

TEST_F(RecordsTest, ADirectoryThatCannotBeWrittenToIsToldApart)
{
    const auto isNotWritable = [this](const char *expected) {
        Records records;
        QString reason;
        return records.open(suite(), reason) == Records::Opening::NotWritable &&
               !records.isOpen() && reason == inSuite(expected);
    };
    ASSERT_EQ(chmod(QFile::encodeName(folder.path()), 0755), 0);
    ASSERT_EQ(chmod(suite(), 0555), 0);
    EXPECT_TRUE(
        asNobody([&] { return isNotWritable("cannot make 'SUITE/.talmo': Permission denied"); }));
    ASSERT_EQ(chmod(suite(), 0777), 0);
    EXPECT_TRUE(asNobody([&] {
        umask(0777);
        return isNotWritable("cannot open 'SUITE/.talmo': Permission denied");
    }));
    EXPECT_FALSE(QFile::exists(pathOf(".talmo"))); // it is not left there, where it is in the way
    ASSERT_EQ(chmod(suite(), 0755), 0);
    save(resultsOf({runOf("test1")}));
    const QByteArray marker = QFile::encodeName(pathOf(".talmo/marker"));
    ASSERT_EQ(chmod(marker, 0444), 0);
    EXPECT_TRUE(asNobody([&] {
        RunResults results;
        return isNotWritable("cannot write 'SUITE/.talmo/marker': Permission denied") &&
               Records::readLatest(suite(), SystemOut::Kept, results, problem) ==
                   Records::Reading::Read;
    }));
    ASSERT_EQ(chmod(QFile::encodeName(pathOf(".talmo")), 0), 0);
    EXPECT_TRUE(
        asNobody([&] { return isNotWritable("cannot open 'SUITE/.talmo': Permission denied"); }));
    ASSERT_EQ(chmod(QFile::encodeName(pathOf(".talmo")), 0755), 0);
    // What is not ours is refused also there.
    ASSERT_TRUE(QDir(pathOf(".talmo")).removeRecursively());
    put(Place::Directory, pathOf(".talmo"));
    EXPECT_TRUE(asNobody([&] {
        Records records;
        return records.open(suite(), problem) == Records::Opening::Refused;
    }));
}

TEST_F(RecordsTest, AReadOnlyDiskIsToldApart)
{
    if (!mayMount())
        GTEST_SKIP() << "mounting a disk is not allowed here";
    const auto isNotWritable = [this](const char *expected) {
        return succeeded(inChild([&] {
            const bool isMounted =
                mountPrivately() && mount(suite(), suite(), nullptr, MS_BIND, nullptr) == 0 &&
                mount(nullptr, suite(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
            Records records;
            QString reason;
            return isMounted && records.open(suite(), reason) == Records::Opening::NotWritable &&
                   reason == inSuite(expected);
        }));
    };
    EXPECT_TRUE(isNotWritable("cannot make 'SUITE/.talmo': Read-only file system"));
    save(resultsOf({runOf("test1")}));
    EXPECT_TRUE(isNotWritable("cannot write 'SUITE/.talmo/marker': Read-only file system"));
}

TEST_F(RecordsTest, ADirectoryThatDoesNotExistIsRefused)
{
    Records records;
    EXPECT_EQ(records.open(suite() + "/none", problem), Records::Opening::Refused);
    EXPECT_EQ(problem, inSuite("cannot make 'SUITE/none/.talmo': No such file or directory"));
    EXPECT_FALSE(Records().save(resultsOf({}), problem)); // and there it was never opened
}

TEST_F(RecordsTest, ANameThatIsNoTextIsNoProblem)
{
    const QByteArray odd = suite() + "/\xff\n";
    ASSERT_EQ(mkdir(odd, 0777), 0);
    Records records;
    ASSERT_EQ(records.open(odd, problem), Records::Opening::Opened) << problem.toStdString();
    EXPECT_TRUE(records.save(resultsOf({runOf("test1")}), problem)) << problem.toStdString();
    RunResults results;
    EXPECT_EQ(Records::readLatest(odd, SystemOut::Kept, results, problem), Records::Reading::Read);
    EXPECT_TRUE(removeDir(odd)); // Qt cannot
}

TEST_F(RecordsTest, TheFolderMayBeRemovedMeanwhile)
{
    addScripts({"test1"});
    save(resultsOf({runOf("test1")}));
    for (const char *removed : {".talmo", ".talmo/runs", ".talmo/marker", ".talmo/latest.xml"}) {
        SCOPED_TRACE(removed);
        Records records;
        ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
        ASSERT_TRUE(QFileInfo(pathOf(removed)).isDir() ? QDir(pathOf(removed)).removeRecursively()
                                                       : QFile::remove(pathOf(removed)));
        if (removed == QByteArray(".talmo/marker")) { // so it is nobody's
            EXPECT_FALSE(records.save(resultsOf({runOf("test2")}), problem));
            EXPECT_EQ(
                problem, inSuite("'SUITE/.talmo' is not a folder of results: it has no marker"));
            writeTo(pathOf(".talmo/marker"), "");
        }
        EXPECT_TRUE(records.save(resultsOf({runOf("test2")}), problem)) << problem.toStdString();
        EXPECT_TRUE(namesOf(latest()).contains("test2"));
        EXPECT_EQ(entries(), QStringList({".gitignore", "latest.xml", "marker", "runs"}));
        // And the new folder is locked.
        problemOfOpening(Records::Opening::Refused);
    }
}

TEST_F(RecordsTest, TheFolderMayBeMadeAgainByAnother)
{
    Records records;
    ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
    ASSERT_TRUE(QDir(pathOf(".talmo")).removeRecursively());
    Records other;
    ASSERT_EQ(other.open(suite(), problem), Records::Opening::Opened);
    EXPECT_FALSE(records.save(resultsOf({runOf("test1")}), problem));
    EXPECT_TRUE(problem.startsWith(inSuite("'SUITE/.talmo' is in use by process ")));
    EXPECT_TRUE(other.save(resultsOf({runOf("test2")}), problem));
    EXPECT_EQ(namesOf(latest()), QStringList("test2"));
}

TEST_F(RecordsTest, TheFolderMayBeRemovedBeforeItIsLocked)
{
    int attempts = 0;
    beforeLocking = [this, &attempts] {
        if (++attempts <= 2) {
            EXPECT_TRUE(QDir(pathOf(".talmo")).removeRecursively());
        }
    };
    Records records;
    EXPECT_EQ(records.open(suite(), problem), Records::Opening::Opened);
    EXPECT_EQ(attempts, 3);
    EXPECT_EQ(entries(), QStringList({".gitignore", "marker"}));
    problemOfOpening(Records::Opening::Refused);
    records.close();
    // For ever would be too long.
    beforeLocking = [this] { QDir(pathOf(".talmo")).removeRecursively(); };
    EXPECT_EQ(records.open(suite(), problem), Records::Opening::Refused);
    EXPECT_EQ(problem, inSuite("'SUITE/.talmo' is removed again and again"));
    beforeLocking = nullptr;
}

TEST_F(RecordsTest, TheFolderMayBeReplacedByALink)
{
    Records records;
    ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
    ASSERT_TRUE(QDir(folder.path()).rename("suite/.talmo", "moved"));
    ASSERT_TRUE(QDir(folder.path()).mkdir("target"));
    ASSERT_TRUE(QFile::link(folder.filePath("target"), pathOf(".talmo")));
    EXPECT_FALSE(records.save(resultsOf({runOf("test1")}), problem));
    EXPECT_EQ(problem, inSuite("'SUITE/.talmo' is not a folder of results: it is a link"));
    EXPECT_TRUE(QDir(folder.filePath("target")).isEmpty());
}

TEST_F(RecordsTest, NothingIsWrittenThroughWhatHasANameOfOurs)
{
    const struct {
        const char *name;
        Place place;
        const char *reading; ///< what makes it Damaged; null: it is Absent
        const char *saving; ///< what makes it fail; null: nothing, and what is Damaged is set aside
    } rows[] = {
        {"latest.xml", Place::Link, "cannot read 'SUITE/.talmo/latest.xml': It is no regular file",
            nullptr},
        {"latest.xml", Place::Fifo, "cannot read 'SUITE/.talmo/latest.xml': It is no regular file",
            nullptr},
        {"latest.xml", Place::Directory, "cannot read 'SUITE/.talmo/latest.xml': Is a directory",
            nullptr},
        {"latest.xml", Place::File, "SUITE/.talmo/latest.xml: it is no result file of talmo",
            nullptr},
        {"runs", Place::Link, nullptr, "cannot write 'SUITE/.talmo/runs': Not a directory"},
        {"runs", Place::Fifo, nullptr, "cannot write 'SUITE/.talmo/runs': Not a directory"},
        {"unfinished", Place::Link, nullptr, nullptr},
        {"unfinished", Place::Fifo, nullptr, nullptr},
        {"unfinished", Place::File, nullptr, nullptr},
        {".gitignore", Place::Link, nullptr, nullptr},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name + std::to_string(static_cast<int>(row.place)));
        problemOfOpening(Records::Opening::Opened);
        const QString path = pathOf(QStringLiteral(".talmo/") + row.name);
        QFile::remove(path);
        put(row.place, path);
        latest(row.reading == nullptr ? Records::Reading::Absent : Records::Reading::Damaged);
        EXPECT_EQ(problem, row.reading == nullptr ? QString() : inSuite(row.reading));
        Records records;
        ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
        problem = QString();
        EXPECT_EQ(records.save(resultsOf({runOf("test1")}), problem),
            row.saving == nullptr && row.reading == nullptr);
        if (row.saving != nullptr) {
            EXPECT_EQ(problem, inSuite(row.saving));
        } else {
            EXPECT_EQ(
                problem, row.reading == nullptr ? QString() : setAside() + inSuite(row.reading));
            EXPECT_EQ(namesOf(latest()), QStringList("test1"));
        }
        EXPECT_TRUE(QDir(path + ".target").isEmpty());
        records.close();
        ASSERT_TRUE(QDir(pathOf(".talmo")).removeRecursively());
    }
}

TEST_F(RecordsTest, DamagedResultsAreToldOnceAndSetAside)
{
    addScripts({"test1", "test2"});
    const QString path = pathOf(".talmo/latest.xml");
    for (const bool isReadBefore : {false, true}) {
        SCOPED_TRACE(isReadBefore);
        save(resultsOf({runOf("test1"), runOf("test2")}));
        const QByteArray half = contentOf(path).left(contentOf(path).size() / 2);
        ASSERT_TRUE(QFile::remove(path)); // the file of the invocation is the same one
        writeTo(path, half);
        EXPECT_TRUE(latest(Records::Reading::Damaged).runs.empty());
        EXPECT_TRUE(problem.startsWith(inSuite("SUITE/.talmo/latest.xml:")));
        EXPECT_TRUE(problem.contains(": it is damaged: ")) << problem.toStdString();
        const QString damage = problem;
        Records records;
        RunResults results;
        ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
        if (isReadBefore) {
            EXPECT_EQ(records.readLatest(SystemOut::PassedOver, results, problem),
                Records::Reading::Damaged);
        }
        problem.clear();
        EXPECT_FALSE(records.save(resultsOf({runOf("test2")}), problem));
        EXPECT_EQ(problem, setAside() + damage);
        EXPECT_EQ(contentOf(path + ".damaged"), half);
        EXPECT_EQ(namesOf(latest()), QStringList("test2"));
        problem.clear();
        EXPECT_TRUE(records.save(resultsOf({runOf("test1")}), problem)) << problem.toStdString();
        EXPECT_EQ(namesOf(latest()), QStringList({"test1", "test2"}));
    }
}

TEST_F(RecordsTest, DamagedResultsStayWhereTheyAreUntilOthersTakeTheirPlace)
{
    const QString path = pathOf(".talmo/latest.xml");
    // As latest results this is longer than as an invocation, though of two runs one is left.
    const RunResults invocation = resultsOf({runOf("a"), runOf("a")});
    Records records;
    ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
    writeTo(path, "x");
    {
        const SmallDisk disk(static_cast<rlim_t>(documentOf(invocation).size()) + 10);
        EXPECT_FALSE(records.save(invocation, problem));
    }
    EXPECT_EQ(problem, inSuite("cannot write 'SUITE/.talmo/latest.xml': File too large"));
    EXPECT_EQ(contentOf(path), "x");
    EXPECT_EQ(entries(), QStringList({".gitignore", "latest.xml", "marker", "runs"}));
    put(Place::Directory, path + ".damaged");
    EXPECT_FALSE(records.save(invocation, problem));
    EXPECT_EQ(problem, inSuite("cannot write 'SUITE/.talmo/latest.xml.damaged': Is a directory"));
    EXPECT_EQ(contentOf(path), "x");
}

TEST_F(RecordsTest, AFullDiskIsReportedAndLeavesWhatWasThere)
{
    addScripts({"test1", "test2", "test3"});
    save(resultsOf({runOf("test1")}));
    const QByteArray before = contentOf(pathOf(".talmo/latest.xml"));
    const QStringList runs = entries(".talmo/runs");
    Records records;
    ASSERT_EQ(records.open(suite(), problem), Records::Opening::Opened);
    {
        const SmallDisk disk(100);
        EXPECT_FALSE(records.save(resultsOf({runOf("test2")}), problem));
    }
    EXPECT_TRUE(problem.startsWith(inSuite("cannot write 'SUITE/.talmo/runs/2")));
    EXPECT_TRUE(problem.endsWith(".xml': File too large"));
    EXPECT_EQ(contentOf(pathOf(".talmo/latest.xml")), before);
    EXPECT_EQ(entries(".talmo/runs"), runs);
    // Room for the invocation, but not for all results.
    const auto size = static_cast<rlim_t>(before.size());
    {
        const SmallDisk disk(size + 20);
        EXPECT_FALSE(records.save(resultsOf({runOf("test2")}), problem));
    }
    EXPECT_EQ(problem, inSuite("cannot write 'SUITE/.talmo/latest.xml': File too large"));
    EXPECT_EQ(contentOf(pathOf(".talmo/latest.xml")), before);
    EXPECT_EQ(entries(), QStringList({".gitignore", "latest.xml", "marker", "runs"}));
    EXPECT_TRUE(records.save(resultsOf({runOf("test2")}), problem));
    records.close();
    ASSERT_TRUE(QDir(pathOf(".talmo")).removeRecursively());
    {
        const SmallDisk disk(10);
        EXPECT_EQ(problemOfOpening(Records::Opening::Refused),
            inSuite("cannot write 'SUITE/.talmo/marker': File too large"));
    }
}

TEST_F(RecordsTest, AFullDiskLeavesNothingThatIsInTheWayLater)
{
    // before: what is there, and what the disk takes; afterwards: what is still there
    const struct {
        const char *title;
        bool isFolder;
        const char *marker; ///< null: there is none
        bool hasOther;      ///< another file in the folder
        QStringList left;   ///< of the folder, if it stays
    } rows[] = {
        {"nothing", false, nullptr, false, {}},
        {"a folder", true, nullptr, false, {}},
        {"an empty marker", true, "", false, {}},
        {"half a marker", true, "results of t", false, {}},
        {"half a marker and more", true, "results of t", true, {"marker", "other"}},
        {"a marker", true, firstLine, false, {}},
        {"a marker and more", true, firstLine, true, {"marker", "other"}},
    };
    const auto isEndOfRoom = [this](int room) {
        roomOnDisk = room;
        const QString reason = problemOfOpening(Records::Opening::Refused);
        roomOnDisk = -1;
        EXPECT_EQ(reason, inSuite("cannot write 'SUITE/.talmo/marker': No space left on device"));
    };
    for (const auto &row : rows) {
        for (const int room : {0, 10, 27, 40}) {
            SCOPED_TRACE(row.title + std::to_string(room));
            if (row.isFolder)
                put(Place::EmptyDirectory, pathOf(".talmo"));
            if (row.marker != nullptr)
                writeTo(pathOf(".talmo/marker"), row.marker);
            if (row.hasOther)
                writeTo(pathOf(".talmo/other"), "x");
            isEndOfRoom(room);
            EXPECT_EQ(QFile::exists(pathOf(".talmo")), row.isFolder);
            EXPECT_EQ(entries(), row.left);
            if (row.hasOther) {
                EXPECT_TRUE(QByteArray(firstLine).startsWith(contentOf(pathOf(".talmo/marker"))));
            }
            problemOfOpening(Records::Opening::Opened);
            QDir(pathOf(".talmo")).removeRecursively();
        }
    }
}

TEST_F(RecordsTest, NobodyIsForgottenAndReadersSeeWholeDocuments)
{
    constexpr int savers = 20;
    std::vector<pid_t> children;
    QStringList names;
    for (int number = 0; number < savers; ++number)
        names += QStringLiteral("test%1").arg(number);
    addScripts(names);
    for (const QString &name : names) {
        children.push_back(inChild([&] {
            Records records;
            QString reason;
            return openPatiently(records, suite()) &&
                   records.save(resultsOf({runOf(name)}), reason);
        }));
    }
    // The folder comes into being meanwhile.
    int ended = 0;
    while (ended < savers) {
        RunResults results;
        QString reason;
        ASSERT_NE(Records::readLatest(suite(), SystemOut::Kept, results, reason),
            Records::Reading::Damaged)
            << reason.toStdString();
        int status = -1;
        const pid_t child = waitpid(-1, &status, WNOHANG);
        ASSERT_GE(child, 0);
        if (child == 0)
            continue;
        ++ended;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    QStringList saved = namesOf(latest());
    saved.sort();
    names.sort();
    EXPECT_EQ(saved, names);
    EXPECT_EQ(entries(".talmo/runs").size(), 10);
    EXPECT_EQ(contentOf(pathOf(".talmo/marker")), firstLine);
}

TEST_F(RecordsTest, TwoThatRecordAtOnceDoNotSpoilEachOther)
{
    addScripts({"one", "two"});
    constexpr int invocations = 30;
    const auto saveOften = [this](const char *name) {
        QString reason;
        bool isSaved = true;
        for (int count = 0; count < invocations && isSaved; ++count) {
            Records records;
            isSaved =
                openPatiently(records, suite()) && records.save(resultsOf({runOf(name)}), reason);
        }
        return isSaved;
    };
    const pid_t child = inChild([&] { return saveOften("one"); });
    EXPECT_TRUE(saveOften("two"));
    EXPECT_TRUE(succeeded(child));
    QStringList names = namesOf(latest());
    names.sort();
    EXPECT_EQ(names, QStringList({"one", "two"}));
}

TEST_F(RecordsTest, SomebodyMayRemoveTheFolderAgainAndAgain)
{
    constexpr int invocations = 50;
    Pipe done;
    const pid_t remover = inChild([&] {
        close(done.ends[1]);
        fcntl(done.ends[0], F_SETFL, O_NONBLOCK);
        char byte = 0;
        while (read(done.ends[0], &byte, 1) != 0)
            QDir(pathOf(".talmo")).removeRecursively();
        return true;
    });
    for (int count = 0; count < invocations; ++count) {
        Records records;
        QString reason;
        // It may meet the folder when its marker is gone and the rest is not. But it never hangs,
        // and never leaves half a file.
        if (records.open(suite(), reason) == Records::Opening::Opened)
            records.save(resultsOf({runOf("test1")}), reason);
        RunResults results;
        Records::readLatest(suite(), SystemOut::Kept, results, reason);
        EXPECT_FALSE(reason.contains("it is damaged")) << reason.toStdString();
    }
    close(done.ends[1]);
    done.ends[1] = -1;
    EXPECT_TRUE(succeeded(remover));
    QDir(pathOf(".talmo")).removeRecursively();
    save(resultsOf({runOf("test1")}));
    EXPECT_EQ(namesOf(latest()), QStringList("test1"));
}
