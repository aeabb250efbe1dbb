// talmo convert

#include "CompanionTest.h"

#include "talmo/Units.h"
#include "utf8.h"

#include <iterator>
#include <random>

using namespace Talmo;

namespace
{

class ConvertTest : public CompanionTest
{
protected:
    /// Expects that `talmo convert` with \a arguments makes \a output of \a input.
    void expectConverted(
        const QByteArray &input, const QByteArray &output, const QStringList &arguments = {})
    {
        write("in", input);
        expectSuccess(QStringList("convert") + arguments + QStringList("in"), output);
    }

    /// Expects that `talmo convert` with \a arguments makes \a output of \a input, reports
    /// \a errors, and ends with status 1.
    void expectFault(const QByteArray &input, const QByteArray &output, const QByteArray &errors,
        const QStringList &arguments = {})
    {
        write("in", input);
        const Outcome outcome = run(QStringList("convert") + arguments + QStringList("in"));
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, 1);
    }
};

QByteArray convertedByLibrary(const QByteArray &text, const QString &units)
{
    return Units::convertAll(decodedBytes(text), units).toUtf8();
}

const char *const units[] = {"mm", "cm", "in", "MeV", "joule", "ns", "T", "kg", "rad", "e", "mps"};

/// Lines of numbers that stand alone, with units and without, among other words.
QByteArray randomText(std::mt19937 &random)
{
    static const char *const words[] = {"drift", "x=", "(", ")", ",", "\xC3\xA9 ", "$x", "-", "\n",
        "\r\n", "BPM", "1.5 ", "7 ", "\t"};
    static const char *const numbers[] = {"0", "5", "-2.5", ".125", "1e3", "12E-2", "100000000",
        "0.333333333333333333", "1e-300", "007"};
    QByteArray text;
    for (int count = static_cast<int>(random() % 200); count > 0; --count) {
        if (random() % 2 == 0)
            text += QByteArray(words[random() % std::size(words)]) + ' ';
        else
            text += ' ' + QByteArray(numbers[random() % std::size(numbers)]) +
                    units[random() % std::size(units)] + ' ';
    }
    return text;
}

/// Any characters that may begin, end or be a part of numbers, and some that are no UTF-8.
QByteArray randomBytes(std::mt19937 &random)
{
    static const QByteArray bytes("0123456789.eE+-mMeVcinstxk $_\r\n#\xC3\xA9\xC2\xB5", 36);
    QByteArray text;
    for (int count = static_cast<int>(random() % 2000); count > 0; --count)
        text += bytes[static_cast<int>(random() % static_cast<unsigned>(bytes.size()))];
    return text;
}

} // namespace

TEST_F(ConvertTest, RewritesNumbersInTheStandardUnitsOfTheirKinds)
{
    expectConverted("drift 2.5cm, -1in; 3GeV\n", "drift 25, -25.4; 3000\n");
    expectConverted("3kg 5 7 nothing\n", "3kg 5 7 nothing\n"); // mass has no standard unit
    expectConverted("", "");
    expectConverted("\n\n1m", "\n\n1000");
}

TEST_F(ConvertTest, RewritesNumbersInOneUnit)
{
    expectConverted("1in 3MeV 5\n", "2.54 3MeV 5\n", {"-u", "cm"});
    expectConverted("3kg 1m\n", "3000 1m\n", {"-u", "g"});
    expectConverted("1in 3MeV\n", "1in 3MeV\n", {"-u", ""});
    expectConverted("1in 3MeV\n", "25.4 3\n", {"-u", "*"});
}

TEST_F(ConvertTest, LeavesWhatIsPartOfAWord)
{
    const QByteArray text = "BPM12a file1in.txt 2nd 0x10 1e5 3D 4x4 10x $5cm a_5cm \xC2\xB5"
                            "5cm 22-11-22T10:15 5mm.dat\n";
    expectConverted(text, text);
    expectConverted("1e5m 2e 2.5e-3cm\n", "100000000 2e 0.025\n");
}

