#include "LibraryTest.h"
#include "talmo/Flaw.h"

#include <QFile>
#include <QRegularExpression>

#include <cstdlib>

#include <gtest/gtest.h>

// Compares the manual of expressions, units and macros with the library: every example, according
// to the kind of its block, the tables of operators, functions and messages, and the C++ code,
// which is also in this file.
//
//     ```expressions      EXPRESSION -> RESULT, evaluated with "%.12g" and "-"
//     ```macros           TEXT -> RESULT, expanded
//     ```convert UNITS    TEXT -> RESULT, by convertAll
//     ```calls            FUNCTION("ARGUMENT", ...) -> RESULT
//     ```flaws            TEXT -> WHAT, LENGTH at POSITION, by flawOfLine, or nothing; a text
//                         without a "$" by flawOfExpression
//     ```units            all that Units::inspect prints, without blanks at the ends of lines
//     ```cpp              is also in this file
//
// The text that an example prints is below it. In the first two kinds and among flaws, definitions
// "NAME = TEXT" and "global NAME = TEXT", and the other directives, are valid up to the end of the
// block.

using Talmo::Error;
using Talmo::Flaw;
using Talmo::flawOfExpression;
using Talmo::flawOfLine;
using Talmo::Macro;
using Talmo::Units;

namespace
{

// The C++ of the manual, as it shows it.

/// The value of \a expression in \a units. \a ok tells whether all went without a report.
double checkedValue(const QString &expression, const QString &units, bool &ok)
{
    const qint64 before = Error::reported();
    ok = false; // an empty expression leaves it so
    const double number = Units::value(expression, units, &ok);
    ok = ok && Error::reported() == before;
    return number;
}

/// The captures of \a pattern if it matches the whole of \a text, which is itself the first one;
/// otherwise empty.
QStringList captures(const QString &pattern, const QString &text)
{
    const QRegularExpression expression('^' + pattern + '$');
    const QRegularExpressionMatch match = expression.match(text);
    QStringList texts;
    for (int index = 0; match.hasMatch() && index <= expression.captureCount(); ++index)
        texts.append(match.captured(index));
    return texts;
}

/// Every piece of \a text that stands between two \a quotes.
QStringList quoted(QChar quotes, const QString &text)
{
    const QStringList pieces = text.split(quotes);
    QStringList inside;
    for (int index = 1; index < pieces.size(); index += 2)
        inside.append(pieces[index]);
    return inside;
}

QString readFile(const char *name)
{
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return QString::fromUtf8(file.readAll());
}

QString number(double value)
{
    return QString::number(value, 'g', 12);
}

QString truth(bool value)
{
    return value ? "true" : "false";
}

// The manual.

struct Block {
    QString kind;
    QString units; ///< of a block of conversions
    QStringList lines;
};

QStringList linesOfManual()
{
    return readFile(MANUAL_OF_EXPRESSIONS).split('\n');
}

QList<Block> blocksOfManual()
{
    QList<Block> blocks;
    bool inside = false;
    for (const QString &line : linesOfManual()) {
        if (line.startsWith("```")) {
            inside = !inside;
            if (inside)
                blocks.append({line.mid(3).section(' ', 0, 0), line.section(' ', 1), {}});
        } else if (inside) {
            blocks.last().lines.append(line);
        }
    }
    EXPECT_FALSE(inside) << "a block is never closed";
    return blocks;
}

/// The rows of the table whose first heading is \a heading; each row is a list of its cells.
QList<QStringList> tableOfManual(const QString &heading)
{
    QList<QStringList> rows;
    bool inside = false;
    for (QString line : linesOfManual()) {
        inside = inside ? line.startsWith('|') : line.startsWith("| " + heading + " |");
        QStringList cells;
        for (const QString &cell : line.replace("\\|", "\1").split('|').mid(1))
            cells.append(cell.trimmed().replace('\1', '|'));
        if (inside)
            rows.append(cells);
    }
    return rows.mid(2);
}

// Running the examples.

struct Call {
    const char *name;
    int arguments;
    QString (*result)(const QStringList &arguments);
};

QString value(const QStringList &arguments)
{
    bool ok = true;
    const double result = Units::value(arguments[0], arguments[1], &ok);
    return number(result) + (ok ? ", ok" : ", not ok");
}

using List = const QStringList &;

// clang-format off
const Call calls[] = {
    { "compatibleUnits", 1, [](List a) { return Units::compatibleUnits(a[0]).join(", "); } },
    { "evaluate",        3, [](List a) { return Units::evaluate(a[0], a[1], a[2]); } },
    { "factor",          2, [](List a) { return number(Units::factor(a[0], a[1])); } },
    { "isFloat",         1, [](List a) { return truth(Units::isFloat(a[0])); } },
    { "isSimpleNumber",  1, [](List a) { return truth(Units::isSimpleNumber(a[0])); } },
    { "standardUnit",    1, [](List a) { return Units::standardUnit(a[0]); } },
    { "unit",            1, [](List a) { return Units::unit(a[0]); } },
    { "value",           2, value },
};
// clang-format on

/// Follows \a line if it is a definition or another directive.
bool isDirective(const QString &line)
{
    const QStringList definition = captures("(global )?([A-Za-z0-9_]+) =(?: (.*))?", line);
    const QStringList number = captures("line ([0-9]+)", line);
    if (!definition.isEmpty())
        (definition[1].isEmpty() ? Macro::hash : Macro::globalHash)[definition[2]] = definition[3];
    else if (!number.isEmpty())
        Error::lineNumber = number[1].toInt();
    else if (line == "pushDefinitions(true)")
        Macro::pushDefinitions(/*clear=*/true);
    else if (line == "popDefinitions()")
        Macro::popDefinitions();
    else
        return false;
    return true;
}

/// Each block starts with the library in the state after start-up. So does each example, except
/// that the block's macros and line number are set.
class ExpressionsManual : public LibraryTest
{
protected:
    QString evaluated(const QString &expression)
    {
        forgetEvaluations();
        return Units::evaluate("%.12g", expression, "-");
    }

