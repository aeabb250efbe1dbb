#include "configuredPrograms.h"

#include "DiskFile.h"
#include "Programs.h"
#include "SimPrograms.h"
#include "StoredSettings.h"
#include "interpreter.h"

namespace Talmo
{

namespace
{

/// Why runs for the program \a name, which the PATH leads to at \a places, fail; null if they do
/// not.
QString problemOf(const QString &name, const QStringList &places)
{
    if (name == QLatin1String("@"))
        return QStringLiteral("this is no name; programs end that ask for it");
    if (name.contains(QLatin1Char('/')))
        return QStringLiteral("its name has a '/', so its runs can have no directories");
    if (!isNameOfProgram(name))
        return QStringLiteral("the shell does not take this for the name of a program");
    return places.isEmpty() ? QStringLiteral("not found in the PATH")
                            : problemOfInterpreter(systemName(places.constFirst()));
}

} // namespace

std::vector<ConfiguredProgram> configuredPrograms(const StoredSettings &settings)
{
    std::vector<ConfiguredProgram> programs;
    QStringList names;
    for (int number = 1; number <= mostSimPrograms; ++number) {
        ConfiguredProgram program;
        program.number = number;
        program.name = settings.value(simProgramKey(number, "name"));
        if (program.name.isEmpty())
            continue;
        program.places = placesInPath(program.name);
        program.problem = problemOf(program.name, program.places);
        if (names.contains(program.name))
            program.remark = QStringLiteral("configured twice, so each of its runs is made twice");
        else if (program.problem.isNull() && program.places.size() > 1)
            program.remark = QStringLiteral("also %1").arg(
                QStringList(program.places.mid(1)).join(QLatin1String(", ")));
        names += program.name;
        programs.push_back(program);
    }
    return programs;
}

} // namespace Talmo
