// talmo bless and what git says

#include "BlessFixture.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace
{

class BlessGitTest : public BlessFixture
{
};

} // namespace

TEST_F(BlessGitTest, AsksGitWhetherSomethingWouldBeLost)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    git({"init", "-q", "."});
    // What a repository wants to have run does not run.
    write(".git/hooks/post-index-change", "#!/bin/sh\necho >'" + work.toUtf8() + "/hook'\n");
    ASSERT_EQ(chmod(QFile::encodeName(work + "/.git/hooks/post-index-change"), 0700), 0);
    EXPECT_EQ(make().status, 1);
    const auto refusal = [](const QByteArray &reason) {
        return "talmo: bless: test1: 'test1' cannot be replaced: " + reason +
               "; --force replaces it all the same\n";
    };
    expectBless({"--apply"}, "", refusal("it was never committed to git"), 1);
    EXPECT_EQ(run({"bless"}).status, 0);
    git({"add", "test1"});
    expectBless({"--apply"}, "", refusal("it has changes that are not committed to git"), 1);
    git({"commit", "-q", "-m", "subject"});
    QFile::remove(work + "/hook");
    expectBless({"--apply"}, blessed, "", 0);
    EXPECT_FALSE(exists("hook"));
    addModels({"model"}, "1 2\n3 6\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, "", refusal("it has changes that are not committed to git"), 1);
    expectBless({"--apply", "--force"}, blessed, "", 0);
    EXPECT_EQ(make().status, 0);
    addModels({"model"}, "1 2\n3 7\n");
    EXPECT_EQ(make().status, 1);
    write(".git/config", "[core]\nrepositoryformatversion = 99\n");
    expectBless({"--apply"}, "", refusal("git cannot tell whether it has uncommitted changes"), 1);
}

TEST_F(BlessGitTest, AsksGitAboutEachFileOfEachRepository)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    const QStringList clean = {"a/r*f", "a/r'\"\\f", "a/b/-f", "inner/f", "inner/deep/f",
        "linked/f", "./:(top)", "r[1]", QString::fromUtf8("r\xC3\xA9")};
    const QStringList never = {"a/new", "fresh/new", "ignored/f", "inner/new", "r1"};
    const QStringList changed = {"a/changed", "inner/staged", "place"};
    const QStringList unknown = {"a/sparse", "inner/assumed", "damaged/f"};
    write("place/f", "1\n");
    for (const QString &name : clean + changed + unknown) {
        if (name != "place")
            write(name, "1\n");
    }
    addModels({"model"}, "5\n");
    for (const QString repository : {".", "inner"}) {
        git({"init", "-q", repository});
        write(repository + "/.git/info/exclude", "ignored\n");
    }
    ASSERT_TRUE(QDir(work).rename("linked", "target"));
    ASSERT_TRUE(QFile::link("target", work + "/linked"));
    for (const QString repository : {"inner", "."}) {
        git({"-C", repository, "add", "."});
        git({"-C", repository, "commit", "-q", "-m", "subject"});
    }
    git({"update-index", "--skip-worktree", "a/sparse"});
    git({"-C", "inner", "update-index", "--assume-unchanged", "assumed"});
    write("damaged/.git", "gitdir: /nowhere\n");
    write("a/changed", "2\n");
    write("inner/staged", "2\n");
    git({"-C", "inner", "add", "staged"});
    ASSERT_TRUE(QDir(work + "/place").removeRecursively());
    write("place", "1\n");
    for (const QString &name : never)
        write(name, "1\n");
    const QStringList all = clean + never + changed + unknown;
    for (int index = 0; index < all.size(); ++index)
        write("test" + QString::number(index + 10),
            "=heading\n=run model\n=compare out.dat ../" + all[index].toUtf8() + '\n');
    EXPECT_EQ(make().status, 1);
    const Outcome outcome = run({"bless", "--apply"});
    EXPECT_EQ(outcome.status, 1);
    const QString errors = QString::fromUtf8(outcome.errors);
    const auto expectRefused = [&](const QStringList &names, const QString &reason) {
        for (const QString &name : names) {
            EXPECT_TRUE(errors.contains("'" + name + "' cannot be replaced: " + reason + ";"))
                << name.toStdString();
            EXPECT_NE(read(name), "5\n") << name.toStdString();
        }
    };
    expectRefused(never, "it was never committed to git");
    expectRefused(changed, "it has changes that are not committed to git");
    expectRefused(unknown, "git cannot tell whether it has uncommitted changes");
    EXPECT_EQ(errors.count('\n'), all.size() - clean.size()) << outcome.errors.toStdString();
    for (const QString &name : clean)
        EXPECT_EQ(read(name), "5\n") << name.toStdString();
}

TEST_F(BlessGitTest, AsksGitOnceForAllFiles)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    addModels({"model"}, "5\n");
    for (int index = 10; index < 30; ++index) {
        const QString name = "refs" + QString::number(index) + "/ref";
        write(name, "1\n");
        write("test" + QString::number(index),
            "=heading\n=run model\n=compare out.dat ../" + name.toUtf8() + '\n');
    }
    git({"init", "-q", "."});
    git({"add", "."});
    git({"commit", "-q", "-m", "subject"});
    addProgram("git", "echo >>'" + work.toUtf8() + "/asked'\nexec /usr/bin/git \"$@\"\n");
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(read("asked"), "\n\n\n");
}

TEST_F(BlessGitTest, TakesNoSilenceOfGitForItsConsent)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    git({"init", "-q", "."});
    write(".git/info/exclude", "test1\n");
    EXPECT_EQ(make().status, 1);
    const auto expectRefusal = [this](const QByteArray &reason) {
        expectBless({"--apply"}, "",
            "talmo: bless: test1: 'test1' cannot be replaced: " + reason +
                "; --force replaces it all the same\n",
            1);
    };
    expectRefusal("it was never committed to git"); // and is ignored
    git({"add", "-f", "test1"});
    git({"commit", "-q", "-m", "subject"});
    git({"update-index", "--assume-unchanged", "test1"});
    write("test1", simple + "#\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray silence = "git cannot tell whether it has uncommitted changes";
    expectRefusal(silence);
    // As below a hook of git, whose repository is relative to another folder.
    environment["GIT_DIR"] = "elsewhere/.git";
    expectRefusal(silence);
    environment.remove("GIT_DIR");
    ASSERT_TRUE(QFile::rename(work + "/.git", work + "/kept"));
    write(".git", "gitdir: /nowhere\n");
    expectRefusal(silence);
}
