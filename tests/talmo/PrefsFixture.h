#pragma once

#include "CompanionTest.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <memory>
#include <vector>

/// "talmo prefs", with settings of its own.
class PrefsFixture : public CompanionTest
{
protected:
    /// Runs "talmo prefs" with \a arguments.
    Outcome prefs(const QStringList &arguments) { return run(QStringList("prefs") + arguments); }

    /// Expects that "talmo prefs" with \a arguments changes the settings to \a text, silently.
    void expectChange(const QStringList &arguments, const QByteArray &text)
    {
        expectSuccess(QStringList("prefs") + arguments, "");
        EXPECT_EQ(read(settings), text);
        EXPECT_EQ(filesOfSettings(), QStringList("Talmo.conf"));
        EXPECT_EQ(
            QDir(temporary).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    }

    /// Expects that "talmo prefs" with \a arguments says \a errors, ends with \a status, and leaves
    /// everything as it is.
    void expectFailure(const QStringList &arguments, const QByteArray &errors, int status)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const QStringList before = everything();
        const Outcome outcome = prefs(arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(everything(), before);
    }

    void expectValue(const QString &key, const QByteArray &value)
    {
        expectSuccess({"prefs", "get", key}, value + '\n');
    }

    QStringList filesOfSettings() const
    {
        return QFileInfo(settings).dir().entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    /// Starts "talmo prefs" with each of \a calls at once, and waits for all. Returns how each has
    /// ended.
    std::vector<Outcome> startAll(const std::vector<QStringList> &calls)
    {
        std::vector<std::unique_ptr<QProcess>> processes;
        for (const QStringList &call : calls) {
            processes.push_back(std::make_unique<QProcess>());
            startProcess(*processes.back(), driver, QStringList("prefs") + call, environment, work);
        }
        std::vector<Outcome> outcomes;
        outcomes.reserve(processes.size());
        for (const auto &process : processes)
            outcomes.push_back(outcomeOf(*process));
        return outcomes;
    }

    struct stat statusOf(const QString &path) const
    {
        struct stat status = {};
        EXPECT_EQ(stat(qPrintable(path), &status), 0) << path.toStdString();
        return status;
    }

    const QByteArray someSettings = "[General]\nIconSize=64\nmine=kept\n";
};
