#include "LibraryTest.h"
#include "talmo/Units.h"

#include <cmath>
#include <limits>

using Talmo::Macro;
using Talmo::Units;
using Value = Talmo::Units::Value;

namespace
{

class UnitsEvaluator : public LibraryTest
{
protected:
    /// An expression, its result ("" if it fails), and the reports, in which %1 stands for the
    /// expression. If it fails, a report with "D:" comes last and is not listed.
    struct Row {
        QString expression;
        QString result;
        QStringList problems = {};
    };

    static void expect(const QList<Row> &rows)
    {
        for (const Row &row : rows) {
            SCOPED_TRACE(row.expression.toStdString());
            const bool fails = row.result.isEmpty();
            QString expected;
            for (const QString &problem : row.problems)
                expected += reported(QString(problem).replace("%1", row.expression));

            bool ok = fails; // the wrong value, so that value has to set it
            const double silent = Units::value(row.expression, "-", &ok);
            EXPECT_EQ(ok, !fails);
            EXPECT_EQ(printed(), expected);

            const double result = Units::value(row.expression, "-", nullptr);
            EXPECT_EQ(Units::currentExpression, row.expression);
            if (fails) {
                expected += reported("D:Syntax Error in '" + row.expression + "'");
                EXPECT_EQ(result, 0);
                EXPECT_EQ(silent, 0);
            } else {
                // The sign of NaN depends on the processor.
                EXPECT_EQ(valuesLeft().join(" ").replace("-nan", "nan"), row.result);
                EXPECT_TRUE(result == Units::val.top().value || std::isnan(result));
            }
            EXPECT_EQ(printed(), expected);
        }
    }

    // Problems as they are reported.
    const QString tooFew = "X:Syntax error in '%1'";
    const QString open = "I:Syntax Error in '%1'";
};

} // namespace

TEST_F(UnitsEvaluator, NumbersAreScannedAsFarAsTheyReach)
{
    expect({
        {"0", "0"}, {"42", "42"}, {".5", "0.5"}, {"1e3", "1000"}, {"1E-3", "0.001"},
        {"1e+2", "100"}, {"2e3m", "2000m"}, {"3e", "3e"}, {"3e2e", "300e"}, {"1.5e-3T", "0.0015T"},
        {".5ns", "0.5ns"}, {"3furlong", "3furlong"}, {"7Tpm2", "7Tpm2"},
        {"0x10", "0x10"},                            // zero, with the unit x10
        {"1e999", "inf"}, {"5.", ""}, {"1.5.2", ""}, // the last one is two numbers
        {"1e+", "1e", {tooFew}}, {"3_", "3"},        // the name "_" is not defined, and vanishes
    });
}

TEST_F(UnitsEvaluator, OperatorsBindInThisOrder)
{
    expect({
        {"1+2*3", "7"},
        {"(1+2)*3", "9"},
        {"2*3^2", "18"},
        {"1-2-3", "-4"},
        {"8/4/2", "1"},
        {"8/4*2", "4"},
        {"2+3<4+5", "1"},
        {"1<2==1", "1"},
        {"3>2>1", "0"}, // (3>2)>1
        {"1==1&&2==2", "1"},
        {"1||0&&0", "1"},
        {"0&&0||1", "1"},
        {"0||1?2:3", "2"},
        {"1+0?2:3", "2"},
        {"0?2:3+4", "7"},
        {"1?2:3+4", "2"},
        {"((((1))))", "1"},
    });
}

TEST_F(UnitsEvaluator, PowersAssociateToTheRight)
{
    expect({{"2^3^2", "512"}, {"(2^3)^2", "64"}, {"2^0.5", "1.41421356237"}, {"0^0", "1"}});
}

