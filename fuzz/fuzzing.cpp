#include "fuzzing.h"

#include "PatternCost.h"
#include "talmo/Console.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/RegExp.h"
#include "talmo/StartupGuard.h"
#include "talmo/Units.h"

#include <QRegExp>

#include <cstdio>
#include <cstdlib>

using namespace Talmo;

/// libFuzzer calls this once, before the first input.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    enterMain();
    // What the product prints would hide what the fuzzer prints on standard error.
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        std::abort();
    return 0;
}

void require(bool holds, const char *promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "Broken: %s\n", promise);
    std::abort();
}

std::string_view Input::takeUntil(std::string_view separator)
{
    const std::size_t end = separator.empty() ? std::string_view::npos : rest.find(separator);
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + separator.size());
    return taken;
}

QString Input::text(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

bool isCheapPattern(const QString &pattern)
{
    int quantifiers = 0;
    for (const QChar character : pattern)
        quantifiers += QString("*+?{").contains(character) ? 1 : 0;
    return pattern.size() <= 60 && quantifiers <= 4 && pattern.count('{') <= 1 &&
           isAffordable(pattern);
}

void startAfresh()
{
    static const QHash<QString, int> typeHash = Units::typeHash;
    static const QHash<QString, double> factorHash = Units::factorHash;
    Units::typeHash = typeHash;
    Units::factorHash = factorHash;
    Units::currentExpression.clear();
    Units::commaCount = 0;
    Units::val.clear();
    Units::op.clear();
    Macro::hash.clear();
    Macro::globalHash.clear();
    // The library keeps patterns for ever. A program has a few of them, inputs have any number.
    qDeleteAll(RegExp::hash);
    RegExp::hash.clear();
    RegExp::prev = nullptr;
    printed();
}

QString printed()
{
    if (Console::initial == nullptr)
        return "";
    QString text = *Console::initial;
    Console::initial->clear();
    return text;
}
