// talmo bless --undo

#include "BlessFixture.h"

#include <QDir>

namespace
{

class BlessUndoTest : public BlessFixture
{
};

} // namespace

TEST_F(BlessUndoTest, BringsBackWhatItHasReplaced)
{
    addProgram("model", "echo 5 >out.dat\nprintf '\\377' >bytes\n");
    const QByteArray script = "=heading\r\n=file ref\r\n1\r\n=run model\r\n=compare out.dat ref\r\n"
                              "=compare bytes ../r\xC3\xA9"
                              "f\r\n";
    write("test1", script);
    write(QString::fromUtf8("r\xC3\xA9"
                            "f"),
        "old\xFE");
    EXPECT_EQ(make().status, 1);
    expectBless(
        {"--undo"}, "", "talmo: bless: nothing was blessed that could be brought back\n", 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(make().status, 0);
    addProgram("model", "echo 6 >out.dat\nprintf '\\377' >bytes\n");
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    expectBless({"--undo"}, "brought back 'test1'\n", "", 0);
    const QByteArray first = read("test1");
    write("test1", first + "# mine\r\n");
    expectBless({"--undo"}, "",
        "talmo: bless: 'test1' was changed since it was blessed, and stays as it is\n", 1);
    EXPECT_EQ(read(QString::fromUtf8("r\xC3\xA9"
                                     "f")),
        "\xFF");
    write("test1", first);
    expectBless({"--undo"},
        "brought back 'r\xC3\xA9"
        "f'\nbrought back 'test1'\n",
        "", 0);
    EXPECT_EQ(read("test1"), script);
    EXPECT_EQ(read(QString::fromUtf8("r\xC3\xA9"
                                     "f")),
        "old\xFE");
    expectBless(
        {"--undo"}, "", "talmo: bless: nothing was blessed that could be brought back\n", 1);
}

TEST_F(BlessUndoTest, KeepsNothingIfNothingWasReplaced)
{
    // The name is so long that the file which shall take its place can have none until it is whole.
    const QString name = "r/" + QString(250, 'e');
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    write("test2", "=heading\n=run model\n=compare out.dat ../" + name.toUtf8() + '\n');
    write(name, "1\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray reason = "talmo: bless: cannot write '" + work.toUtf8() + '/' + name.toUtf8() +
                              "': File name too long\n";
    const QByteArray nothing = "talmo: bless: nothing was blessed that could be brought back\n";
    expectBless({"--apply", "test2"}, "", reason, 1);
    EXPECT_FALSE(exists(".talmo/blessed"));
    expectBless({"--undo"}, "", nothing, 1);
    expectBless({"--apply", "test1"}, blessed, "", 0);
    const QStringList kept = entries().filter(".talmo/blessed/");
    expectBless({"--apply", "test2"}, "", reason, 1);
    EXPECT_EQ(entries().filter(".talmo/blessed/"), kept);
    expectBless({"--undo"}, "brought back 'test1'\n", "", 0);
    EXPECT_EQ(read("test1"), simple);
    EXPECT_EQ(read(name), "1\n");
    EXPECT_FALSE(exists(".talmo/blessed"));
    expectBless({"--undo"}, "", nothing, 1);
}

TEST_F(BlessUndoTest, SaysThatNothingHadToBeBroughtBack)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, blessed, "", 0);
    write("test1", simple);
    expectBless({"--undo"},
        "nothing had to be brought back: all is as it was before the latest --apply\n", "", 0);
    expectBless(
        {"--undo"}, "", "talmo: bless: nothing was blessed that could be brought back\n", 1);
}

TEST_F(BlessUndoTest, SaysThatWhatItHasKeptIsDamaged)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, blessed, "", 0);
    const QByteArray text = read("test1");
    const QString moment =
        QDir(work + "/.talmo/blessed").entryList(QDir::NoDotAndDotDot | QDir::Dirs)[0];
    const QString place = ".talmo/blessed/" + moment;
    EXPECT_EQ(read(place + "/1"), simple);
    const QByteArray manifest = read(place + "/manifest.json");
    write(place + "/1", "damaged");
    expectBless({"--undo"}, "", "talmo: bless: what 'test1' was is damaged\n", 1);
    write(place + "/manifest.json", "{\"files\": [{\"path\": \"test1\"}]}");
    expectBless({"--undo"}, "",
        "talmo: bless: '" + work.toUtf8() + '/' + place.toUtf8() +
            "' cannot be used: its manifest is damaged\n",
        1);
    EXPECT_EQ(read("test1"), text);
    write(place + "/manifest.json", manifest);
    write(place + "/1", simple);
    expectBless({"--undo"}, "brought back 'test1'\n", "", 0);
    EXPECT_EQ(read("test1"), simple);
}