TEST_F(UnitsEvaluator, UnaryMinusBindsTighterThanPower)
{
    expect({
        {"-2^2", "4"},
        {"-2", "-2"},
        {"-0", "-0"},
        {"-3mm", "-3mm"},
        {"2--3", "5"},
        {"2-3", "-1"},
        {"2*-3", "-6"},
        {"2^-1", "0.5"},
        {"2*-3^2", "18"},
        {"2^-1^2", "2"}, // 2^((-1)^2)
        {"(-2)", "-2"},
        {"max(-1,-2)", "-1"},
        {"1?-2:-3", "-2"},
        {"1==-1", "0"},
        {"-(1+2)", "-3"},
        {"-sin(0)", "-0"},
        {"(1)abs(-2)", ""},      // a minus behind a "(" is a sign, whatever came before
        {"()-5", "5", {tooFew}}, // a minus behind a ")" is an operator
        {"(1+)-2", "-1", {tooFew}},
    });
}

TEST_F(UnitsEvaluator, AUnaryMinusFirstAppliesThoseBeforeIt)
{
    expect({
        {"--2", "-2", {tooFew}}, // the first minus finds no value
        {"---2", "-2", {tooFew, tooFew}},
        {"2---3", "1"}, // the second minus is applied to 2: -2 - -3
        {"-", "", {tooFew}},
        {"2-", "2", {tooFew}},
    });
}

TEST_F(UnitsEvaluator, ThereIsNoUnaryPlus)
{
    expect({{"+2", "2", {tooFew}}, {"1++2", "3", {tooFew}}, {"2*+3", "5", {tooFew}}});
}

TEST_F(UnitsEvaluator, BlanksAreSyntaxErrors)
{
    expect({{"1 + 2", ""}, {" 1", ""}, {"1 ", ""}, {"1\t", ""}, {"1\n", ""}, {"2 mm", ""}});
    EXPECT_EQ(valuesLeft(), QStringList{"2"});
}

TEST_F(UnitsEvaluator, DollarSignsAreIgnored)
{
    expect({{"1+$2", "3"}, {"$1 ", ""}, {"$$1$+$2$", "3"}, {"1$2", "12"}, {"1$mm", "1mm"}});
    expect({{QString("$").repeated(20000) + "1", "1"}}); // every "$" is removed
}

TEST_F(UnitsEvaluator, WhatIsNoTokenFails)
{
    expect({
        {"5%3", ""},
        {"!5", ""},
        {"5=3", ""},
        {"5&3", ""},
        {"5|3", ""},
        {"1&&&2", ""},
        {"#", ""},
        {"5'", ""},
        {"1;2", ""},
        {"[1]", ""},
        {"3µm", ""},
        {"é", ""},
        {"٣", ""}, // a digit, but not one of ASCII
        {"%1%2", ""},
        {".", ""},
        {"~1", ""},
    });
}

TEST_F(UnitsEvaluator, ParenthesesMustBeOpenedButNeedNotBeClosed)
{
    expect({
        {"1+2)", ""},
        {")", ""},
        {"(1))", ""},
        {"(1+2", "3", {open}},
        {"((1+2", "3", {open, open}},
        {"2*(1+2", "6", {open}},
        {"(", "", {open}},
        {"()", ""},
        {"()5", "5"},
        {"5()", "5"},
        {"5(3)", ""},
        {"(5)3", ""},
        {"sin(0", "0"}, // at the end, a function is applied without its ")"
        {"max(1,2", "2"},
    });
}

TEST_F(UnitsEvaluator, ConditionsSelect)
{
    expect({
        {"1?2:3", "2"},
        {"0?2:3", "3"},
        {"1?2mm:3s", "2mm"}, // the value chosen keeps its units
        {"0?2mm:3s", "3s"},
        {"1e-12?2:3", "2"},
        {"0.99e-12?2:3", "3"},
        {"-1?2:3", "2"},
        {"-0.99e-12?2:3", "3"},
        {"0/0?2:3", "2"},   // NaN is not below the limit
        {"1?2:0?3:4", "3"}, // (1?2:0)?3:4
        {"1?2:(0?3:4)", "2"},
        {"(1?0:1)?2:3", "3"},
        {"1mm?2:3", "", {"J:Units conversion error in '%1'"}},
        {"4+(1mm?2:3)", "4", {"J:Units conversion error in '%1'", tooFew}},
        {"1?2", "", {"J:Syntax  error in '%1'"}},
        {"1?2:", "", {"J:Syntax  error in '%1'"}},
        {"?1:2", "", {"J:Syntax  error in '%1'"}},
        {"1?0?4:5:6", "", {"J:Syntax  error in '%1'"}},
        {"(1?2):3", "", {"J:Syntax  error in '%1'"}},
        {"1:2", ""},
        {":", ""},
        {"1?2:3:4", ""},
        {"max(1:2)", ""},
    });
}

