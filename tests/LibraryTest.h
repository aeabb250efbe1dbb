#pragma once

#include "Printing.h"
#include "talmo/Console.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <sys/time.h>

/// A test of modules that keep their state in static members and report through the console. Each
/// test starts with the tables as they were after start-up (the library remembers unknown units!),
/// without macros, with empty stacks, and with nothing printed.
class LibraryTest : public testing::Test
{
protected:
    LibraryTest()
    {
        forgetMacros();
        forgetEvaluations();
    }
    ~LibraryTest() override
    {
        forgetMacros();
        forgetEvaluations();
    }

    static void forgetMacros()
    {
        Talmo::Macro::hash.clear();
        Talmo::Macro::globalHash.clear();
        Talmo::Macro::stack.clear();
        Talmo::Error::line.clear();
        Talmo::Error::lineNumber = 0;
    }

    void forgetEvaluations()
    {
        Talmo::Units::typeHash = typeHash;
        Talmo::Units::factorHash = factorHash;
        Talmo::Units::currentExpression.clear();
        Talmo::Units::commaCount = 0;
        Talmo::Units::val.clear();
        Talmo::Units::op.clear();
        printed();
    }

    /// What was printed since the last call.
    static QString printed()
    {
        const QString text = Talmo::Console::initial == nullptr ? "" : *Talmo::Console::initial;
        if (Talmo::Console::initial != nullptr)
            Talmo::Console::initial->clear();
        return text.isEmpty() ? "" : text;
    }

    /// What Error::syntax prints for \a problem if neither the line nor its number is known.
    static QString reported(const QString &problem)
    {
        return "Error: Syntax Error " + problem + "\n";
    }

    /// Makes a value in short, for the tables of tests.
    static Talmo::Units::Value value(double number, const QString &units = "")
    {
        Talmo::Units::Value result;
        result.value = number;
        result.units = units;
        return result;
    }

    /// The values on the stack, from the bottom, with their units.
    static QStringList valuesLeft()
    {
        QStringList list;
        for (const Talmo::Units::Value &left : Talmo::Units::val)
            list.append(left.to_s("%.12g", /*withUnits=*/true));
        return list;
    }

    /// Expects that \a operation goes on for ever. A copy of this process tries it, for as long as
    /// a fifth of a second of the processor's time.
    template <typename Operation>
    static void expectEndless(Operation operation)
    {
        const auto tryIt = [&operation] {
            const itimerval limit = {{0, 0}, {0, 200000}};
            setitimer(ITIMER_VIRTUAL, &limit, nullptr);
            operation();
            std::_Exit(EXIT_SUCCESS);
        };
        EXPECT_EXIT(tryIt(), testing::KilledBySignal(SIGVTALRM), "");
    }

private:
    const QHash<QString, int> typeHash = Talmo::Units::typeHash;
    const QHash<QString, double> factorHash = Talmo::Units::factorHash;
};
