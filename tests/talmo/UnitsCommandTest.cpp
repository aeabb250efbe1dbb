// talmo units

#include "CompanionTest.h"

#include "talmo/Units.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Talmo;

namespace
{

class UnitsCommandTest : public CompanionTest
{
protected:
    /// What `talmo units` with \a arguments and --json prints.
    QJsonObject json(const QStringList &arguments)
    {
        const Outcome outcome = run(QStringList("units") + arguments + QStringList("--json"));
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
        return QJsonDocument::fromJson(outcome.output).object();
    }
};

// clang-format off
/// What each unit is worth in those of the SI: from their definitions, and CODATA for amu.
/// Deliberate: the library has an older value of the elementary charge, and kmph with six digits.
constexpr struct {
    const char *kind;
    const char *unit;
    double value;
} definitions[] = {
    {"angle",              "rad",       1},
    {"angle",              "deg",       3.14159265358979324 / 180},
    {"angle",              "mr",        1e-3},
    {"charge",             "e",         1.602176634e-19},
    {"charge",             "coulomb",   1},
    {"charge",             "uC",        1e-6},
    {"charge",             "nC",        1e-9},
    {"current",            "A",         1},
    {"current",            "ma",        1e-3},
    {"current",            "ka",        1e3},
    {"density",            "gpcc",      1000},
    {"electricField",      "Vpm",       1},
    {"electricField",      "MVpm",      1e6},
    {"electricField",      "kVpm",      1e3},
    {"electricField",      "Vpmm",      1e3},
    {"energy",             "MeV",       1.602176634e-13},
    {"energy",             "eV",        1.602176634e-19},
    {"energy",             "keV",       1.602176634e-16},
    {"energy",             "GeV",       1.602176634e-10},
    {"energy",             "TeV",       1.602176634e-7},
    {"energy",             "joule",     1},
    {"energy",             "J",         1},
    {"energy",             "amu",       1.49241808e-10},
    {"length",             "in",        0.0254},
    {"length",             "ft",        0.3048},
    {"length",             "yd",        0.9144},
    {"length",             "mile",      1609.344},
    {"length",             "mm",        1e-3},
    {"length",             "cm",        1e-2},
    {"length",             "m",         1},
    {"length",             "micron",    1e-6},
    {"length",             "um",        1e-6},
    {"length",             "km",        1e3},
    {"length",             "meter",     1},
    {"magneticDecapole",   "Tpm4",      1},
    {"magneticDodecapole", "Tpm5",      1},
    {"magneticField",      "tesla",     1},
    {"magneticField",      "T",         1},
    {"magneticField",      "gauss",     1e-4},
    {"magneticField",      "G",         1e-4},
    {"magneticField",      "kilogauss", 0.1},
    {"magneticField",      "kG",        0.1},
    {"magneticGradient",   "Tpm",       1},
    {"magneticGradient",   "Gpm",       1e-4},
    {"magneticOctopole",   "Tpm3",      1},
    {"magneticSextupole",  "Tpm2",      1},
    {"mass",               "g",         1e-3},
    {"mass",               "gm",        1e-3},
    {"mass",               "kg",        1},
    {"mass",               "mg",        1e-6},
    {"mass",               "ug",        1e-9},
    {"speed",              "mps",       1},
    {"speed",              "fps",       0.3048},
    {"speed",              "kmph",      1 / 3.6},
    {"speed",              "MPH",       0.44704},
    {"speed",              "mph",       0.44704},
    {"time",               "sec",       1},
    {"time",               "s",         1},
    {"time",               "ms",        1e-3},
    {"time",               "us",        1e-6},
    {"time",               "shakes",    1e-8},
    {"time",               "ns",        1e-9},
    {"time",               "ps",        1e-12},
    {"time",               "min",       60},
    {"time",               "hr",        3600},
    {"voltage",            "volt",      1},
    {"voltage",            "V",         1},
    {"voltage",            "kV",        1e3},
    {"voltage",            "MV",        1e6},
};
// clang-format on

/// So much, relatively, may a factor be off.
constexpr double tolerance = 1e-6;

double definitionOf(const QString &unit)
{
    for (const auto &definition : definitions) {
        if (unit == definition.unit)
            return definition.value;
    }
    ADD_FAILURE() << qPrintable(unit) << " is not defined here";
    return 0;
}

/// Expects that one unit \a from is \a count of those called \a to, as its definition and the
/// library say.
void expectTrue(const QString &from, const QString &count, const QString &to)
{
    SCOPED_TRACE(qPrintable(QStringLiteral("1 %1 = %2 %3").arg(from, count, to)));
    const double expected = definitionOf(from) / definitionOf(to);
    EXPECT_NEAR(count.toDouble(), expected, expected * tolerance);
    EXPECT_EQ(count, QString::asprintf("%.12g", Units::factor(to, from)));
}

/// How many units there are, without that of no unit.
int countOfUnits()
{
    int count = -1;
    for (const QStringList &units : Units::types)
        count += static_cast<int>(units.size());
    return count;
}

} // namespace