TEST_F(UnitsEvaluator, AnUnfinishedConditionIsReportedWithTwoBlanks)
{
    expect({{"1?2", "", {"J:Syntax  error in '%1'"}}, {"1*", "1", {"X:Syntax error in '%1'"}}});
}

TEST_F(UnitsEvaluator, FalseIsWhatIsSmallerThanOneInAMillionMillion)
{
    expect({
        {"0.5e-12&&1", "0"},
        {"1&&0.5e-12", "0"},
        {"1e-12||0", "1"},
        {"0||1e-12", "1"},
        {"1e-12&&1e-12", "1"},
        {"0.99e-12||0.99e-12", "0"},
        {"0.99999e-12&&1", "0"},
        {"-1||0", "1"},
        {"-5&&-6", "1"},
        {"2||3", "1"},
        {"0mm||3kg", "1"}, // units do not matter, and the result has none
        {"2mm&&3kg", "1"},
        {"0/0&&1", "1"}, // NaN is neither true nor false
        {"0/0||0", "0"},
        {"1&&", "1", {tooFew}},
        {"||1", "1", {tooFew}},
    });
}

TEST_F(UnitsEvaluator, NaNPassesInAndAndAsAConditionButNotInOr)
{
    expect({
        {"0/0&&1", "1"},
        {"1&&0/0", "1"},
        {"0/0?2:3", "2"},
        {"if(0/0,2,3)", "2"},
        {"0/0||0", "0"},
        {"0||0/0", "0"},
    });
}

TEST_F(UnitsEvaluator, ComparisonsAreExact)
{
    expect({
        {"1<2", "1"},
        {"2<1", "0"},
        {"2<2", "0"},
        {"2<=2", "1"},
        {"3<=2", "0"},
        {"2>1", "1"},
        {"2>2", "0"},
        {"2>=2", "1"},
        {"1>=2", "0"},
        {"1==1", "1"},
        {"1==1.0000000001", "0"},
        {"1!=1.0000000001", "1"},
        {"1!=1", "0"},
        {"0==-0", "1"},
        {"1ft==12in", "1"}, // both are compared in the units of the left one
        {"1m>1ft", "1"},
        {"1ft<=1in", "0"},
        {"0/0==0/0", "0"},
        {"0/0!=0/0", "1"},
        {"1e999==1e999", "0"}, // the difference is not a number
        {"1mm==1kg", "1", {"Units Conversion Error from kg to mm"}},
        {"1mm<2", "1", {"Units Conversion Error from (none) to mm"}},
        {"1<", "1", {tooFew}},
        {"1<=", "1", {tooFew}},
        {"1>", "1", {tooFew}},
        {"1>=", "1", {tooFew}},
        {"1==", "1", {tooFew}},
        {"1!=", "1", {tooFew}},
    });
}