TEST_F(ConvertTest, ReportsUnknownUnitsAndLeavesAGap)
{
    expectFault("1m\n\xC3\xA9 5Mev 2parsec 3cm\n\n2m", "1000\n\n\n2000",
        "in:2:4: unknown unit 'Mev' (did you mean MeV?)\n"
        "in:2:9: unknown unit 'parsec'\n");
    expectFault("3m/s 2m^2\n", "\n",
        "in:1:2: unknown unit 'm/s' (did you mean mps?)\n"
        "in:1:7: unknown unit 'm^2'\n");
    // Units that are not asked for are unknown all the same.
    expectFault("3Mev\n", "\n", "in:1:2: unknown unit 'Mev' (did you mean MeV?)\n", {"-u", "cm"});
}

TEST_F(ConvertTest, TakesNoPartOfANumber)
{
    expectFault("x 1,024m\n(1,2mm) 10mm,20mm\n1'000mm 1 000mm\n", "\n(1,2) 10,20\n\n",
        "in:1:3: '1,024m' may be one number or several\n"
        "in:3:1: '1'000mm' may be one number or several\n"
        "in:3:9: '1 000mm' may be one number or several\n");
    expectFault("pipe 1/2in\n1.5x10^3mm\n5mm/2cm\n", "\n\n5/20\n",
        "in:1:6: '1/2in' may be one number or several\n"
        "in:2:1: '1.5x10^3mm' may be one number or several\n");
    expectFault("5mm2, 10mmx20mm\n5.cm 1.e2cm\n", "\n50 1000\n",
        "in:1:2: unknown unit 'mm2' (did you mean mm?)\n"
        "in:1:9: unknown unit 'mmx20mm'\n");
}

TEST_F(ConvertTest, LeavesExpressionsAlone)
{
    expectConverted("drift 2cm ${2*3cm;mm} ${x}5cm ${a[${1m}]+1m} 3cm\n",
        "drift 20 ${2*3cm;mm} ${x}5cm ${a[${1m}]+1m} 30\n");
    expectConverted("${3Mev}\n", "${3Mev}\n");
    expectConverted("${3cm 4cm\n", "${30 40\n"); // never closed
}

TEST_F(ConvertTest, RefusesWhatIsNoDouble)
{
    const struct {
        const char *number;
        const char *problem;
    } rows[] = {
        {"1e400mm", "large"},
        {"1e308m", "large"},
        {"1e-400mm", "small"},
        {"0.1E-4000m", "small"},
        {"5.e-324mm", "small"}, // it has one digit
        {"1e-308mm", "small"},
    };
    for (const auto &row : rows) {
        const QByteArray number = row.number;
        expectFault("-" + number + "\n", "\n",
            "in:1:2: the number '" + number + "' is too " + row.problem + "\n");
    }
    const QByteArray tiny = "0." + QByteArray(400, '0') + "1mm";
    expectFault(tiny, "", "in:1:1: the number '" + tiny + "' is too small\n");
    expectFault("1e-307mm\n", "\n", "in:1:1: the number '1e-307mm' is too small\n", {"-u", "mile"});
    expectFault( // it has fewer digits than others, as a metre and as a micrometre
        "1e-310m\n", "\n", "in:1:1: the number '1e-310m' is too small\n", {"-u", "um"});
    expectConverted("3e-308mm 1e-310kg 0e-400m 0.0E-999m 1e308mm\n"
                    "0." +
                        QByteArray(400, '0') + "mm\n",
        "3e-308 1e-310kg 0 0 1e+308\n0\n");
}

