// Input: a settings file. The store is opened on it, some preferences are declared anew, and it is
// saved.

#include "fuzzing.h"
#include "talmo/Preferences.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using Talmo::Pref;
using Talmo::Preferences;

namespace
{

/// Where the next store is to be, apart from all before it, of which Qt remembers the contents.
/// Never the user's, which was opened before main: it is put aside, and so never saved.
class Place
{
public:
    Place()
    {
        const QFileInfo file(users->fileName());
        static int count = 0;
        folder = directory().filePath(QString::number(++count));
        name = folder + '/' + file.dir().dirName() + '/' + file.fileName();
        require(QDir().mkpath(QFileInfo(name).path()), "there is a folder");
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
        QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, folder + "/none");
    }
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;
    ~Place() { QDir(folder).removeRecursively(); }

    const QString &fileName() const { return name; }

    void write(const std::uint8_t *data, std::size_t size) const
    {
        QFile file(name);
        const auto length = static_cast<qint64>(size);
        const bool written = file.open(QIODevice::WriteOnly) &&
                             file.write(reinterpret_cast<const char *>(data), length) == length;
        require(written, "the file is written");
    }

private:
    static const QTemporaryDir &directory()
    {
        static const QTemporaryDir made;
        return made;
    }

    static const QSettings *const users;

    QString folder;
    QString name;
};

const QSettings *const Place::users = Preferences::qsettings;

using Table = QHash<QString, QStringList>;

/// Tells libFuzzer about \a number, one of the kind that begins at \a first.
template <typename Number>
void noteNumber(std::size_t first, Number number)
{
    note(first + std::min<std::size_t>(static_cast<std::size_t>(number), 80));
}

/// Whether programs can ask for \a key. Qt drops such slashes from what is asked for, but not from
/// what it reads: "[]" makes "/key", and "=" a key without a name.
bool canBeAskedFor(const QString &key)
{
    return !key.isEmpty() && !key.startsWith('/') && !key.endsWith('/') && !key.contains("//");
}

/// What the file \a name holds, read by Qt alone.
Table valuesIn(const QString &name)
{
    QSettings file(name, QSettings::NativeFormat);
#if QT_VERSION_MAJOR < 6
    file.setIniCodec("UTF-8");
#endif
    Table values;
    const QStringList keys = file.allKeys();
    for (const QString &key : keys) {
        if (!canBeAskedFor(key))
            continue;
        const QVariant value = file.value(key);
        values[key] = value.toStringList();
        noteNumber(0, value.userType());
        noteNumber(100, values[key].size());
        noteNumber(200, key.count('/'));
        noteNumber(300, value.toString().size());
    }
    noteNumber(400, keys.size());
    noteNumber(490, file.status());
    return values;
}

/// What a program gets for \a key; "@" if that is refused, as a value that is "@" is.
QString got(const QString &key)
{
    try {
        return Preferences::get(key);
    } catch (const QString &) {
        return "@";
    }
}

constexpr char defaultValue[] = "the default";

/// Some of the keys that the product declares; all of them would take ten times as long.
const char *const declaredKeys[] = {"IconSize", "Background", "Root", "Examples", "Library1.dir",
    "SimProgram1.name", "SimProgram2.name", "Calculator9", "RecentFile10"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Place place;
    place.write(data, size);
    const Table before = valuesIn(place.fileName());

    Preferences::qsettings = nullptr;
    Preferences::init();
    require(
        Preferences::qsettings->fileName() == place.fileName(), "the store is where it is to be");
    for (const char *const key : declaredKeys) {
        const Pref declaration(key, defaultValue, "One of those.");
        const QString value = Preferences::qsettings->value(key).toString();
        require(got(key) == value, "a declared key can be read");
        require(before.contains(key) || value == defaultValue, "a missing key is added");
    }
    delete Preferences::qsettings; // saves
    Preferences::qsettings = nullptr;

    const Table after = valuesIn(place.fileName());
    for (auto value = before.begin(); value != before.end(); ++value) {
        const QStringList now = after.value(value.key());
        if (now != value.value())
            std::fprintf(stderr, "%s: '%s' became '%s'\n", qPrintable(value.key()),
                qPrintable(value.value().join('|')), qPrintable(now.join('|')));
        require(now == value.value(), "a key that was there is still there");
    }
    for (const char *const key : declaredKeys)
        require(after.contains(key), "a declared key is saved");
    printed();
    return 0;
}