TEST_F(UnitsEvaluator, ArithmeticFollowsTheUnits)
{
    expect({
        {"2*3mm+5mm", "11mm"},
        {"1m+1ft", "1.3048m"},
        {"1ft-1in", "0.916666666667ft"},
        {"6m/2mm", "3000"},
        {"6mm/2", "3mm"},
        {"3*2mm", "6mm"},
        {"sqrt(4mm*mm)", "4mm", {tooFew, "H:Units conversion error in '%1'"}}, // "mm" is a name
        {"1/0", "inf"},
        {"-1/0", "-inf"},
        {"3mm*2mm", "6mm", {"U:Invalid units in '%1'"}},
        {"1mm+2", "3mm", {"Units Conversion Error from (none) to mm"}},
        {"1-2mm", "-1", {"Units Conversion Error from mm to "}},
        {"6mm/2ns", "3", {"Units Conversion Error from ns to mm"}},
        {"(2m)^2", "2m", {"S:Invalid units in '%1'"}},
        {"2^2m", "2", {"S:Invalid units in '%1'"}},
        {"2^", "2", {tooFew}},
        {"2*", "2", {tooFew}},
        {"/2", "2", {tooFew}},
        {"*", "", {tooFew}},
    });
}

TEST_F(UnitsEvaluator, FunctionsOfOneNumberAreThoseOfTheCLibrary)
{
    const struct {
        const char *name;
        double argument;
        double value;
    } rows[] = {
        {"sqrt", 2, 1.4142135623730951},
        {"sin", 0.5, 0.479425538604203},
        {"cos", 0.5, 0.8775825618903728},
        {"tan", 0.5, 0.5463024898437905},
        {"asin", 0.5, 0.5235987755982989},
        {"acos", 0.5, 1.0471975511965979},
        {"atan", 0.5, 0.4636476090008061},
        {"exp", 0.5, 1.6487212707001282},
        {"sinh", 0.5, 0.5210953054937474},
        {"cosh", 0.5, 1.1276259652063807},
        {"tanh", 0.5, 0.46211715726000973},
        {"log", 2, 0.6931471805599453}, // the natural logarithm
        {"log10", 2, 0.3010299956639812},
        {"ceil", 0.5, 1},
        {"floor", 0.5, 0},
        {"abs", -0.5, 0.5},
        {"fabs", -0.5, 0.5},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const QString call = QString("%1(%2)").arg(row.name).arg(row.argument);
        EXPECT_DOUBLE_EQ(Units::value(call, "-", nullptr), row.value);
        EXPECT_EQ(printed(), "");
        const QString name = row.name;
        expect({
            {name + "(1mm)", "1mm", {"H:Units conversion error in '%1'"}},
            {name + "(1,2)", "", {"G:Syntax Error in '%1'"}},
            {name + "()", "", {"G:Syntax Error in '%1'"}},
        });
    }
    expect({{"sqrt(-1)", "nan"}, {"log(0)", "-inf"}, {"floor(-0.5)", "-1"}, {"ceil(-0.5)", "-0"}});
}

TEST_F(UnitsEvaluator, FunctionsOfSeveralArguments)
{
    expect({
        {"if(1,2,3)", "2"},
        {"if(0,2,3)", "3"},
        {"if(0mm,2m,3s)", "3s"}, // units of the condition do not matter
        {"if(1mm,2m,3s)", "2m"},
        {"if(0.99e-12,2,3)", "3"},
        {"if(0/0,2,3)", "2"},
        {"atan2(1,-1)", "2.35619449019"},
        {"atan2(1m,100cm)", "0.785398163397"},
        {"atan2(1,1mm)", "0.785398163397", {"Units Conversion Error from mm to "}},
        {"pow(2,3)", "8"},
        {"pow(-8,1/3)", "nan"},
        {"min(1,2)", "1"},
        {"min(2,1)", "1"},
        {"max(1,2)", "2"},
        {"max(2,1)", "2"},
        {"min(1m,1ft)", "0.3048m"}, // the result is in the units of the first argument
        {"max(1ft,1m)", "3.28083989501ft"},
        {"min(1ft,1m)", "1ft"},
        {"min(0,-0)", "-0"}, // of equal arguments the second one is taken
        {"max(-0,0)", "0"},
        {"min(1,2mm)", "1", {"Units Conversion Error from mm to "}},
        {"max(1,min(2,3))", "2"},
        {"max(min(2,3),1)", "2"},
        {"max(max(1,2),max(3,4))", "4"},
        {"if(1<2,max(1,2),3)", "2"},
        {"max(1?2:3,0)", "2"},
    });
}

