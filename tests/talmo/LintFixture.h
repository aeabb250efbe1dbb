#pragma once

#include "CompanionTest.h"

#include <QByteArray>
#include <QScopedValueRollback>
#include <QStringList>

/// `talmo lint`, with the programs sim1 and sim2 configured.
class LintFixture : public CompanionTest
{
protected:
    LintFixture() { configure({"sim1", "sim2"}); }

    /// What `talmo lint` with \a arguments prints. Expects that it says nothing on standard error,
    /// and that the exit status tells whether it found something.
    QByteArray lint(const QStringList &arguments = {})
    {
        const Outcome outcome = run(QStringList("lint") + arguments);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, outcome.output.isEmpty() ? 0 : 1);
        return outcome.output;
    }

    /// The checks that find something in a script with \a lines behind its heading, each with the
    /// line and the column: "2:9 wide-ignore".
    QStringList foundIn(const QByteArray &lines)
    {
        write("test1", "=heading\n" + lines);
        QStringList found;
        const QList<QByteArray> printed = lint({"test1"}).split('\n');
        for (const QByteArray &line : printed) {
            const QString text = QString::fromUtf8(line);
            if (!text.isEmpty())
                found +=
                    text.section(':', 1, 2) + ' ' + text.section('[', -1, -1).section(']', 0, 0);
        }
        return found;
    }

    /// The error message of a run, by the driver, of a script with \a lines behind its heading.
    QByteArray errorOfDriver(const QByteArray &lines)
    {
        const QScopedValueRollback<QString> plain(driver, plainDriver);
        return errorOf(lines);
    }

    /// Whether \a check finds something in such a script.
    bool finds(const QString &check, const QByteArray &lines)
    {
        return !foundIn(lines).filter(check).isEmpty();
    }
};
