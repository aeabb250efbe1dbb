// What Talmo finds around it: versions, the locale, what was installed with it, temporary files.

#include "ScriptFolder.h"
#include "anonymousFile.h"
#include "details.h"
#include "examinations.h"
#include "folder.h"

#include <QCoreApplication>
#include <QSysInfo>

#include <clocale>
#include <string>

#include <langinfo.h>
#include <locale.h>

namespace Talmo
{

namespace
{

Observation ok(const char *subject, const QString &text)
{
    return {Observation::Ok, QLatin1String(subject), text, QString()};
}

/// The locale that the environment asks for, for characters.
QByteArray localeName()
{
    for (const char *const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        QByteArray value = qgetenv(variable);
        if (!value.isEmpty())
            return value;
    }
    return "C";
}

} // namespace

Observations examineVersions()
{
    const QString running = QLatin1String(qVersion());
    const QString compiled = QStringLiteral(QT_VERSION_STR);
    return {
        ok("Talmo", QStringLiteral(TALMO_VERSION ", '%1'")
                        .arg(shown(QCoreApplication::applicationFilePath()))),
        ok("Qt", running == compiled ? running
                                     : QStringLiteral("%1, built with %2").arg(running, compiled)),
        ok("system", QStringLiteral("%1, %2 %3, %4")
                         .arg(shown(QSysInfo::prettyProductName()), QSysInfo::kernelType(),
                             shown(QSysInfo::kernelVersion()), QSysInfo::currentCpuArchitecture())),
    };
}

Observations examineLocale()
{
    // Qt has set the locale of this process, perhaps another one than the programs of a suite get.
    const QByteArray name = localeName();
    const QString subject = QStringLiteral("locale");
    const QString advice = QStringLiteral("set LC_ALL=C.UTF-8, or another locale of that encoding");
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return {{Observation::Note, subject,
            QStringLiteral("'%1' is not installed, so programs use the locale C").arg(shown(name)),
            advice}};
    const QByteArray encoding = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    const QString text =
        QStringLiteral("%1, with the encoding %2").arg(shown(name), shown(encoding));
    if (encoding == "UTF-8")
        return {ok("locale", text)};
    return {{Observation::Note, subject,
        text + QStringLiteral("; names with other letters may not be found"), advice}};
}

Observations examineDistribution()
{
    const QByteArray folder = distributionDirectory();
    const QString subject = QStringLiteral("distribution");
    return examineScripts(subject, folder,
        {Observation::Problem, subject,
            QStringLiteral("there are no scripts in '%1'").arg(shown(folder)),
            QStringLiteral(
                "install Talmo again; its folders 'bin' and 'test' must be side by side")});
}

Observations examineTemporary()
{
    return examineFolder(QStringLiteral("temporary files"), temporaryFolder(),
        QStringLiteral("set TMPDIR to a folder in which you may write"));
}

} // namespace Talmo