TEST_F(UnitsEvaluator, TheConditionOfTheFunctionIfMayHaveUnits)
{
    expect({
        {"if(0mm,2m,3s)", "3s"}, {"if(1mm,2m,3s)", "2m"},
        {"1mm?2m:3s", "", {"J:Units conversion error in '%1'"}}, // that of the operator must not
    });
}

TEST_F(UnitsEvaluator, WrongCountsOfArgumentsAreReported)
{
    const QString notTwo = "O:Syntax Error in '%1'";
    expect({
        {"if(1,2)", "", {"M:Syntax Error in '%1'"}},
        {"if(1)", "1", {"M:Syntax Error in '%1'"}},
        {"if()", "", {"M:Syntax Error in '%1'"}},
        {"if(1,2,3,4)", "", {"M:Syntax Error in '%1'"}},
        {"if(,,)", "", {"M:Syntax Error in '%1'"}},
        {"atan2(1)", "1", {notTwo}},
        {"atan2(1,2,3)", "", {notTwo}},
        {"min(1)", "1", {notTwo}},
        {"min(,)", "", {notTwo}},
        {"max(1,2,3)", "", {notTwo}},
        {"max()", "", {notTwo}},
        {"pow(2)", "2", {"P:Syntax Error in '%1'"}},
        {"pow(1,2,3)", "", {"P:Syntax Error in '%1'"}},
        {"pow(2,)", "2", {"P:Syntax Error in '%1'"}},
        {"sin(,1)", "1", {"G:Syntax Error in '%1'"}},
    });
}

TEST_F(UnitsEvaluator, PowRefusesUnitsAndTakesItsArgumentsAway)
{
    expect({
        {"pow(2m,2)", "", {"Q:Invalid units in '%1'"}},
        {"pow(2,2m)", "", {"Q:Invalid units in '%1'"}},
        {"3+pow(2m,2)", "3", {"Q:Invalid units in '%1'", tooFew}},
    });
}

TEST_F(UnitsEvaluator, UnknownFunctionsAreToldByNameIfTheyHaveOneNumber)
{
    expect({
        {"foo(1)", "1", {"Unknown function foo in '%1'"}},
        {"Sin(1)", "1", {"Unknown function Sin in '%1'"}},
        {"_f9(1)", "1", {"Unknown function _f9 in '%1'"}},
        {"foo(1mm)", "1mm", {"H:Units conversion error in '%1'"}},
        {"foo(1,2)", "", {"G:Syntax Error in '%1'"}},
        {"foo()", "", {"G:Syntax Error in '%1'"}},
        {"1+foo(2)", "3", {"Unknown function foo in '%1'"}},
    });
}

TEST_F(UnitsEvaluator, CommasAreCountedSinceTheLastClosingParenthesis)
{
    expect({
        {"1,", "1"}, // outside of a call commas do nothing
        {",1", "1"},
        {"1,2", ""},
        {"(1,2)", ""},
        // The count of commas in max stays for sin, because no ")" follows.
        {"max(1,2)+sin(3", "5", {"G:Syntax Error in '%1'"}},
        {"max(1,min(2,3", "", {"O:Syntax Error in '%1'"}},
        // The commas of an inner group are forgotten.
        {"sin((1,2))", "", {}},
        {"max(1,(2,3))", "", {}},
        // So are the commas of the expression before.
        {"1,", "1"},
        {"sin(0", "0"},
        {"if((1,2),3,4)", "", {}},
    });
}

TEST_F(UnitsEvaluator, AFunctionWithoutArgumentsTakesWhatIsThere)
{
    expect({{"2+sin()", "0.909297426826", {tooFew}},
        {"8*max(,)", "8", {"O:Syntax Error in '%1'", tooFew}}});
    // But a value before the call does not stand in for a missing argument.
    expect({{"1+max(2)", "3", {"O:Syntax Error in '%1'"}}});
}

