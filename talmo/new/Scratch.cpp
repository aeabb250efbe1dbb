#include "Scratch.h"

#include "ScriptFolder.h"
#include "anonymousFile.h"
#include "regularFile.h"
#include "removeDir.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

Scratch::~Scratch()
{
    if (path.isNull())
        return;
    [[maybe_unused]] const bool isBack = fchdir(before.get()) == 0;
    if (!removeDir(path))
        std::fprintf(stderr, "talmo: new: cannot remove all of '%s'\n", path.constData());
}

/// Makes a directory with a path of its own, which becomes \a made.
bool Scratch::make(QByteArray &made, QString &problem) const
{
    const QByteArray usual = temporaryFolder();
    const QByteArray place = usual.startsWith('/') ? usual : workingDirectory() + '/' + usual;
    made = path.isNull() ? place + "/talmo-new-XXXXXX" : path.left(path.size() - 6) + "XXXXXX";
    if (mkdtemp(made.data()) != nullptr)
        return true;
    problem = QStringLiteral("cannot make a directory in '%1': %2")
                  .arg(QFile::decodeName(place), reasonOf(errno));
    return false;
}

bool Scratch::enter(QString &problem)
{
    before = openDirectory(".", asPlace);
    QByteArray made;
    if (!make(made, problem))
        return false;
    path = made;
    if (before.isOpen() && chdir(path) == 0)
        return true;
    problem = QStringLiteral("cannot enter '%1': %2").arg(QFile::decodeName(path), reasonOf(errno));
    return false;
}

bool Scratch::move(QString &problem)
{
    QByteArray other;
    if (!make(other, problem))
        return false;
    if (rename(path, other) == 0) { // it takes the place of the empty one
        path = other;
        return true;
    }
    problem =
        QStringLiteral("cannot rename '%1': %2").arg(QFile::decodeName(path), reasonOf(errno));
    rmdir(other);
    return false;
}

} // namespace Talmo
