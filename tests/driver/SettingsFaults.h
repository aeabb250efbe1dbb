#pragma once

#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <sys/stat.h>

/// Settings with which something is wrong. The driver runs its test nevertheless, unless the test
/// could then pass without running for a program.
class SettingsFaults : public DriverTest
{
protected:
    SettingsFaults() { write("test1", "=heading\n=simprogram *\n"); }

    /// Writes \a text into the settings file, in which the driver is expected to find the programs
    /// \a names.
    void writeSettings(const QByteArray &text, const QStringList &names)
    {
        write(settings, text);
        configured = names;
    }

    /// Runs the one test, and expects that it passes for each program in the settings.
    void expectPass()
    {
        QByteArray printed;
        for (const QString &name : std::as_const(configured))
            printed += "test1(" + name.toUtf8() + "): heading\n";
        if (printed.isEmpty())
            printed = "Configured SimPrograms: \n" + work.toUtf8() +
                      "/test1: No applicable SimPrograms\n";
        expectRun({"test1"}, "test1", printed, 0, 1);
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }

    /// The files in the folder of the settings: the settings file, and perhaps a lock or an
    /// unfinished file.
    QStringList filesOfSettings() const
    {
        return QFileInfo(settings).dir().entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    QMap<QString, QString> stored() const
    {
        QSettings store(settings, QSettings::IniFormat);
#if QT_VERSION_MAJOR < 6
        store.setIniCodec("UTF-8");
#endif
        QMap<QString, QString> values;
        const QStringList keys = store.allKeys();
        for (const QString &key : keys)
            values[key] = key.isEmpty() ? QString() : store.value(key).toString();
        return values;
    }

    void setMode(const QString &path, mode_t mode) const
    {
        ASSERT_EQ(chmod(qPrintable(path), mode), 0);
    }

    /// Runs the driver, and expects that it says \a why it cannot read \a file, and runs nothing.
    void expectRefusal(const QString &file, const QByteArray &why)
    {
        const Outcome outcome = run({"test1"});
        EXPECT_EQ(outcome.output,
            "***talmo_test: cannot read the settings '" + file.toUtf8() + "': " + why + "\n");
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }

    struct stat statusOf(const QString &path) const
    {
        struct stat status = {};
        EXPECT_EQ(stat(qPrintable(path), &status), 0) << path.toStdString();
        return status;
    }

    const QStringList onlyTheFile = {"Talmo.conf"};
    const QByteArray someSettings = "[General]\nSimProgram1.name=sim1\nmine=kept\n";
};