TEST_F(UnitsEvaluator, NamesStandForTheTextsOfMacros)
{
    Macro::hash["five"] = "5";
    Macro::hash["sum"] = "2+3";
    Macro::hash["length_1"] = "3mm";
    Macro::hash["again"] = "five+five";
    Macro::hash["empty"] = "";
    Macro::globalHash["everywhere"] = "7";
    expect({
        {"five", "5"}, {"$five+1", "6"}, {"five*sum", "13"}, // text, not a value: 5*2+3
        {"2*length_1", "6mm"}, {"again", "10"}, {"everywhere", "7"}, {"five&&0", "0"},
        {"five!=5", "0"}, {"five-3", "2"}, // after a number, a minus is binary
        {"empty-3", "-3"},                 // here an operand is still expected
        {"(2)empty-3", "-1"},              // here it is not
        {"sin(empty)", "", {"G:Syntax Error in '%1'"}}, {"unknown", ""},
        {"2*unknown", "2", {tooFew}}, {"unknown2", ""}, {"2__3", "2"},
        {"five(1)", "1", {"Unknown function five in '%1'"}}, // the name of a function is no macro
    });
}

TEST_F(UnitsEvaluator, TheTextOfAMacroMergesWithWhatFollows)
{
    Macro::hash["one"] = "1";
    Macro::hash["e"] = "2e";
    Macro::hash["greater"] = ">";
    Macro::hash["bar"] = "|";
    Macro::hash["call"] = "max(1";
    Macro::hash["name"] = "si";
    Macro::hash["open"] = "sin(";
    expect({
        {"one.5", "1.5"},
        {"e-1", "0.2"},
        {"(3)greater=3", "1"},
        {"(0)bar|1", "1"},
        {"call,2)", "2"},
        {"open.0)", "0"},
        {"one^2", "1"},
    });
}

TEST_F(UnitsEvaluator, AMacroThatHoldsItsOwnNameIsScannedForEver)
{
    Macro::hash["a"] = "a";
    Macro::hash["b"] = "c";
    Macro::hash["c"] = "b";
    expectEndless([] { Units::value("a", "-", nullptr); });
    expectEndless([] { Units::value("b", "-", nullptr); });
}

TEST_F(UnitsEvaluator, TheResultIsConvertedToTheUnitsAskedFor)
{
    bool ok = false;
    EXPECT_EQ(Units::value("3ft", "in", &ok), 36);
    EXPECT_TRUE(ok);
    EXPECT_EQ(valuesLeft(), QStringList{"36in"});
    EXPECT_EQ(Units::value("3", "", nullptr), 3);
    EXPECT_EQ(Units::value("3ft", "-", nullptr), 3);
    EXPECT_EQ(valuesLeft(), QStringList{"3ft"});
    EXPECT_EQ(Units::value("3ft", "", &ok), 3); // "" means no unit, and not any unit
    EXPECT_FALSE(ok);
    EXPECT_EQ(valuesLeft(), QStringList{"3"});
    EXPECT_EQ(printed(), "");

    // For another kind, the caller is told in one of two ways, and gets the number.
    EXPECT_EQ(Units::value("3kg", "mm", &ok), 3);
    EXPECT_FALSE(ok);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(valuesLeft(), QStringList{"3mm"});
    EXPECT_EQ(Units::value("3kg", "mm", nullptr), 3);
    EXPECT_EQ(printed(), reported("Units Conversion Error from kg to mm"));
}

