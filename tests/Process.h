#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

/// What a process printed and how it ended.
struct Outcome {
    QByteArray output;
    QByteArray errors; ///< what went to standard error
    int status = -1;   ///< exit status; -1 if a signal ended the process
};

using Environment = QMap<QString, QString>;

/// Runs \a program in the directory \a folder, with the variables \a environment and those that
/// steer the sanitizers, and nothing on standard input.
Outcome runProcess(const QString &program, const QStringList &arguments,
    const Environment &environment, const QString &folder);
