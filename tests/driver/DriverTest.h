#pragma once

#include "Printing.h"
#include "Process.h"
#include "sanitized.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// A driver with a home, a settings folder, a folder of programs and a working directory of its
/// own, which are all removed after the test. Paths are relative to the working directory.
class DriverTest : public testing::Test
{
protected:
    DriverTest();

    void write(const QString &path, const QByteArray &content);
    QByteArray read(const QString &path) const;
    bool exists(const QString &path) const;

    /// Every file and directory below the working directory, sorted; directories end with "/".
    QStringList entries() const;

    /// Puts the shell program \a name, with \a body after its "#!/bin/sh" line, into the PATH.
    void addProgram(const QString &name, const QByteArray &body);

    /// Writes the settings: SimProgram1.name and so on, in order; an empty name leaves a gap.
    void configure(const QStringList &simPrograms);

    /// Runs the driver in the working directory.
    Outcome run(const QStringList &arguments);

    /// What the driver prints before the first test, given the names of the tests to run.
    QByteArray preamble(const QByteArray &names) const;

    /// What the driver prints after the last test.
    QByteArray summary(int failed, int total) const;

    /// Runs \a script as the only test, "test1", and returns what was printed for it. Expects the
    /// right lines before and after it, and nothing on standard error.
    QByteArray runScript(const QByteArray &script);

    /// Runs the driver and expects that it prints \a printed between the preamble, which lists
    /// \a names, and the summary, nothing on standard error, and the exit status that goes with it.
    void expectRun(const QStringList &arguments, const QByteArray &names, const QByteArray &printed,
        int failed, int total);

    /// Makes permissions hold for the driver even if root runs the tests. Returns false if that is
    /// not possible.
    bool obeyPermissions();

    /// Gives the driver mounts that nobody else sees. The shell lines \a before make them, and the
    /// lines \a after run when the driver has ended, in the root directory. Both know $folder and
    /// $work, and a failure in them fails the test. Returns false if mounting is not allowed.
    bool mountPrivately(const QByteArray &before, const QByteArray &after = "");

    /// Loads \a module into the driver, and into what it starts, before all else.
    void preload(const QString &module);

    /// Limits the memory of the driver, and of what it starts, to 150 MB. Not for use under a
    /// sanitizer.
    void limitMemory();

    /// Runs a script with a heading and \a lines. Returns the error message of the run, which is
    /// empty if it passes.
    QByteArray errorOf(const QByteArray &lines);

    /// What the script "=heading", named "test1", prints if it passes, and if its last line is
    /// "=end". That is an unknown command, so the run leaves its directory behind.
    const QByteArray passed = "test1: heading\n";
    const QByteArray ended = "test1: ***ERROR: Unknown test command '=end'\n";

    QTemporaryDir folder;
    QString work;            ///< the working directory
    QString programs;        ///< first in the PATH
    QString settings;        ///< the settings file
    QStringList configured;  ///< the configured names, as the driver lists them
    Environment environment; ///< with which the driver is started
    QString driver;          ///< the executable
};