    void runBlock(const Block &block);
    QString resultOf(const Block &block, const QString &example);
    QString resultOfCall(const QString &call);
    void expectFlagFor(const QString &expression, bool failed);

    QHash<QString, int> examples; ///< how many examples of each kind have been run
    QString allPrinted;           ///< what they have printed
};

QString ExpressionsManual::resultOfCall(const QString &call)
{
    const QStringList parts = captures(R"((\w+)\((.*)\))", call);
    if (!parts.isEmpty()) {
        const QStringList arguments = quoted('"', parts[2]);
        for (const Call &known : calls) {
            if (parts[1] == known.name && arguments.size() == known.arguments)
                return known.result(arguments);
        }
    }
    ADD_FAILURE() << "not a known call";
    return QString();
}

QString flawIn(const QString &text)
{
    const Flaw flaw = text.contains('$') ? flawOfLine(text) : flawOfExpression(text);
    if (flaw.what.isEmpty())
        return "";
    return flaw.what + ", " + QString::number(flaw.length) + " at " +
           QString::number(flaw.position);
}

QString ExpressionsManual::resultOf(const Block &block, const QString &example)
{
    forgetEvaluations();
    if (block.kind == "expressions")
        return evaluated(example);
    if (block.kind == "convert")
        return Units::convertAll(example, block.units);
    if (block.kind == "calls")
        return resultOfCall(example);
    if (block.kind == "flaws")
        return flawIn(example);
    if (Error::lineNumber > 0)
        Error::line = example;
    return Macro::expand(example);
}

/// Evaluates \a expression with a flag. Expects that this fails, with the value 0, if the
/// evaluation without a flag has \a failed, and succeeds otherwise.
void ExpressionsManual::expectFlagFor(const QString &expression, bool failed)
{
    bool ok = false;
    const double result = Units::value(expression, "-", &ok);
    EXPECT_EQ(ok, !failed);
    if (failed) {
        EXPECT_EQ(result, 0);
    }
}

void ExpressionsManual::runBlock(const Block &block)
{
    const bool takesDirectives =
        QStringList({"expressions", "macros", "flaws"}).contains(block.kind);
    forgetMacros();
    for (int index = 0; index < block.lines.size(); ++index) {
        const QString line = block.lines[index];
        SCOPED_TRACE(line.toStdString());
        const QStringList example = captures("(.*) ->(?: (.*))?", line);
        if (example.isEmpty()) {
            EXPECT_TRUE(takesDirectives && isDirective(line)) << "a line that means nothing";
            continue;
        }
        QString expected;
        const QRegularExpression continues("^(Error|       line): ");
        while (index + 1 < block.lines.size() && block.lines[index + 1].contains(continues))
            expected += block.lines[++index] + '\n';
        EXPECT_EQ(resultOf(block, example[1]).toStdString(), example[2].toStdString());
        const QString report = printed();
        EXPECT_EQ(report.toStdString(), expected.toStdString());
        ++examples[block.kind];
        allPrinted += report;
        if (block.kind == "expressions")
            expectFlagFor(example[1], report.contains("D:Syntax Error"));
    }
}

} // namespace

