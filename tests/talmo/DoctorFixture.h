#pragma once

#include "RunFixture.h"

#include <QByteArray>
#include <QRegularExpression>
#include <QStringList>

/// Runs "talmo doctor" in a working directory of its own.
class DoctorFixture : public RunFixture
{
protected:
    /// Runs "talmo doctor" with \a arguments, and expects nothing on standard error, and an exit
    /// status that goes with what it prints. The room on disks, which no test can foresee, is N.
    QByteArray doctor(const QStringList &arguments = {})
    {
        const Outcome outcome = run(QStringList("doctor") + arguments);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, outcome.output.contains("\nproblem ") ? 1 : 0);
        QString text = QString::fromUtf8(outcome.output);
        text.replace(QRegularExpression(": [0-9.e+-]+ (MB|GB) are free"), ": N are free");
        return text.toUtf8();
    }

    /// Those lines of "talmo doctor" that are about \a subject.
    QByteArray linesAbout(const QByteArray &subject)
    {
        QByteArray lines;
        for (const QByteArray &line : doctor().split('\n')) {
            if (line.mid(9).startsWith(subject))
                lines += line + '\n';
        }
        return lines;
    }

    QByteArray ofSettings(const QByteArray &after) const
    {
        return "settings: '" + settings.toUtf8() + "' " + after + '\n';
    }

    const QByteArray well = "can be read and written";
};
