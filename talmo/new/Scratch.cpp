#include "Scratch.h"

#include "ScriptFolder.h"
#include "anonymousFile.h"
#include "regularFile.h"
#include "removeDir.h"

#include <QFile>

#include <cerrno>
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
    removeDir(path);
}

bool Scratch::enter(QString &problem)
{
    const QByteArray usual = temporaryFolder();
    const QByteArray place = usual.startsWith('/') ? usual : workingDirectory() + '/' + usual;
    before = openDirectory(".", asPlace);
    QByteArray made = place + "/talmo-new-XXXXXX";
    if (before.isOpen() && mkdtemp(made.data()) != nullptr)
        path = made;
    if (!path.isNull() && chdir(path) == 0)
        return true;
    problem = QStringLiteral("cannot make a directory in '%1': %2")
                  .arg(QFile::decodeName(place), reasonOf(errno));
    return false;
}

} // namespace Talmo
