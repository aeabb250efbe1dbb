// A static initialiser calls the operation that the environment variable OPERATION names, and main
// then prints "main". Without the variable, lists the operations that must crash before main.

#include "talmo/Console.h"
#include "talmo/Error.h"
#include "talmo/Flaw.h"
#include "talmo/Macro.h"
#include "talmo/RegExp.h"
#include "talmo/Units.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

using Talmo::Console;
using Talmo::Error;
using Talmo::Macro;
using Talmo::RE;
using Talmo::Units;
using Value = Talmo::Units::Value;

namespace
{

struct Operation {
    const char *name;
    void (*call)();
};

QString text = "a";
Value length;

// With these arguments an operation would have nothing to do, so only the guard can make it crash.
const Operation guarded[] = {
    {"RE.find", [] { RE.find("a", "a"); }},
    {"RE.findAt", [] { RE.findAt("a", "a", 0); }},
    {"RE.match", [] { RE.match("a", "a"); }},
    {"RE.replace", [] { RE.replace("a", "a", "b"); }},
    {"RE.substitute", [] { RE.substitute("a", text, "b"); }},
    {"RE.replaceAll", [] { RE.replaceAll("a", "a", "b"); }},
    {"RE.replaceAll of nothing", [] { RE.replaceAll("", "a", "b"); }},
    {"Error::syntax", [] { Error::syntax("a", "", -1); }},
    {"Error::displayDeferredMessages", [] { Error::displayDeferredMessages(""); }},
    {"Error::display", [] { Error::display(); }},
    {"flawOfExpression", [] { Talmo::flawOfExpression(""); }},
    {"flawOfLine", [] { Talmo::flawOfLine(""); }},
    {"Macro::value", [] { Macro::value("a"); }},
    {"Macro::isDefined", [] { Macro::isDefined("a"); }},
    {"Macro::deleteName", [] { Macro::deleteName("a"); }},
    {"Macro::pushDefinitions", [] { Macro::pushDefinitions(/*clear=*/true); }},
    {"Macro::popDefinitions", [] { Macro::popDefinitions(); }},
    {"Macro::pushAndDefine", [] { Macro::pushAndDefine({}); }},
    {"Macro::inspect", [] { Macro::inspect(); }},
    {"Macro::expand", [] { Macro::expand(""); }},
    {"Macro::successor", [] { Macro::successor(""); }},
    {"Units::standardUnit", [] { Units::standardUnit(""); }},
    {"Units::value", [] { Units::value("", "-", nullptr); }},
    {"Units::value in standard units", [] { Units::value("", "*", nullptr); }},
    {"Units::doit",
        [] {
            Units::doit({"--start--", 0});
        }},
    {"Units::evaluate", [] { Units::evaluate("%g", "", "-"); }},
    {"Units::unit", [] { Units::unit(""); }},
    {"Units::isSimpleNumber", [] { Units::isSimpleNumber(""); }},
    {"Units::isFloat", [] { Units::isFloat(""); }},
    {"Units::factor", [] { Units::factor("mm", "m"); }},
    {"Units::convertAll", [] { Units::convertAll("", "mm"); }},
    {"Units::check", [] { Units::check("a", "b"); }},
    {"Units::inspect", [] { Units::inspect(); }},
    {"Value from text", [] { Value(QString("1")); }},
    {"Value::convert", [] { length.convert(""); }},
    {"Value::to_s", [] { length.to_s("%g", /*withUnits=*/false); }},
    {"Value::add", [] { length.add({}); }},
    {"Value::sub", [] { length.sub({}); }},
    {"Value::mul", [] { length.mul({}); }},
    {"Value::div", [] { length.div({}); }},
    {"Value::neg", [] { length.neg(); }},
};

const Operation unguarded[] = {
    {"Console::printf", [] { Console::printf("early %d\n", 1); }},
    {"Error::message", [] { Error::message("early"); }},
    {"Error::reported",
        [] {
            Error::message("early");
            Console::printf("%d\n", static_cast<int>(Error::reported()));
        }},
    {"Units::compatibleUnits",
        [] { Console::printf("%s\n", qPrintable(Units::compatibleUnits("T").join(" "))); }},
    {"Units::Units",
        [] {
            const Units again;
            Console::printf("%d units, %d of them standard\n",
                static_cast<int>(Units::typeHash.size()),
                static_cast<int>(Units::standardUnits.size()));
        }},
    {"the state of Error",
        [] {
            Console::printf("'%s' %d %d '%s' %d '%s' %d %d\n", qPrintable(Error::line),
                Error::lineNumber, static_cast<int>(Error::current),
                qPrintable(Error::collectedMessages), Error::defer,
                qPrintable(Error::deferredMessages), static_cast<int>(Error::stack.size()),
                static_cast<int>(Error::stack2.size()));
        }},
    {"Value", [] { Console::printf("%g%s\n", Value().value, qPrintable(Value().units)); }},
};

struct Caller {
    Caller()
    {
        const char *const wanted = std::getenv("OPERATION");
        if (wanted == nullptr)
            return;
        for (const Operation &operation : guarded)
            callIfNamed(operation, wanted);
        for (const Operation &operation : unguarded)
            callIfNamed(operation, wanted);
    }
    static void callIfNamed(const Operation &operation, std::string_view wanted)
    {
        if (wanted == operation.name)
            operation.call();
    }
} caller;

} // namespace

int main()
{
    if (std::getenv("OPERATION") != nullptr) {
        std::puts("main");
        return 0;
    }
    for (const Operation &operation : guarded)
        std::puts(operation.name);
}
