#pragma once

#include "DriverTest.h"

/// A `talmo` with a home, a settings folder, a folder for temporary files, a folder of programs and
/// a working directory of its own. What the fixture of the driver does to the driver, it does to
/// `talmo` here: run() starts it, and obeyPermissions(), preload() and the like are about it.
class CompanionTest : public DriverTest
{
protected:
    CompanionTest();

    /// Runs the driver itself in the working directory.
    Outcome runDriver(const QStringList &arguments);

    /// Runs `talmo` with \a arguments and expects the exit status 0, and that it prints \a output
    /// on standard output and \a errors on standard error.
    void expectSuccess(
        const QStringList &arguments, const QByteArray &output, const QByteArray &errors = "");

    /// Runs `talmo` with \a arguments and expects that it says on standard error what makes the
    /// call wrong, \a errors; that its exit status is 2; and that nothing was done or written.
    void expectWrongCall(const QStringList &arguments, const QByteArray &errors);

    /// Every file and directory of this test, also outside of the working directory, sorted;
    /// directories end with "/".
    QStringList everything();

    QString temporary;   ///< the folder for temporary files
    QString plainDriver; ///< the executable of the driver
};
