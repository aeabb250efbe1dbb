// talmo doctor: the settings, and the programs that they name

#include "DoctorFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

class DoctorSettingsTest : public DoctorFixture
{
protected:
    /// Makes the folder of the settings, and nothing in it.
    void makePlaceOfSettings() const { QDir().mkpath(QFileInfo(settings).path()); }
};

} // namespace

TEST_F(DoctorSettingsTest, SaysWhatIsWrongInTheSettings)
{
    const QByteArray good = "ok       " + ofSettings(well);
    const struct {
        QByteArray text;
        QByteArray lines;
    } rows[] = {
        {"[General]\nmine=1\nIconSize=\n", good},
        {"[General]\nRoot=@\n", good + "problem  settings: 'Root' is '@', at which programs end; "
                                       "talmo prefs unset Root\n"},
        {"[General]\nSimProgam1.name=sim\n",
            good + "note     settings: 'SimProgam1.name' is no preference; did you mean "
                   "SimProgram1.name?\n"},
        {QByteArray(1000, '\xFF') + "\n[", good},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        write(settings, row.text);
        EXPECT_EQ(linesAbout("settings"), row.lines);
    }
}

TEST_F(DoctorSettingsTest, SaysWhatIsInThePlaceOfTheSettings)
{
    const QByteArray advice = "; remove it if that is not meant\n";
    makePlaceOfSettings();
    ASSERT_EQ(mkfifo(qPrintable(settings), 0600), 0);
    EXPECT_EQ(linesAbout("settings") + linesAbout("program"),
        "problem  settings: cannot read the settings '" + settings.toUtf8() +
            "': it is a pipe; mend the file, or move it away\n");
    QFile::remove(settings);
    QDir().mkpath(settings);
    EXPECT_EQ(linesAbout("settings"),
        "note     " + ofSettings("is no file, so it counts as empty").trimmed() + advice);
    QDir().rmdir(settings);
    write(settings, "");
    QDir().mkpath(settings + ".lock");
    EXPECT_EQ(linesAbout("settings"),
        "problem  " +
            ofSettings("cannot be saved: '" + settings.toUtf8() + ".lock' is in the way")
                .trimmed() +
            "; remove that\n");
}

TEST_F(DoctorSettingsTest, SaysWhatIsInTheWayOfTheFirstSettings)
{
    makePlaceOfSettings();
    const QByteArray missing =
        "ok       " + ofSettings("does not exist yet, so all preferences have their defaults");
    const QByteArray obstacle =
        "problem  " +
        ofSettings("cannot be saved: '" + settings.toUtf8() + ".lock' is in the way").trimmed() +
        "; remove that\n";
    QDir().mkpath(settings + ".lock");
    EXPECT_EQ(linesAbout("settings"), missing + obstacle);
    QDir().rmdir(settings + ".lock");

    write(settings + ".lock", ""); // as if its owner had been killed; Qt removes it
    const timespec old[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, qPrintable(settings + ".lock"), old, 0), 0);
    EXPECT_EQ(linesAbout("settings"), missing);
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write anywhere, and cannot be kept from it here";
    ASSERT_EQ(chmod(qPrintable(settings + ".lock"), 0400), 0);
    EXPECT_EQ(linesAbout("settings"), missing + obstacle);
    EXPECT_EQ(run({"prefs", "set", "Root", "x"}).errors,
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': '" + settings.toUtf8() +
            ".lock' is in the way\n");
    ASSERT_EQ(chmod(qPrintable(settings + ".lock"), 0600), 0);
    EXPECT_EQ(run({"prefs", "set", "Root", "x"}).status, 0);
}

TEST_F(DoctorSettingsTest, SaysWhereALinkToTheSettingsLeads)
{
    makePlaceOfSettings();
    const QString target = folder.filePath("mine/dotfile");
    ASSERT_TRUE(QFile::link(target, settings));
    const QByteArray text = ofSettings("is a link to '" + target.toUtf8() +
                                       "', which does not exist, so all preferences have their "
                                       "defaults")
                                .trimmed();
    EXPECT_EQ(linesAbout("settings"),
        "note     " + text +
            ", and they cannot be saved; make the folder that it leads to, or remove the link\n");
    QDir().mkpath(QFileInfo(target).path());
    EXPECT_EQ(linesAbout("settings"), "ok       " + text + '\n');
    EXPECT_EQ(run({"prefs", "set", "Root", "x"}).status, 0);
    EXPECT_EQ(read(target), "[General]\nRoot=x\n");
    EXPECT_EQ(linesAbout("settings"), "ok       " + ofSettings(well));
}