TEST_F(UnitsCommandTest, ListsEveryUnitOnce)
{
    const QByteArray output = run({"units"}).output;
    EXPECT_EQ(output.count("\n  "), countOfUnits());
    EXPECT_TRUE(output.startsWith("angle\n"
                                  "  rad        1 rad                  standard, reference\n"
                                  "  deg        0.0174532925199 rad\n"
                                  "  mr         0.001 rad\n"
                                  "\n"
                                  "charge\n"
                                  "  e          1 e                    reference\n"))
        << output.constData();
    EXPECT_TRUE(output.contains("\n"
                                "\n"
                                "length\n"
                                "  in         25.4 mm                reference\n"
                                "  ft         304.8 mm\n"
                                "  yd         914.4 mm\n"
                                "  mile       1609344 mm\n"
                                "  mm         1 mm                   standard\n"))
        << output.constData();
    for (const QStringList &units : Units::types) {
        for (const QString &unit : units)
            EXPECT_TRUE(unit.isEmpty() || output.contains("\n  " + unit.toUtf8() + ' '));
    }
}

TEST_F(UnitsCommandTest, ListsWhatIsTrue)
{
    const QStringList lines = QString::fromUtf8(run({"units"}).output).split('\n');
    QStringList found;
    QString kind;
    for (const QString &line : lines) {
        const QStringList words = line.simplified().split(' ');
        if (!line.startsWith(' ')) {
            kind = line;
            continue;
        }
        ASSERT_GE(words.size(), 3) << qPrintable(line);
        found += kind + ' ' + words[0];
        expectTrue(words[0], words[1], words[2]);
    }
    QStringList expected;
    for (const auto &definition : definitions)
        expected += QStringLiteral("%1 %2").arg(definition.kind, definition.unit);
    EXPECT_EQ(found, expected);
}

TEST_F(UnitsCommandTest, TellsWhatIsTrueOfEveryUnit)
{
    for (const auto &definition : definitions) {
        const QString unit = definition.unit;
        const QStringList lines = QString::fromUtf8(run({"units", unit}).output).split('\n');
        QStringList others = {unit};
        for (const QString &line : lines.mid(1, lines.size() - 2)) {
            const QStringList words = line.split(' ');
            ASSERT_GE(words.size(), 5) << qPrintable(line);
            EXPECT_EQ(words.mid(0, 3).join(' '), "1 " + unit + " =");
            expectTrue(unit, words[3], words[4]);
            others += words[4];
        }
        QStringList expected;
        for (const auto &other : definitions) {
            if (QLatin1String(other.kind) == QLatin1String(definition.kind))
                expected += other.unit;
        }
        others.sort();
        expected.sort();
        EXPECT_EQ(others, expected);
        const QJsonObject values = json({unit})["is"].toObject();
        EXPECT_EQ(values.keys(), expected);
        for (const QString &other : expected)
            EXPECT_EQ(values[other].toDouble(), Units::factor(other, unit));
    }
}

