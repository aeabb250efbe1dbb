#include "processTree.h"

#include <QDir>
#include <QFile>

#include <csignal>

std::vector<pid_t> childrenOf(pid_t process)
{
    std::vector<pid_t> children;
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
    const QStringList names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : names) {
        QFile list(threads.filePath(thread + QStringLiteral("/children")));
        if (!list.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &child : list.readAll().simplified().split(' ')) {
            if (!child.isEmpty())
                children.push_back(child.toInt());
        }
    }
    return children;
}

std::vector<pid_t> descendantsOf(pid_t process)
{
    std::vector<pid_t> found = childrenOf(process);
    for (size_t index = 0; index < found.size(); ++index) {
        const std::vector<pid_t> children = childrenOf(found[index]);
        found.insert(found.end(), children.begin(), children.end());
    }
    return found;
}

std::vector<pid_t> sendToTree(pid_t process, int signal)
{
    std::vector<pid_t> all = {process};
    const std::vector<pid_t> children = childrenOf(process);
    kill(process, signal);  // before its children, or a shell would go on to its next command
    kill(process, SIGCONT); // a stopped process would not notice the signal
    for (const pid_t child : children) {
        const std::vector<pid_t> tree = sendToTree(child, signal);
        all.insert(all.end(), tree.begin(), tree.end());
    }
    return all;
}

ProcessStatus statusOf(pid_t process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // The name stands in parentheses, and may hold any character.
    const QByteArray text = file.readAll();
    const auto nameStart = text.indexOf('(') + 1;
    const auto nameEnd = text.lastIndexOf(')');
    const QList<QByteArray> fields = text.mid(nameEnd + 2).split(' ');
    constexpr int startTime = 19; // the field 22 of proc(5); the state is field 3
    if (nameEnd < nameStart || fields.size() <= startTime)
        return {};
    return {fields[0].isEmpty() ? '\0' : fields[0][0], text.mid(nameStart, nameEnd - nameStart),
        fields[startTime]};
}
