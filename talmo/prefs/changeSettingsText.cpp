// When Qt saves settings, it drops comments and every line that it does not understand. So we
// change only the line of the key, if it is written plainly. Whether that is right, we do not judge
// ourselves: Qt reads the file before and after, each time under a name that it has not seen, and
// all values must come out. If they do not, because somebody has quoted a newline or escaped a
// letter of a key, Qt writes the file, and it is read in the same way.

#include "changeSettingsText.h"

#include "anonymousFile.h"
#include "settingsLines.h"

#include <QFile>
#include <QMap>
#include <QSettings>
#include <QTemporaryDir>
#include <QVariant>

namespace Talmo
{

namespace
{

using Values = QMap<QString, QVariant>;

/// Where Qt reads and writes settings for a trial.
class Trials
{
public:
    /// Whether all files could be written.
    bool isWell() const { return !hasFailed; }

    /// What Qt reads from \a text.
    Values valuesIn(const QByteArray &text);

    /// What Qt makes of \a text if it saves \a change.
    QByteArray savedByQt(const QByteArray &text, const SettingsChange &change);

private:
    QString newFile(const QByteArray &text);

    QTemporaryDir folder{QFile::decodeName(temporaryFolder() + "/talmo-XXXXXX")};
    int files = 0;
    bool hasFailed = !folder.isValid();
};

void readAsUtf8([[maybe_unused]] QSettings &store)
{
#if QT_VERSION_MAJOR < 6
    store.setIniCodec("UTF-8"); // as SettingsStore does
#endif
}

/// The name of a new file with \a text.
QString Trials::newFile(const QByteArray &text)
{
    QString name = folder.filePath(QStringLiteral("%1.conf").arg(++files));
    QFile file(name);
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
    hasFailed = hasFailed || !isWritten;
    return name;
}

Values Trials::valuesIn(const QByteArray &text)
{
    QSettings store(newFile(text), QSettings::IniFormat);
    readAsUtf8(store);
    Values values;
    const QStringList keys = store.allKeys();
    for (const QString &key : keys) {
        if (!key.isEmpty()) // Qt takes it from a damaged file, and has no value for it
            values[key] = store.value(key);
    }
    return values;
}

QByteArray Trials::savedByQt(const QByteArray &text, const SettingsChange &change)
{
    const QString name = newFile(text);
    {
        QSettings store(name, QSettings::IniFormat);
        readAsUtf8(store);
        if (change.value)
            store.setValue(change.key, *change.value);
        else
            store.remove(change.key);
        store.sync();
        hasFailed = hasFailed || store.status() == QSettings::AccessError;
    }
    QFile file(name);
    hasFailed = !file.open(QIODevice::ReadOnly) || hasFailed;
    return file.readAll();
}

/// \a value as Qt writes it behind the equals sign; nothing if Qt writes it over several lines.
std::optional<QByteArray> writtenByQt(const QString &value, Trials &trials)
{
    const QByteArray assignment = "[General]\nvalue=";
    const QByteArray text = trials.savedByQt({}, {QStringLiteral("value"), value});
    if (!text.startsWith(assignment) || text.count('\n') != 2)
        return {};
    return text.mid(assignment.size()).chopped(1);
}

/// \a text with \a change, made in the lines of the key alone; nothing if that is not possible.
std::optional<QByteArray> plainlyChanged(
    const QByteArray &text, const SettingsChange &change, Trials &trials)
{
    std::optional<QByteArray> value;
    if (change.value) {
        value = writtenByQt(*change.value, trials);
        if (!value)
            return {};
    }
    return settingsWith(text, change.key.toUtf8(), value);
}

} // namespace

ExitStatus changeSettingsText(QByteArray &text, const SettingsChange &change, QString &problem)
{
    Trials trials;
    Values expected = trials.valuesIn(text);
    if (change.value)
        expected[change.key] = *change.value;
    else
        expected.remove(change.key);
    const auto take = [&](const QByteArray &candidate) {
        const bool isRight = trials.valuesIn(candidate) == expected && trials.isWell();
        if (isRight)
            text = candidate;
        return isRight;
    };
    const auto plain = plainlyChanged(text, change, trials);
    if ((plain && take(*plain)) || take(trials.savedByQt(text, change)))
        return AllIsWell;
    if (!trials.isWell()) {
        problem =
            QStringLiteral("cannot write files in '%1'").arg(QFile::decodeName(temporaryFolder()));
        return AtFault;
    }
    problem = QStringLiteral("the value of '%1' would not be read back as it was written")
                  .arg(change.key);
    return WrongCall;
}

} // namespace Talmo
