#include "SuiteOptions.h"
#include "Printing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <memory>

#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// A suite that is chosen by the arguments of a command, in a working directory of its own.
class SuiteOptionsTest : public testing::Test
{
protected:
    SuiteOptionsTest()
        : before(QDir::currentPath())
        , pathBefore(qgetenv("PATH"))
        , path(QDir(folder.path()).canonicalPath())
        , chosen(std::make_unique<ChosenSuite>())
    {
        QDir::setCurrent(path);
        QDir().mkpath("tmp");
        qputenv("TMPDIR", QFile::encodeName(path + "/tmp"));
        write("test1", "=heading\n=simprogram *\n");
        write("sim1", "#!/bin/sh\n");
        QFile::setPermissions("sim1", QFile::ReadOwner | QFile::ExeOwner);
    }
    ~SuiteOptionsTest() override
    {
        chosen.reset();
        qunsetenv("TMPDIR");
        qputenv("PATH", pathBefore);
        QDir::setCurrent(before);
    }

    void write(const QString &name, const QByteArray &content)
    {
        QFile file(name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    /// Finds the suite, and returns what is printed on standard error.
    std::string find(const QStringList &arguments, SuitePurpose purpose)
    {
        CommandLine line("name", "description");
        addSuiteOptions(line);
        EXPECT_FALSE(line.read(arguments));
        testing::internal::CaptureStderr();
        const bool isFound = chosen->find(line, purpose);
        std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_EQ(isFound, errors.empty());
        return errors;
    }

    QStringList temporaryFiles() const
    {
        return QDir(path + "/tmp").entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    QTemporaryDir folder;
    QString before;
    QByteArray pathBefore;
    QString path; ///< of the working directory
    std::unique_ptr<ChosenSuite> chosen;
};

} // namespace

TEST_F(SuiteOptionsTest, ToRunTheProgramsComeFirstInThePath)
{
    EXPECT_EQ(find({"--program", "sim1=sim1"}, SuitePurpose::ToRun), "");
    ASSERT_EQ(chosen->suite.runs.size(), 1U);
    EXPECT_EQ(chosen->suite.runs[0].name, "test1(sim1)");
    ASSERT_EQ(temporaryFiles().size(), 1);
    const QString first = path + "/tmp/" + temporaryFiles()[0];
    EXPECT_EQ(qgetenv("PATH"), QFile::encodeName(first) + ':' + pathBefore);
    EXPECT_EQ(access(QFile::encodeName(first + "/sim1"), X_OK), 0);
    chosen.reset();
    EXPECT_EQ(temporaryFiles(), QStringList());
}

TEST_F(SuiteOptionsTest, ToListNothingIsChanged)
{
    EXPECT_EQ(find({"--program", "sim1=sim1"}, SuitePurpose::ToList), "");
    EXPECT_EQ(chosen->suite.runs.size(), 1U);
    EXPECT_EQ(temporaryFiles(), QStringList());
    EXPECT_EQ(qgetenv("PATH"), pathBefore);
}

TEST_F(SuiteOptionsTest, WithAProblemNothingIsChangedEither)
{
    EXPECT_EQ(find({"--program", "sim1=sim1", "test1", "none"}, SuitePurpose::ToRun),
        "talmo: name: the filter 'none' matches nothing in '" + path.toStdString() + "'\n");
    EXPECT_EQ(temporaryFiles(), QStringList());
    EXPECT_EQ(qgetenv("PATH"), pathBefore);
}

TEST_F(SuiteOptionsTest, AProgramThatCannotBePutThereIsAProblem)
{
    qputenv("TMPDIR", "/nowhere");
    EXPECT_EQ(find({"--program", "sim1=sim1"}, SuitePurpose::ToRun),
        "talmo: name: cannot make a folder for the programs in '/nowhere': No such file or "
        "directory\n");
}

TEST_F(SuiteOptionsTest, TheDirectoryIsTheCurrentOneAfterwards)
{
    ASSERT_TRUE(QDir().mkdir("suite"));
    ASSERT_TRUE(QFile::copy("test1", "suite/test2"));
    EXPECT_EQ(find({"-C", "suite", "--program", "sim1=../sim1"}, SuitePurpose::ToRun), "");
    EXPECT_EQ(chosen->suite.work, QFile::encodeName(path + "/suite"));
    EXPECT_EQ(QDir::currentPath(), path + "/suite");
    ASSERT_EQ(chosen->suite.runs.size(), 1U);
    EXPECT_EQ(chosen->suite.runs[0].name, "test2(sim1)");
}