TEST_F(DoctorSettingsTest, SaysWhatIsTakenFromTheSystemsSettings)
{
    const QString others = folder.filePath("system/Brelund, Inc./Talmo.conf");
    environment["XDG_CONFIG_DIRS"] = folder.filePath("system");
    write(others, "[General]\nSimProgram1.name=none\n");
    write(settings, "");
    EXPECT_EQ(linesAbout("settings"), "ok       " + ofSettings(well) +
                                          "note     settings: what is missing is taken from '" +
                                          others.toUtf8() + "'\n");
    EXPECT_EQ(linesAbout("program"), "problem  program none: not found in the PATH; mend that, or "
                                     "'talmo prefs programs remove none'\n");
}

TEST_F(DoctorSettingsTest, SaysWhatMayNotBeReadOrWritten)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may do anything, and cannot be kept from it here";
    const QString place = QFileInfo(settings).path();
    const QByteArray path = settings.toUtf8();
    makePlaceOfSettings();
    ASSERT_EQ(chmod(qPrintable(place), 0500), 0);
    EXPECT_EQ(linesAbout("settings"),
        "ok       " + ofSettings("does not exist yet, so all preferences have their defaults") +
            "note     settings: they cannot be saved: '" + place.toUtf8() +
            "': Permission denied; set XDG_CONFIG_HOME to a folder in which you may write\n");
    ASSERT_EQ(chmod(qPrintable(place), 0700), 0);
    write(settings, "");
    ASSERT_EQ(chmod(qPrintable(settings), 0400), 0);
    EXPECT_EQ(linesAbout("settings"),
        "note     " + ofSettings("can be read only: cannot write '" + path +
                                 "': Permission denied; change its permissions if 'talmo prefs' is "
                                 "to save"));
    ASSERT_EQ(chmod(qPrintable(settings), 0), 0);
    EXPECT_EQ(linesAbout("settings"), "problem  settings: cannot read the settings '" + path +
                                          "': Permission denied; mend the file, or move it away\n");
}

TEST_F(DoctorSettingsTest, SaysWhichProgramsCannotBeStarted)
{
    addProgram("sim1", "");
    write("../other/sim1", "");
    QFile::setPermissions(folder.filePath("other/sim1"), QFile::ReadOwner | QFile::ExeOwner);
    const QByteArray other = QDir(folder.filePath("other")).absolutePath().toUtf8();
    environment["PATH"] = programs + ':' + other + ":/usr/bin:/bin";
    const QByteArray first = programs.toUtf8() + "/sim1";
    const QByteArray advice = "; mend that, or 'talmo prefs programs remove ";
    const QByteArray noName = "the shell does not take this for the name of a program";
    write(settings, "[General]\nSimProgram1.name=sim1\nSimProgram2.name=none\n"
                    "SimProgram3.name=test\nSimProgram4.name=sim1\nSimProgram5.name=a\\nb\n"
                    "SimProgram6.name=a/b\n");
    EXPECT_EQ(linesAbout("program"),
        "note     program sim1: " + first + ", also " + other +
            "/sim1; make sure that this is meant\n"
            "problem  program none: not found in the PATH" +
            advice + "none'\n" + "problem  program test: " + noName + advice + "test'\n" +
            "note     program sim1: " + first +
            ", configured twice, so each of its runs is made twice; make sure that this is meant\n"
            "problem  program a\\x0ab: " +
            noName + advice + "a\\x0ab'\n" +
            "problem  program a/b: its name has a '/', so its runs can have no directories" +
            advice + "a/b'\n");
}

TEST_F(DoctorSettingsTest, SaysWhichScriptsHaveNoInterpreter)
{
    environment["PATH"] = programs + ":/usr/bin:/bin";
    const QByteArray plain = folder.filePath("plain").toUtf8();
    write(plain, "");
    const struct {
        QByteArray line;
        QByteArray problem; ///< empty if there is none
    } rows[] = {
        {"#!/bin/sh", ""},
        {"#! /bin/sh -e ", ""},
        {"#!/usr/bin/env sh", ""},
        {"#!/usr/bin/env -S sh -e", ""},
        {"# no interpreter", ""},
        {"#!/bin/sh none7", ""},
        {"#!/none/sh -e", "'/none/sh' does not exist"},
        {"#!/bin/sh\r", "'/bin/sh\\x0d' does not exist"},
        {"#!/bin/sh/x", "'/bin/sh/x' does not exist"},
        {"#!/bin", "'/bin' is not executable"},
        {"#!" + plain, "'" + plain + "' is not executable"},
        {"#!/usr/bin/env none7", "'none7' is not in the PATH"},
        {"#!/usr/bin/env sh -e", "'sh -e' is not in the PATH"},
    };
    configure({"sim1"});
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line.toStdString());
        write(programs + "/sim1", row.line + '\n');
        QFile::setPermissions(programs + "/sim1", QFile::ReadOwner | QFile::ExeOwner);
        EXPECT_EQ(linesAbout("program"),
            row.problem.isEmpty() ? "ok       program sim1: " + programs.toUtf8() + "/sim1\n"
                                  : "problem  program sim1: its interpreter " + row.problem +
                                        "; mend that, or 'talmo prefs programs remove sim1'\n");
        QFile::remove(programs + "/sim1");
    }
}
