// talmo eval

#include "FilterFixture.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <random>

using EvalTest = FilterFixture;

TEST_F(EvalTest, PrintsTheValuesOfItsArguments)
{
    expectSuccess({"eval", "2*3mm+5mm"}, "11mm\n");
    expectSuccess({"eval", "1+1", "600,/2", "--lenient"}, "2\n300\n");
    expectSuccess({"eval", "-2^2", "-.5", "-(1)", "--", "-1"}, "4\n-0.5\n-1\n-1\n");
    expectSuccess({"eval", "-u", "mm", "-2in"}, "-50.8\n");
    expectSuccess({"eval", "-2in", "-u", "mm", "-f", "about %.1f%%"}, "about -50.8%\n");
    expectSuccess({"eval", "1in", "-u", "*"}, "25.4\n");
    expectSuccess({"eval", "2", "-u", ""}, "2\n");
    expectSuccess({"eval", "2*x", "-D", "x=3mm", "-D", "y=1", "2*x+y*1mm"}, "6mm\n7mm\n");
}

TEST_F(EvalTest, RefusesWrongCalls)
{
    expectWrongCall({"eval", "-x"}, "talmo: eval: unknown option 'x'\n");
    expectWrongCall({"eval", "1", "-u"}, "talmo: eval: missing value after '-u'\n");
    expectWrongCall(
        {"eval", "-u", "Mev", "1"}, "talmo: eval: unknown unit 'Mev' (did you mean MeV?)\n");
    expectWrongCall({"eval", "-f", "%d", "1"}, "talmo: eval: '%d' is no format for a number\n");
    expectWrongCall({"eval", "-f", "", "1"}, "talmo: eval: '' is no format for a number\n");
    expectWrongCall({"eval", "-D", "x", "1"}, "talmo: eval: 'x' is no definition, 'NAME=TEXT'\n");
    expectWrongCall({"eval", "--definitions", "none", "1"},
        "talmo: eval: cannot read 'none': No such file or directory\n");
    expectWrongCall({"eval", "--definitions", "-"},
        "talmo: eval: standard input cannot be both definitions and expressions\n");
}

