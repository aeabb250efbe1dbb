#include "CompanionTest.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <random>

// Both over many suites: what talmo list names, and what the driver really runs.

namespace
{

class ListAsDriver : public CompanionTest
{
protected:
    ListAsDriver()
    {
        write("test1", "=heading\n");
        runDriver({"test1"});
        wholeSettings = read(settings);
    }

    /// Configures the programs \a names in settings that lack nothing, so that the driver need not
    /// save them.
    void configureWhole(const QStringList &names)
    {
        QByteArray content = wholeSettings;
        for (int n = 0; n < names.size(); ++n) {
            const QByteArray key = "SimProgram" + QByteArray::number(n + 1) + ".name=";
            content.replace(key + '\n', key + names[n].toUtf8() + '\n');
        }
        write(settings, content);
    }

    /// A number below \a limit, the next one of this seed.
    int next(int limit) { return static_cast<int>(engine() % static_cast<unsigned>(limit)); }

    bool isOneIn(int count) { return next(count) == 0; }

    QString oneOf(const QStringList &texts) { return texts[next(int(texts.size()))]; }

    /// Some of \a texts, at most \a most; the same one may be there twice.
    QStringList someOf(const QStringList &texts, int most)
    {
        QStringList some;
        for (int left = next(most + 1); left > 0; --left)
            some += oneOf(texts);
        return some;
    }

    /// A wildcard that matches \a name, and perhaps others.
    QString filterFor(const QString &name)
    {
        QString filter;
        for (const QChar character : name) {
            const bool isPlain = character.isLetterOrNumber();
            const bool isAscii = isPlain && character.unicode() < 0x80;
            if (isOneIn(12))
                return filter + '*';
            if (isOneIn(8))
                filter += '?';
            else if (isPlain && isOneIn(8))
                filter += '[' + QString(character) + "z]";
            else if (isAscii && isOneIn(4))
                filter += character.isUpper() ? character.toLower() : character.toUpper();
            else
                filter += QString("*?[").contains(character) ? '[' + QString(character) + ']'
                                                             : QString(character);
        }
        return filter;
    }

    /// Makes a suite up: its scripts, the configured programs, and the filters.
    void makeUp(unsigned seed)
    {
        engine.seed(seed);
        QDir(work).removeRecursively();
        QDir().mkpath(work);
        configureWhole(someOf(programNames, 8));
        QStringList scripts = someOf(scriptNames, 15) + QStringList("test1");
        scripts.removeDuplicates();
        for (int index = 0; index < scripts.size(); ++index) {
            QByteArray content = "=number " + QByteArray::number(index) + "\n";
            if (!isOneIn(3))
                content += "=simprogram " + someOf(patterns, 5).join(' ').toUtf8() + "\n";
            if (isOneIn(3))
                content += "# talmo: labels some\n";
            write(scripts[index], content);
        }
        filters.clear();
        for (int left = next(6); left > 0; --left)
            filters += filterFor(oneOf(scripts));
    }

    /// Splits what the driver prints into the names of its runs and of the scripts that it skips,
    /// in brackets, each once.
    QStringList namesOfDriver()
    {
        const Outcome outcome = runDriver(filters.isEmpty() ? QStringList("test*") : filters);
        EXPECT_EQ(outcome.status, 0) << outcome.output.toStdString();
        const QString skipped = ": No applicable SimPrograms";
        QStringList names;
        const QStringList lines = QString::fromUtf8(outcome.output).split('\n');
        for (const QString &line : lines) {
            const auto end = line.lastIndexOf(": number ");
            if (line.startsWith(work + '/') && line.endsWith(skipped))
                names += '[' + line.chopped(skipped.size()).mid(work.size() + 1) + ']';
            else if (end > 0)
                names += line.left(end);
        }
        EXPECT_FALSE(names.isEmpty());
        names.removeDuplicates();
        return names;
    }

    /// The same from the JSON of talmo list.
    QStringList namesOfList()
    {
        const Outcome outcome = run(QStringList({"list", "--json", "--"}) + filters);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
        QStringList names;
        const QJsonArray runs = QJsonDocument::fromJson(outcome.output)["runs"].toArray();
        for (const QJsonValue described : runs) {
            const QString name = described["name"].toString();
            names += described["skipped"].isNull() ? name : '[' + name + ']';
        }
        return names;
    }

    /// What talmo list prints about \a names without --json.
    void expectList(const QStringList &names)
    {
        QByteArray runs;
        QByteArray skipped;
        for (const QString &name : names) {
            if (name.startsWith('['))
                skipped += name.mid(1).chopped(1).toUtf8() + ": No applicable SimPrograms\n";
            else
                runs += name.toUtf8() + "\n";
        }
        expectSuccess(QStringList({"list", "--"}) + filters, runs, skipped);
    }

    const QStringList scriptNames = {"test1", "Test1", "TEST10", "test2", "test1~", "tests", "a b",
        " ", "x(1)", "x(sim1)(2)", "te[s]t", "test*", "te?t", "50%", "%s", "#1", "~", "-x", "it's",
        "\"", "test\\1", "a;b", "$HOME", "talmo.known2", QString::fromUtf8("t\u00e4st"),
        QString::fromUtf8("T\u00c4ST"), QString::fromUtf8("gr\u00f6\u00dfe"), "GROSSE",
        QString::fromUtf8("\u65e5\u672c"), QString::fromUtf8("\u212a"), "k", "K", "{a,b}", "a|b"};
    const QStringList programNames = {
        "sim1", "sim2", "SIM1", "sim10", "beam", "big sim", "x(1)", "50%", "a+b", "sim[1]"};
    const QStringList patterns = {"*", "sim*", "sim?", "sim1", "SIM1", "*1", "s*m*", "[bs]*",
        "sim[12]", "none", "no*", "big?sim", "sim[[]1]", "[", "x(1)", "a+b"};

    QByteArray wholeSettings;
    std::mt19937 engine;
    QStringList filters;
};

} // namespace

TEST_F(ListAsDriver, NamesWhatTheDriverRuns)
{
    int skipped = 0;
    int forPrograms = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        makeUp(seed);
        const QStringList names = namesOfDriver();
        EXPECT_EQ(namesOfList(), names);
        expectList(names);
        if (HasFailure())
            return; // with this suite in the working directory
        skipped += int(names.filter(QRegularExpression("^\\[")).size());
        forPrograms += int(names.filter("(").size());
    }
    EXPECT_GT(skipped, 100); // so that the suites are worth it
    EXPECT_GT(forPrograms, 500);
}