TEST_F(ExpressionsManual, TheExamplesAreTrueAndShowEveryMessage)
{
    for (const Block &block : blocksOfManual()) {
        const QString text = block.lines.join('\n') + '\n';
        if (block.kind == "units" || block.kind == "cpp")
            ++examples[block.kind];
        if (block.kind == "units")
            EXPECT_EQ(Units::inspect().replace(" \n", "\n").toStdString(), text.toStdString());
        else if (block.kind == "cpp")
            EXPECT_TRUE(readFile(THIS_TEST).contains(text)) << text.toStdString();
        else if (QStringList({"expressions", "macros", "convert", "calls", "flaws"})
                     .contains(block.kind))
            runBlock(block);
        else if (block.kind != "session") // the companion's tests run these
            ADD_FAILURE() << "an unknown kind of block: " << block.kind.toStdString();
    }
    EXPECT_GE(examples["expressions"], 40);
    EXPECT_GE(examples["macros"], 12);
    EXPECT_GE(examples["convert"], 6);
    EXPECT_GE(examples["calls"], 12);
    EXPECT_GE(examples["flaws"], 8);
    EXPECT_EQ(examples["units"], 1);
    EXPECT_EQ(examples["cpp"], 1);

    const QList<QStringList> messages = tableOfManual("message");
    EXPECT_GE(messages.size(), 18);
    for (const QStringList &row : messages) {
        for (const QString &message : quoted('`', row[0])) {
            SCOPED_TRACE(message.toStdString());
            QString pattern = QRegularExpression::escape(message);
            pattern.replace(QRegularExpression(R"(\\%[12])"), ".*");
            const bool shown = allPrinted.contains(QRegularExpression("Error " + pattern));
            EXPECT_NE(shown, row[1].startsWith("only "));
        }
    }
}

