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