TEST_F(EvalTest, ShowsAGapInsteadOfAWrongNumber)
{
    const Outcome outcome = run({"eval", "1", "2*nosuch", "1m+1s", "", "3"});
    EXPECT_EQ(outcome.output, "1\n\n\n\n3\n");
    EXPECT_EQ(outcome.errors, "argument 2:3: unknown name 'nosuch'\n"
                              "argument 3:1: Units Conversion Error from s to m\n"
                              "argument 4:1: there is no expression\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(EvalTest, EvaluatesEachLineAndKeepsItsEnd)
{
    expectFiltered({"eval"}, "1+1\r\n\n2mm*3", "2\r\n\n6mm");
    expectFiltered({"eval"},
        "\xEF\xBB\xBF"
        "1+1\n",
        "\xEF\xBB\xBF"
        "2\n");
    expectFiltered({"eval"}, "", "");
    expectFiltered({"eval"}, "1/0\n1+1\n0/0\n1 + 2\n", "\n2\n\n\n",
        "-:1:2: the result of '/' is infinite\n-:3:2: the result of '/' is no number\n"
        "-:4:2: ' ' has no meaning here\n");
    expectFiltered({"eval", "-f", "inf %g"}, "2\n-1/0\n", "inf 2\n\n",
        "-:2:3: the result of '/' is infinite\n");
    expectFiltered(
        {"eval"}, QByteArray("1\0+1\n2\n", 7), "\n2\n", "-:1:2: '\\x00' has no meaning here\n");
    expectFiltered({"eval"}, "\xC3\xA4\xFF+1\n", "\n", "-:1:1: '\xC3\xA4' has no meaning here\n");
}

TEST_F(EvalTest, LenientlyPrintsWhatTheLibraryPrints)
{
    Outcome outcome = filter("1+nosuch\n1m+1s\n2---3\n", {"eval", "--lenient"});
    EXPECT_EQ(outcome.output, "1\n2m\n1\n");
    EXPECT_EQ(outcome.errors, "Error: Syntax Error X:Syntax error in '1+nosuch', at line 1\n"
                              "       line: 1+nosuch\n"
                              "Error: Syntax Error Units Conversion Error from s to m, at line 2\n"
                              "       line: 1m+1s\n");
    EXPECT_EQ(outcome.status, 1);
    outcome = run({"eval", "--lenient", "-D", "a=b", "-D", "b=(a)", "a", "2"});
    EXPECT_EQ(outcome.output, "\n2\n");
    EXPECT_EQ(outcome.errors, "argument 1:1: macro 'a' refers to itself: a -> b -> a\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(EvalTest, LenientlyFindsCirclesBehindOtherMistakes)
{
    const QStringList call = {"eval", "--lenient", "-D", "a=b", "-D", "b=a"};
    for (const char *before : {"nosuch+", "3parsec*", "1(", "()", "1*--", "foo(1)", "1e999", "$",
             "+", "1?", "?1:", "5 5", "1:", ")", "1?2,3:"}) {
        const Outcome outcome = run(call + QStringList(QString(before) + "+a"));
        const bool isEnd = QStringList({"5 5", "1:", ")", "1?2,3:"}).contains(before);
        EXPECT_EQ(outcome.errors.endsWith(": macro 'a' refers to itself: a -> b -> a\n"), !isEnd)
            << before << outcome.errors.constData();
        EXPECT_EQ(outcome.status, 1) << before;
    }
}

TEST_F(EvalTest, RefusesWhatTheTextOfAMacroMakesOfItsNeighbours)
{
    const Outcome outcome = run({"eval", "-D", "x=1e", "-D", "y=1<", "x-3", "y=2", "(x)-3e"});
    EXPECT_EQ(outcome.output, "\n\n-2e\n");
    EXPECT_EQ(outcome.errors,
        "argument 1:1: the text of 'x' ends in '1e', which joins with '-3' behind it\n"
        "argument 2:1: the text of 'y' ends in '<', which joins with '=' behind it\n");

    expectSuccess({"eval", "--lenient", "-D", "x=1e", "-D", "y=1<", "x-3", "y=2"}, "0.001\n1\n");
}

TEST_F(EvalTest, EndsQuietlyWithThePipe)
{
    expectQuietEnd("yes 1+1", {"eval"});
}

TEST_F(EvalTest, AnswersAtOnce)
{
    QProcess process;
    QProcessEnvironment variables;
    for (auto variable = environment.cbegin(); variable != environment.cend(); ++variable)
        variables.insert(variable.key(), variable.value());
    process.setProcessEnvironment(variables);
    process.start(driver, {"eval"});
    for (int number = 1; number < 4; ++number) {
        process.write(QByteArray::number(number) + "+1\n");
        QByteArray answer;
        while (!answer.endsWith('\n') && process.waitForReadyRead(waitingTime))
            answer += process.readAllStandardOutput();
        EXPECT_EQ(answer, QByteArray::number(number + 1) + "\n");
    }
    process.closeWriteChannel();
    EXPECT_EQ(outcomeOf(process).status, 0);
}

namespace
{

/// Random lines out of \a pieces.
QList<QByteArray> randomLines(const QList<QByteArray> &pieces, int count, std::mt19937_64 &random)
{
    QList<QByteArray> lines;
    while (lines.size() < count) {
        QByteArray line;
        for (auto left = 1 + random() % 8; left > 0; --left)
            line += pieces[static_cast<int>(random() % static_cast<size_t>(pieces.size()))];
        lines += line;
    }
    return lines;
}

} // namespace

TEST_F(EvalTest, LenientlyIsTheLibraryToTheByte)
{
    std::mt19937_64 random(5);
    const QList<QByteArray> lines = randomLines(
        {"1", "2mm", "3s", ".5e-1", "x", "nosuch", "parsec", "+", "-", "*", "/", "^", "?", ":", "(",
            ")", ",", "sin(", "max(", " ", "\xC3\xA4", "$", "%", "\r", "\t"},
        2000, random);
    Talmo::Error::handler = [](const QString &) {};
    Talmo::Macro::hash = {{"x", "2mm"}};
    QByteArray expected;
    for (const QByteArray &line : lines) {
        const bool hasReturn = line.endsWith('\r');
        expected += Talmo::Units::evaluate(
            "%.12g", QString::fromUtf8(hasReturn ? line.chopped(1) : line), "-")
                        .toUtf8();
        expected += hasReturn ? "\r\n" : "\n";
    }
    Talmo::Macro::hash.clear();
    Talmo::Error::handler = nullptr;
    const Outcome outcome = filter(lines.join('\n') + '\n', {"eval", "--lenient", "-D", "x=2mm"});
    EXPECT_EQ(outcome.output, expected);
    EXPECT_EQ(outcome.status, 1);
}
