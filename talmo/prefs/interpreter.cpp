#include "interpreter.h"

#include "Programs.h"
#include "details.h"
#include "regularFile.h"

#include <QFile>

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr int longestLine = 255; ///< so much of it the system reads

/// The first line of \a path behind "#!", without blanks around it; empty if it begins otherwise.
QByteArray lineOfInterpreter(const QByteArray &path)
{
    QFile file;
    if (!openRegular(file, path))
        return {};
    const QByteArray start = file.read(longestLine);
    if (!start.startsWith("#!"))
        return {};
    const auto end = start.indexOf('\n');
    QByteArray line = start.mid(2, end < 0 ? -1 : end - 2);
    // Deliberate: a carriage return stays, since the system takes it for a part of the name.
    while (line.startsWith(' ') || line.startsWith('\t'))
        line.remove(0, 1);
    while (line.endsWith(' ') || line.endsWith('\t'))
        line.chop(1);
    return line;
}

/// Where the first word of \a line ends.
int endOfWord(const QByteArray &line)
{
    int end = 0;
    while (end < line.size() && line[end] != ' ' && line[end] != '\t')
        ++end;
    return end;
}

QString problemOfFile(const QByteArray &interpreter)
{
    const QString subject = QStringLiteral("its interpreter '%1' %2").arg(shown(interpreter));
    struct stat status = {};
    if (stat(interpreter, &status) != 0)
        return subject.arg(errno == ENOENT || errno == ENOTDIR ? QStringLiteral("does not exist")
                                                               : reasonOf(errno));
    const bool isExecutable = S_ISREG(status.st_mode) && access(interpreter, X_OK) == 0;
    return isExecutable ? QString() : subject.arg(QStringLiteral("is not executable"));
}

} // namespace

QString problemOfInterpreter(const QByteArray &path)
{
    const QByteArray line = lineOfInterpreter(path);
    const QByteArray interpreter = line.left(endOfWord(line));
    if (!interpreter.startsWith('/'))
        return {}; // none, or one that depends on the directory
    QString problem = problemOfFile(interpreter);
    const QByteArray name = line.mid(interpreter.size()).trimmed();
    const bool isSought = interpreter.endsWith("/env") && !name.isEmpty() &&
                          !name.startsWith('-') && !name.contains('=') && !name.contains('/');
    if (!problem.isNull() || !isSought)
        return problem;
    // The system gives all that follows as one word, so "#!/usr/bin/env sh -e" finds nothing.
    const QByteArray word = line.mid(line.indexOf(name, interpreter.size()));
    return placesInPath(QFile::decodeName(word)).isEmpty()
               ? QStringLiteral("its interpreter '%1' is not in the PATH").arg(shown(word))
               : QString();
}

} // namespace Talmo
