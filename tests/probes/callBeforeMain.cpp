// Calls the operation that the variable OPERATION names from a static initialiser, then says
// "main" from main.

#include "Console.h"
#include "RegExp.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

using Talmo::RE;

namespace
{

struct Operation {
    const char *name;
    void (*call)();
};

const Operation operations[] = {
    {"find", [] { RE.find("a", "a"); }},
    {"match", [] { RE.match("a", "a"); }},
    {"replace", [] { RE.replace("a", "a", "b"); }},
    {"substitute",
        [] {
            QString text = "a";
            RE.substitute("a", text, "b");
        }},
    {"replaceAll", [] { RE.replaceAll("a", "a", "b"); }},
    {"replaceAll of nothing", [] { RE.replaceAll("", "a", "b"); }},
    {"Console::printf", [] { Talmo::Console::printf("early %d\n", 1); }},
};

struct Caller {
    Caller()
    {
        const char *const wanted = std::getenv("OPERATION");
        for (const Operation &operation : operations) {
            if (wanted != nullptr && std::string_view(wanted) == operation.name)
                operation.call();
        }
    }
} caller;

} // namespace

int main()
{
    std::puts("main");
}