TEST_F(UnitsEvaluator, AStarAsksForTheStandardUnit)
{
    bool ok = false;
    EXPECT_EQ(Units::value("2cm", "*", &ok), 2 * 0.3937007874015748 / 0.03937007874015748);
    EXPECT_TRUE(ok);
    EXPECT_EQ(valuesLeft(), QStringList{"20mm"});
    EXPECT_EQ(Units::value("1km", "*", nullptr), 1 * 39370.078740157485 / 0.03937007874015748);
    EXPECT_EQ(Units::value("2kg", "*", nullptr), 2);
    EXPECT_EQ(valuesLeft(), QStringList{"2kg"});
    EXPECT_EQ(Units::value("2furlong", "*", nullptr), 0);
    EXPECT_EQ(valuesLeft(), QStringList{"0"});
    EXPECT_EQ(printed(), "");

    // After a failure, the result is what is left, in its standard unit.
    EXPECT_EQ(Units::value("2cm!", "*", &ok), 2 * 0.3937007874015748 / 0.03937007874015748);
    EXPECT_FALSE(ok);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(Units::value("!", "*", nullptr), 0);
    EXPECT_EQ(printed(), reported("D:Syntax Error in '!'"));
    EXPECT_EQ(valuesLeft(), QStringList());
}

TEST_F(UnitsEvaluator, NothingIsZeroAndTouchesNeitherFlagNorStack)
{
    Units::value("4mm", "-", nullptr);
    for (const char *nothing : {"", "$", "$$$"}) {
        for (bool before : {false, true}) {
            bool ok = before;
            EXPECT_EQ(Units::value(nothing, "kg", &ok), 0);
            EXPECT_EQ(ok, before);
            EXPECT_EQ(Units::value(nothing, "-", nullptr), 0);
        }
    }
    EXPECT_EQ(valuesLeft(), QStringList{"4mm"});
    EXPECT_EQ(Units::currentExpression, "$$$");
    bool ok = false;
    EXPECT_EQ(Units::value("", "*", &ok), 4); // the result before, in its standard unit
    EXPECT_FALSE(ok);
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsEvaluator, AFailureLeavesTheStacksAsTheyStand)
{
    const auto pending = [] {
        QStringList list;
        for (const Units::Operator &operation : Units::op)
            list.append(operation.name + " " + QString::number(operation.precedence));
        return list;
    };
    Units::value("1mm+2*3 ", "-", nullptr);
    EXPECT_EQ(valuesLeft(), (QStringList{"1mm", "2", "3"}));
    EXPECT_EQ(pending(), (QStringList{"--start-- 0", "+ 8", "* 9"}));
    Units::value("max(1,(2?-3^4==5||6&&7 ", "-", nullptr);
    EXPECT_EQ(
        pending(), (QStringList{"--start-- 0", "max 1", ", 3", "( 2", "? 4", "|| 5", "&& 6"}));
    EXPECT_EQ(valuesLeft(), (QStringList{"1", "2", "0", "6", "7"}));
    Units::value("1||1||1 ", "-", nullptr); // an operator of equal precedence is applied first
    EXPECT_EQ(valuesLeft(), (QStringList{"1", "1"}));
    Units::value("1&&1&&1 ", "-", nullptr);
    EXPECT_EQ(valuesLeft(), (QStringList{"1", "1"}));
    Units::value("1?2:3:4", "-", nullptr);
    EXPECT_EQ(pending(), (QStringList{"--start-- 0", "? 4", ": 4"}));
    Units::value("-1)", "-", nullptr);
    EXPECT_EQ(pending(), QStringList{"--start-- 0"});
    EXPECT_EQ(valuesLeft(), QStringList{"-1"});
    EXPECT_EQ(Units::value("1", "-", nullptr), 1); // the next one starts afresh
    EXPECT_EQ(pending(), QStringList());
}

TEST_F(UnitsEvaluator, TheUsersOwnPercentSignsStay)
{
    Units::value("%1 %2", "-", nullptr);
    EXPECT_EQ(printed(), reported("D:Syntax Error in '%1 %2'"));
    Talmo::Error::line = "set %1";
    Talmo::Error::lineNumber = 2;
    Units::value("f(1)%2", "-", nullptr);
    EXPECT_EQ(printed(),
        "Error: Syntax Error Unknown function f in 'f(1)%2', at line 2\n       line: set %1\n"
        "Error: Syntax Error D:Syntax Error in 'f(1)%2', at line 2\n       line: set %1\n");
}