TEST_F(ConvertTest, FindsTheSameMistakesAsCheck)
{
    std::mt19937 random(3);
    static const char *const pieces[] = {"1", "05", "200", ".", ",", " ", "'", "m", "mm", "Mev",
        "x", "/", "^2", "e", "-", "(", "_", "\xC2\xB5", "\xE9", "T10", "2"};
    for (int round = 0; round < 5; ++round) {
        QByteArray text;
        for (int count = 5000; count > 0; --count)
            text +=
                QByteArray(pieces[random() % std::size(pieces)]) + (random() % 9 == 0 ? "\n" : "");
        write("in", text);
        EXPECT_EQ(run({"convert", "in"}).errors, run({"check", "in"}).output);
    }
}

TEST_F(ConvertTest, DoesAsTheLibraryWithNumbersThatStandAlone)
{
    std::mt19937 random(1);
    for (int round = 0; round < 10; ++round) {
        const QByteArray text = randomText(random);
        expectConverted(text, convertedByLibrary(text, "*"));
        expectConverted(text, convertedByLibrary(text, "in"), {"-u", "in"});
    }
}

TEST_F(ConvertTest, LenientDoesAsTheLibraryToTheByte)
{
    std::mt19937 random(2);
    for (int round = 0; round < 10; ++round) {
        const QByteArray text = randomBytes(random);
        // What is no UTF-8 is replaced in the way of Latin-1, which keeps every byte.
        for (const char *const unit : {"*", "mm", ""}) {
            const QByteArray output =
                Units::convertAll(QString::fromLatin1(text.constData(), text.size()), unit)
                    .toLatin1();
            expectConverted(text, output, {"--lenient", "-u", unit});
        }
    }
    expectConverted("1e5 5Mev BPM12mm 2nd\n", "100000 0 BPM12 0\n", {"--lenient"});
}

TEST_F(ConvertTest, BytesComeOutAsTheyCameIn)
{
    const QByteArray zero(1, '\0');
    expectConverted("\xEF\xBB\xBF"
                    "1cm\r\n\xE9\r 2cm \xFF\xC3\r\n" +
                        zero + "3cm" + zero + "\r",
        "\xEF\xBB\xBF"
        "10\r\n\xE9\r 20 \xFF\xC3\r\n" +
            zero + "30" + zero + "\r");
}

TEST_F(ConvertTest, ReadsSeveralFilesAndStandardInput)
{
    write("a", "1cm");
    write("b", "2cm\n5Mev");
    const Outcome outcome = run({"convert", "a", "b", "a"});
    EXPECT_EQ(outcome.output, "1020\n10");
    EXPECT_EQ(outcome.errors, "b:2:2: unknown unit 'Mev' (did you mean MeV?)\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(ConvertTest, RefusesWrongCalls)
{
    write("in", "1m\n");
    expectWrongCall(
        {"convert", "-u", "Mev", "in"}, "talmo: convert: unknown unit 'Mev' (did you mean MeV?)\n");
    expectWrongCall({"convert", "-u", "-", "in"}, "talmo: convert: '-' is no unit to convert to\n");
    expectWrongCall({"convert", "in", "none"},
        "talmo: convert: cannot read 'none': No such file or directory\n");
    expectWrongCall({"convert", "-o", "out", "--in-place", "in"},
        "talmo: convert: -o and --in-place exclude each other\n");
    expectWrongCall({"convert", "--follow-links", "in"},
        "talmo: convert: --follow-links makes sense with --in-place only\n");
}

TEST_F(ConvertTest, ADashIsStandardOutput)
{
    write("in", "2in\n");
    const QStringList before = everything();
    expectSuccess({"convert", "-o", "-", "in"}, "50.8\n");
    EXPECT_EQ(everything(), before);
}

TEST_F(ConvertTest, ManyMistakesInALongLineTakeNoLongTime)
{
    const QByteArray text = QByteArray("3abc ").repeated(20000);
    write("in", text);
    const Outcome outcome = run({"convert", "in"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors.count('\n'), 20000);
    EXPECT_TRUE(outcome.errors.endsWith("in:1:99997: unknown unit 'abc'\n"));
    EXPECT_EQ(outcome.status, 1);
}
