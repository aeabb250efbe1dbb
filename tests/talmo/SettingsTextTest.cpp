// The text of a file of settings, and what becomes of it when one value changes.

#include "changeSettingsText.h"

#include "Printing.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <random>

using namespace Talmo;

namespace
{

/// What Qt keeps in files of its own, each of which it has never seen before.
class SettingsText : public testing::Test
{
protected:
    /// \a text as settings.
    std::unique_ptr<QSettings> settingsOf(const QByteArray &text)
    {
        name = folder.filePath(QString::number(++count));
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        auto store = std::make_unique<QSettings>(name, QSettings::IniFormat);
#if QT_VERSION_MAJOR < 6
        store->setIniCodec("UTF-8");
#endif
        return store;
    }

    QString valueIn(const QByteArray &text, const QString &key)
    {
        return settingsOf(text)->value(key).toString();
    }

    /// What Qt makes of \a text when it saves \a value for \a key.
    QByteArray savedByQt(const QByteArray &text, const QString &key, const QString &value)
    {
        settingsOf(text)->setValue(key, value);
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// Expects that \a change makes \a after out of \a before.
    static void expectChange(
        const QByteArray &before, const SettingsChange &change, const QByteArray &after)
    {
        SCOPED_TRACE(before.toStdString());
        QByteArray text = before;
        QString problem;
        EXPECT_EQ(changeSettingsText(text, change, problem), AllIsWell);
        EXPECT_EQ(problem, QString());
        EXPECT_EQ(text, after);
    }

private:
    QTemporaryDir folder;
    QString name;
    int count = 0;
};

const QString iconSize = QStringLiteral("IconSize");
const SettingsChange toFive = {iconSize, QStringLiteral("5")};
const SettingsChange toNothing = {iconSize, {}};

/// A text of the characters and sequences that mean something in settings, and of others.
QString randomText(std::mt19937 &random)
{
    const QString pieces[] = {"a", "Z", "7", " ", "  ", "\t", "\n", "\r", "\r\n", "\\", "\\n",
        "\\x41", "\"", "'", ";", "#", "=", ",", ", ", "[", "]", "/", "%", "%41", "@", "@@",
        "@Invalid()", "@ByteArray(", ")", "true", "1e5", "-", QString(QChar(0x01)),
        QString(QChar(0x0F)), QString(QChar(0x1B)), QString(QChar(0x7F)), QString(QChar(0x80)),
        QString(QChar(0xA0)), QString(QChar(0xE4)), QString(QChar(0x20AC)), QString(QChar(0x2028)),
        QString(QChar(0xFEFF)), QString(QChar(0xFFFD)), QString(QChar(0xFFFE)),
        QString::fromUtf8("\xF0\x9F\x98\x80")};
    QString text;
    for (auto length = random() % 8; length > 0; --length)
        text += pieces[random() % std::size(pieces)];
    return text;
}

} // namespace

TEST_F(SettingsText, TheLineOfTheKeyChangesAndNothingElse)
{
    const struct {
        QByteArray before;
        SettingsChange change;
        QByteArray after;
    } rows[] = {
        {"", toFive, "[General]\nIconSize=5\n"},
        {"; mine\n# too\n[General]\n; icons\nIconSize=48\n<<<<\nx=\xE4\n", toFive,
            "; mine\n# too\n[General]\n; icons\nIconSize=5\n<<<<\nx=\xE4\n"},
        {"[a]\nIconSize=1\n[general]\nx=1\n\n[b]\nIconSize=2\n", toFive,
            "[a]\nIconSize=1\n[general]\nx=1\nIconSize=5\n\n[b]\nIconSize=2\n"},
        {"[a]\nIconSize=1\n", toFive, "[General]\nIconSize=5\n\n[a]\nIconSize=1\n"},
        {"; a=b\n\n[a]\nx=1\n", toFive, "; a=b\n[General]\nIconSize=5\n\n\n[a]\nx=1\n"},
        {"x=1", toFive, "x=1\nIconSize=5\n"},
        {"[General]\nx=1\n[a]\nb=1\n[General]\ny=1\n", toFive,
            "[General]\nx=1\nIconSize=5\n[a]\nb=1\n[General]\ny=1\n"},
        {"[General]\nIconSize=1\n; x\n[a]\nb=1\n[General]\nIconSize=2\n", toNothing,
            "[General]\n; x\n[a]\nb=1\n[General]\n"},
        {"IconSize=1\n", toNothing, ""},
        {"IconSize=1", toFive, "IconSize=5"},
        {"[General]\nIconSize=5\n", toFive, "[General]\nIconSize=5\n"},
        {"[General]\nIconSizes=1\nIconSize.x=2\n", toNothing,
            "[General]\nIconSizes=1\nIconSize.x=2\n"},
        {"[General]\n; IconSize=1\n#IconSize=2\n", toFive,
            "[General]\n; IconSize=1\n#IconSize=2\nIconSize=5\n"},
    };
    for (const auto &row : rows)
        expectChange(row.before, row.change, row.after);
}

TEST_F(SettingsText, ACommentBehindTheValueStays)
{
    ASSERT_EQ(valueIn("IconSize=32 ; mine\n", iconSize), "32"); // it is no part of the value
    const struct {
        QByteArray before;
        SettingsChange change;
        QByteArray after;
    } rows[] = {
        {"IconSize=32 ; mine\nx=1\n", toFive, "IconSize=5 ; mine\nx=1\n"},
        {"IconSize=32;mine=2\n", toFive, "IconSize=5;mine=2\n"},
        {"IconSize=\"3;2\" ; \"mine\n", toFive, "IconSize=5 ; \"mine\n"},
        {"IconSize=3\\;2;mine\\\nx=1\n", toFive, "IconSize=5;mine\\\nx=1\n"},
        {"IconSize=; mine\n", toFive, "IconSize=5; mine\n"},
        {"IconSize=32 ; mine\nx=1\n", toNothing, "; mine\nx=1\n"},
        {"IconSize=1 ; a\nIconSize=2 ; b\n", toFive, "; a\nIconSize=5 ; b\n"},
        {"IconSize=32 # no comment\n", toFive, "IconSize=5\n"},
        {"x=1\nIconSize ; y = 1\n", toFive, "x=1\nIconSize ; y = 1\nIconSize=5\n"}, // no value
    };
    for (const auto &row : rows)
        expectChange(row.before, row.change, row.after);
}

TEST_F(SettingsText, ALineWithAnOpenQuoteStaysWithAllThatItHides)
{
    const QByteArray open = "# don\"t\nIconSize=1\n[b]\nmine=1\n";
    ASSERT_EQ(valueIn("[General]\n" + open, iconSize), QString()); // all that is quoted
    const struct {
        QByteArray before;
        QByteArray after;
    } rows[] = {
        {"[General]\na=1\n; it's \"mine\n", "[General]\na=1\n; it's \"mine\nIconSize=5\n"},
        {"[General]\na=1\n", "[General]\na=1\nIconSize=5\n"},
        {"[General]\nIconSize=2\n", "[General]\nIconSize=5\n"},
        {"[General]\nx=\"a\nb\"\nIconSize=2\n", "[General]\nx=\"a\nb\"\nIconSize=5\n"},
        {"[General]\nx=\"\nIconSize=1\n\"\n", "[General]\nIconSize=5\nx=\"\nIconSize=1\n\"\n"},
        {"[General]\nx=\"a\nIconSize=1\"\n", "[General]\nIconSize=5\nx=\"a\nIconSize=1\"\n"},
        {"[General]\nx=a\\\nIconSize=1\n", "[General]\nIconSize=5\nx=a\\\nIconSize=1\n"},
        {"[a]\nx=1\n", "[General]\nIconSize=5\n\n[a]\nx=1\n"},
    };
    for (const auto &row : rows) {
        expectChange(row.before, toFive, row.after);
        expectChange(row.before + open, toFive, row.after + open);
    }
    expectChange("[General]\na=1\n" + open, toNothing, "[General]\na=1\n" + open);
}

TEST_F(SettingsText, BlanksOfTheLineStay)
{
    expectChange("[General]\n IconSize = 1 ; x\nIconSize=2\ny=1\n", toFive,
        "[General]\n; x\nIconSize=5\ny=1\n");
    expectChange("\tIconSize =  1\t \n", toFive, "\tIconSize =  5\t \n");
    expectChange("IconSize = \n", toFive, "IconSize = 5\n");
}

TEST_F(SettingsText, EndsOfLinesStay)
{
    const struct {
        QByteArray before;
        SettingsChange change;
        QByteArray after;
    } rows[] = {
        {"\xEF\xBB\xBF[General]\r\nx=1\r\n", toFive,
            "\xEF\xBB\xBF[General]\r\nx=1\r\nIconSize=5\r\n"},
        {"[General]\rIconSize=1 ; a\r; b\rx=1\r", toFive, "[General]\rIconSize=5 ; a\r; b\rx=1\r"},
        {"[General]\r; b\rx=1", toFive, "[General]\r; b\rx=1\rIconSize=5\r"},
        {"; b\rIconSize=1\rx=1\r", toNothing, "; b\rx=1\r"},
        {"x=1\n\rIconSize=1\n\r; b\n", toFive, "x=1\n\rIconSize=5\n\r; b\n"},
    };
    for (const auto &row : rows)
        expectChange(row.before, row.change, row.after);
}

TEST_F(SettingsText, WhatIsNotWrittenPlainlyIsLeftToQt)
{
    const struct {
        QByteArray before;
        SettingsChange change;
        QByteArray after;
    } rows[] = {
        {"[General]\nIconSize=1\\\n2\ny=1\n", toFive, "[General]\nIconSize=5\ny=1\n"},
        {"[General]\nIconSize=1\\\r2\ry=1\r", toFive, "[General]\nIconSize=5\ny=1\n"},
        {"[General]\nIconSize=\"a\nb\"\ny=1\n", toNothing, "[General]\ny=1\n"},
        {"[General]\n%49conSize=1\ny=1\n", toNothing, "[General]\ny=1\n"},
    };
    for (const auto &row : rows)
        expectChange(row.before, row.change, row.after);
}

TEST_F(SettingsText, EveryValueThatIsTakenComesBack)
{
    std::mt19937 random(20240607);
    const QString key = QStringLiteral("Root");
    const QByteArray before = "; mine\n[General]\nx=kept\nRoot=old ; why\n[a]\ny=kept\n";
    int taken = 0;
    for (int number = 0; number < 250; ++number) {
        const QString value = randomText(random);
        SCOPED_TRACE(value.toUtf8().toPercentEncoding().toStdString());
        QByteArray text = before;
        QString problem;
        const ExitStatus status = changeSettingsText(text, {key, value}, problem);
        if (status != AllIsWell) {
            EXPECT_EQ(status, WrongCall);
            EXPECT_EQ(problem, "the value of 'Root' would not be read back as it was written");
            EXPECT_EQ(text, before);
            EXPECT_NE(valueIn(savedByQt("", key, value), key), value); // Qt has no way, either
            continue;
        }
        ++taken;
        EXPECT_EQ(valueIn(text, key), value);
        EXPECT_EQ(valueIn(text, "x"), "kept");
        EXPECT_EQ(valueIn(text, "a/y"), "kept");
        EXPECT_TRUE(text.startsWith("; mine\n[General]\nx=kept\nRoot=")) << text.toStdString();
        EXPECT_TRUE(text.endsWith(" ; why\n[a]\ny=kept\n")) << text.toStdString();
        EXPECT_EQ(valueIn(savedByQt(text, "other", "new"), key), value); // as the driver saves
    }
    EXPECT_GE(taken, 180);
}

TEST_F(SettingsText, AValueThatQtDoesNotReadBackIsRefused)
{
    const QString values[] = {
        QString(QChar(0xFEFF)) + 'C', // Qt takes it for a mark of byte order where text begins
        QString(QChar(0x0F)) + QChar(0xFEFF) + 'C', // also behind an escaped character
#if QT_VERSION_MAJOR < 6
        QString::fromUtf8("\xF0\x9F\x98\x80"),
#endif
    };
    for (const QString &value : values) {
        SCOPED_TRACE(value.toUtf8().toPercentEncoding().toStdString());
        const QByteArray before = "[General]\nRoot=old\n";
        QByteArray text = before;
        QString problem;
        EXPECT_EQ(changeSettingsText(text, {QStringLiteral("Root"), value}, problem), WrongCall);
        EXPECT_EQ(problem, "the value of 'Root' would not be read back as it was written");
        EXPECT_EQ(text, before);
    }
}