TEST_F(UnitsEvaluator, OperatorsOutsideTheGrammarAreReported)
{
    Units::currentExpression = "e";
    const struct {
        Units::Operator operation;
        const char *problem;
        QStringList left; ///< what is left of the values 1mm and 2mm
    } rows[] = {
        {{"--start--", 0}, nullptr, {"1mm", "2mm"}},
        {{"+", -1}, nullptr, {"1mm", "2mm"}},
        {{"+", 12}, nullptr, {"1mm", "2mm"}},
        {{":", 4}, nullptr, {"1mm", "2mm"}},
        {{"?", 4}, "J:Syntax  error in 'e'", {"1mm", "2mm"}},
        {{"(", 2}, "I:Syntax Error in 'e'", {"1mm", "2mm"}},
        {{"=~", 7}, "K:Syntax Error in 'e'", {"1mm"}},
        {{"%", 8}, "L:Syntax Error in 'e'", {"1mm"}},
        {{"%", 9}, "R:Syntax Error in 'e'", {"1mm"}},
        {{"!", 11}, "T:Syntax Error in 'e'", {"1mm", "2mm"}},
        {{"+", 8}, nullptr, {"3mm"}},
        {{"-", 11}, nullptr, {"1mm", "-2mm"}},
        {{"any", 5}, nullptr, {"1"}},
        {{"any", 6}, nullptr, {"1"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.operation.name.toStdString() + std::to_string(row.operation.precedence));
        Units::val.clear();
        Units::val.append(value(1, "mm"));
        Units::val.append(value(2, "mm"));
        Units::doit(row.operation);
        EXPECT_EQ(valuesLeft(), row.left);
        EXPECT_EQ(printed(), row.problem == nullptr ? "" : reported(row.problem));
    }
    // The difference is computed before the name of the relation is looked at.
    Units::val.clear();
    Units::val.append(value(1, "mm"));
    Units::val.append(value(2, "kg"));
    Units::doit({"=~", 7});
    EXPECT_EQ(printed(),
        reported("Units Conversion Error from kg to mm") + reported("K:Syntax Error in 'e'"));
    // Too few values are reported before anything else.
    EXPECT_EQ(valuesLeft(), QStringList{"1mm"});
    for (int precedence = 5; precedence <= 10; ++precedence) {
        Units::doit({"strange", precedence});
        EXPECT_EQ(printed(), reported("X:Syntax error in 'e'"));
        EXPECT_EQ(valuesLeft(), QStringList{"1mm"});
    }
    Units::doit({"strange", 11}); // at this precedence one value is enough
    EXPECT_EQ(printed(), reported("T:Syntax Error in 'e'"));
    EXPECT_EQ(valuesLeft(), QStringList{"1mm"});
    Units::val.clear();
    for (int precedence = 5; precedence <= 11; ++precedence) {
        Units::doit({"strange", precedence});
        EXPECT_EQ(printed(), reported("X:Syntax error in 'e'"));
    }
    Units::commaCount = 4;
    Units::doit({",", 3});
    EXPECT_EQ(Units::commaCount, 5);
}

TEST_F(UnitsEvaluator, TakesExpressionsOfAnyLength)
{
    const int terms = 20000;
    EXPECT_EQ(Units::value("1" + QString("+1").repeated(terms), "-", nullptr), 1 + terms);
    EXPECT_EQ(Units::value(
                  QString("(").repeated(terms) + "7" + QString(")").repeated(terms), "-", nullptr),
        7);
    Macro::hash["one"] = "1";
    Macro::hash["many"] = QString("one+").repeated(terms) + "1";
    EXPECT_EQ(Units::value("many", "-", nullptr), 1 + terms);
    EXPECT_EQ(Units::value("0" + QString("+one").repeated(terms), "-", nullptr), terms);
    EXPECT_EQ(printed(), "");
}
