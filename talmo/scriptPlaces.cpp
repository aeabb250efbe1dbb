#include "scriptPlaces.h"

#include "DiskFile.h"
#include "ScriptFolder.h"

#include <unistd.h>

namespace Talmo
{

std::vector<QByteArray> scriptPlaces(const QByteArray &suiteDirectory, const QString &script)
{
    const QByteArray name = systemName(script);
    std::vector<QByteArray> paths;
    if (name.isEmpty() || name.contains('/'))
        return paths;
    static const QByteArray distribution = distributionDirectory();
    for (const QByteArray &folder : {suiteDirectory, distribution}) {
        const QByteArray path = folder + '/' + name;
        if (access(path, F_OK) == 0)
            paths.push_back(path);
    }
    return paths;
}

} // namespace Talmo