// Each pair of operators groups as the table says, for all operands from 0 to 3. For neighbouring
// rows, grouping in the other way must give another result.
TEST_F(ExpressionsManual, OperatorsGroupAsTheTableSays)
{
    struct Operator {
        QString name;
        int row;
        bool fromLeft;
    };
    QList<Operator> operators;
    const QList<QStringList> rows = tableOfManual("operators");
    for (int row = 0; row < rows.size(); ++row) {
        for (const QString &name : quoted('`', rows[row][0])) {
            if (row > 0 && row < rows.size() - 1)
                operators.append({name, row, rows[row][2] == "left"});
        }
    }
    ASSERT_EQ(operators.size(), 13);
    EXPECT_EQ(quoted('`', rows.first()[0]), QStringList("-")); // the minus sign
    EXPECT_EQ(quoted('`', rows.last()[0]), QStringList({"?", ":"}));

    const auto expectSame = [this](const QString &plain, const QString &grouped) {
        EXPECT_EQ(evaluated(plain), evaluated(grouped)) << plain.toStdString();
    };
    for (const Operator &a : operators) {
        for (const Operator &b : operators) {
            bool matters = std::abs(a.row - b.row) != 1;
            for (int operands = 0; operands < 64; ++operands) {
                const QString x = QString::number(operands / 16);
                const QString y = QString::number(operands / 4 % 4);
                const QString z = QString::number(operands % 4);
                const QString fromLeft = '(' + x + a.name + y + ')' + b.name + z;
                const QString fromRight = x + a.name + '(' + y + b.name + z + ')';
                const bool left = a.row < b.row || (a.row == b.row && a.fromLeft);
                expectSame(x + a.name + y + b.name + z, left ? fromLeft : fromRight);
                matters = matters || evaluated(fromLeft) != evaluated(fromRight);
            }
            EXPECT_TRUE(matters) << a.name.toStdString() << b.name.toStdString();
        }
        expectSame("-3" + a.name + '2', "(-3)" + a.name + '2');
        expectSame('2' + a.name + "-3", '2' + a.name + "(-3)");
        expectSame('2' + a.name + "3?4:5", "(2" + a.name + "3)?4:5");
        expectSame("1?2" + a.name + "3:5", "1?(2" + a.name + "3):5");
        expectSame("0?2:3" + a.name + '5', "0?2:(3" + a.name + "5)");
        expectSame("max(2" + a.name + "3,0)", "max((2" + a.name + "3),0)");
    }
}

TEST_F(ExpressionsManual, FunctionsTakeWhatTheTableSays)
{
    int functions = 0;
    for (const QStringList &row : tableOfManual("functions")) {
        for (const QString &name : quoted('`', row[0])) {
            const auto printedBy = [&](int count, const QString &argument) {
                QStringList arguments;
                while (arguments.size() < count)
                    arguments.append(argument);
                evaluated(name + '(' + arguments.join(',') + ')');
                return printed();
            };
            SCOPED_TRACE(name.toStdString());
            const int count = row[1].toInt();
            EXPECT_EQ(printedBy(count, "0.5"), QString());
            EXPECT_TRUE(printedBy(count - 1, "0.5").contains(":Syntax Error"));
            EXPECT_TRUE(printedBy(count + 1, "0.5").contains(":Syntax Error"));
            EXPECT_TRUE(row[2] == "yes" || row[2] == "no");
            EXPECT_EQ(printedBy(count, "1mm").isEmpty(), row[2] == "yes");
            ++functions;
        }
    }
    EXPECT_EQ(functions, 22);
}

TEST_F(ExpressionsManual, UnitsAreWhatTheTextSays)
{
    const QString manual = readFile(MANUAL_OF_EXPRESSIONS);
    const QString standard = manual.section("**standard units** are", 1).section('.', 0, 0);
    EXPECT_EQ(QStringList("") + quoted('`', standard), Units::standardUnits);
    for (const QStringList &units : Units::types)
        EXPECT_EQ(Units::factorHash.value(units.first()), 1) << units.first().toStdString();
}

TEST_F(ExpressionsManual, ItsProgramNoticesErrors)
{
    const struct {
        const char *expression;
        bool reliable;
    } rows[] = {
        {"1in+1mm", true}, {"sin(1mm)", false}, {"1s", false}, {"1 mm", false}, {"", false}};
    for (const auto &row : rows) {
        bool ok = !row.reliable;
        checkedValue(row.expression, "mm", ok);
        EXPECT_EQ(ok, row.reliable) << row.expression;
    }
}