TEST_F(UnitsCommandTest, TellsWhatAUnitIsWorth)
{
    expectSuccess({"units", "keV"}, "keV: energy\n"
                                    "1 keV = 0.001 MeV (standard, reference)\n"
                                    "1 keV = 1000 eV\n"
                                    "1 keV = 1e-06 GeV\n"
                                    "1 keV = 1e-09 TeV\n"
                                    "1 keV = 1.60217656584e-16 joule\n"
                                    "1 keV = 1.60217656584e-16 J\n"
                                    "1 keV = 1.07354415006e-06 amu\n");
    expectSuccess({"units", "kG"}, "kG: magneticField\n"
                                   "1 kG = 0.1 T (standard)\n"
                                   "1 kG = 0.1 tesla (reference)\n"
                                   "1 kG = 1000 gauss\n"
                                   "1 kG = 1000 G\n"
                                   "1 kG = 1 kilogauss\n");
    expectSuccess({"units", "e"}, "e: charge, reference\n"
                                  "1 e = 1.60217646187e-19 coulomb\n"
                                  "1 e = 1.60217646187e-13 uC\n"
                                  "1 e = 1.60217646187e-10 nC\n");
    expectSuccess({"units", "gpcc"}, "gpcc: density, reference\n");
}

TEST_F(UnitsCommandTest, TellsHowManyOfOneTheOtherIs)
{
    expectSuccess({"units", "m", "mm"}, "1 m = 1000 mm\n");
    expectSuccess({"units", "mm", "in"}, "1 mm = 0.0393700787402 in\n");
    expectSuccess({"units", "eV", "eV"}, "1 eV = 1 eV\n");
    expectSuccess({"units", "e", "coulomb"}, "1 e = 1.60217646187e-19 coulomb\n");
}

TEST_F(UnitsCommandTest, TellsTheSameToPrograms)
{
    EXPECT_EQ(json({"m", "mm"}), QJsonObject({{"unit", "m"}, {"in", "mm"}, {"is", 1000}}));
    const QJsonObject second = json({"sec"});
    EXPECT_EQ(second["unit"], "sec");
    EXPECT_EQ(second["kind"], "time");
    EXPECT_EQ(second["standard"], "ns");
    EXPECT_EQ(second["reference"], "sec");
    EXPECT_EQ(second["is"].toObject()["ms"].toDouble(), 1000);
    EXPECT_EQ(second["is"].toObject()["sec"].toDouble(), 1);
    const QJsonArray kinds = json({})["kinds"].toArray();
    qsizetype count = 0;
    for (const QJsonValue &kind : kinds)
        count += kind["units"].toObject().size();
    EXPECT_EQ(count, countOfUnits());
    EXPECT_EQ(kinds[0], QJsonValue(QJsonObject({{"kind", "angle"}, {"standard", "rad"},
                            {"reference", "rad"}, {"in", "rad"},
                            {"units", QJsonObject({{"rad", 1}, {"mr", 0.001},
                                          {"deg", Units::factor("rad", "deg")}})}})));
    EXPECT_TRUE(kinds[1]["standard"].isNull()); // charge
}

TEST_F(UnitsCommandTest, RefusesWhatIsNoUnit)
{
    expectWrongCall({"units", "Mev"}, "talmo: units: unknown unit 'Mev' (did you mean MeV?)\n");
    expectWrongCall(
        {"units", "m", "mille"}, "talmo: units: unknown unit 'mille' (did you mean mile?)\n");
    expectWrongCall({"units", ""}, "talmo: units: unknown unit ''\n");
    expectWrongCall({"units", "*"}, "talmo: units: unknown unit '*'\n");
    expectWrongCall({"units", "m", "5mm"}, "talmo: units: unknown unit '5mm' (did you mean mm?)\n");
    expectWrongCall(
        {"units", "m", "MeV"}, "talmo: units: m is a unit of length, and MeV one of energy\n");
    expectWrongCall({"units", "m", "mm", "cm"}, "talmo: units: it takes two units at most\n");
}
