// When Qt saves settings, it drops comments and every line that it does not understand. So we
// change only the line of the key, if it is written plainly. Whether that is right, we do not judge
// ourselves: Qt reads the file before and after, each time under a name that it has not seen, and
// all values must come out. If they do not, because somebody has quoted a newline or escaped a
// letter of a key, Qt writes the file, and it is read in the same way.

#include "changeSettingsText.h"

#include "anonymousFile.h"
#include "utf8.h"

#include <QFile>
#include <QMap>
#include <QSettings>
#include <QTemporaryDir>
#include <QVariant>

#include <vector>

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

/// The lines of \a text with their ends.
std::vector<QByteArray> linesOf(const QByteArray &text)
{
    std::vector<QByteArray> lines;
    for (int start = 0; start < text.size();) {
        const auto end = text.indexOf('\n', start);
        const auto next = static_cast<int>(end < 0 ? text.size() : end + 1);
        lines.push_back(text.mid(start, next - start));
        start = next;
    }
    return lines;
}

QByteArray endOf(const QByteArray &line)
{
    return line.endsWith("\r\n") ? "\r\n" : "\n";
}

bool isOfGeneral(const QByteArray &heading)
{
    return heading.mid(1, heading.indexOf(']') - 1).trimmed().toLower() == "general";
}

/// Whether the line \a line, without blanks around it, gives \a key a value.
bool isAssignment(const QByteArray &line, const QByteArray &key)
{
    const auto equals = line.indexOf('=');
    return equals > 0 && line.left(equals).trimmed() == key;
}

/// Whether the value in \a line ends there, as far as that is plain to see.
bool isWhole(const QByteArray &line)
{
    return !line.endsWith('\\') && line.count('"') % 2 == 0;
}

/// Where in a file a key is, or where it could be put; lines count from 0.
struct Place {
    std::vector<size_t> assignments;
    size_t end = 0;          ///< behind the last line of the section "General" that is not blank
    bool hasSection = false; ///< it has a heading, or a key before the first heading
    bool isReadable = true;  ///< no value of the key goes on in the next line
};

Place placeOf(const std::vector<QByteArray> &lines, const QByteArray &key)
{
    Place place;
    bool isGeneral = true; // what comes before the first heading is of this section, too
    bool isOver = false;
    for (size_t number = 0; number < lines.size(); ++number) {
        const QByteArray line = lines[number].trimmed();
        if (line.startsWith('[')) {
            isOver = isOver || (isGeneral && place.hasSection);
            isGeneral = isOfGeneral(line);
        }
        if (!isGeneral || line.isEmpty())
            continue;
        if (!isOver)
            place.end = number + 1;
        place.hasSection = place.hasSection || line.startsWith('[') || line.contains('=');
        if (!isAssignment(line, key))
            continue;
        place.assignments.push_back(number);
        place.isReadable = place.isReadable && isWhole(line);
    }
    return place;
}

/// Puts \a assignment, which ends with a newline, where nothing is assigned yet.
void insert(std::vector<QByteArray> &lines, const Place &place, QByteArray assignment)
{
    const QByteArray end = lines.empty() ? "\n" : endOf(lines[0]);
    assignment.replace("\n", end);
    if (!place.hasSection)
        assignment = "[General]" + end + assignment + (place.end < lines.size() ? end : "");
    if (place.end > 0 && !lines[place.end - 1].endsWith('\n'))
        lines[place.end - 1] += end;
    using Offset = std::vector<QByteArray>::difference_type;
    lines.insert(lines.begin() + static_cast<Offset>(place.end), assignment);
}

/// \a text with \a assignment, a line, in the place of the values that it has for \a key; without
/// them if that is empty. Nothing if the text is not plain enough.
std::optional<QByteArray> edited(
    const QByteArray &text, const QByteArray &key, const QByteArray &assignment)
{
    const auto mark = static_cast<int>(byteOrderMarkLength(text.toStdString()));
    std::vector<QByteArray> lines = linesOf(text.mid(mark));
    const Place place = placeOf(lines, key);
    if (!place.isReadable)
        return {};
    if (place.assignments.empty() && !assignment.isEmpty())
        insert(lines, place, assignment);
    for (const size_t number : place.assignments) {
        const bool isLast = number == place.assignments.back(); // the one that counts
        QByteArray &line = lines[number];
        line = isLast && !assignment.isEmpty() ? assignment.trimmed() + endOf(line) : QByteArray();
    }
    QByteArray whole = text.left(mark);
    for (const QByteArray &line : lines)
        whole += line;
    return whole;
}

/// \a change as a line, in the way of Qt; empty if something is removed.
QByteArray assignmentOf(const SettingsChange &change, Trials &trials)
{
    if (!change.value)
        return {};
    const std::vector<QByteArray> lines = linesOf(trials.savedByQt({}, change)); // a heading first
    return lines.size() == 2 ? lines[1] : QByteArray();
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
    const auto plain = edited(text, change.key.toUtf8(), assignmentOf(change, trials));
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
