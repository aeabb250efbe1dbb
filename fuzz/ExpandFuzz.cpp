// Input: three lines with the texts of the global macros g_0 to g_2, two lines with the texts of
// the local macros n_0 and n_1, and the text to expand.

#include "FlawChecks.h"
#include "PlainExpansion.h"
#include "fuzzing.h"
#include "talmo/Macro.h"

#include <QRegularExpression>

using Talmo::Flaw;
using Talmo::flawOfLine;
using Talmo::Macro;

namespace
{

/// \a text without any "_", except in the names of macros below g_\a rank. The evaluator would go
/// on for ever with a macro that leads back to itself; PlainExpansion notices all other circles.
QString withoutCircle(const QString &text, int rank)
{
    static const QRegularExpression underscore(R"(g_([0-2])(?![A-Za-z0-9_])|_)");
    QString result;
    auto done = text.left(0).size();
    auto matches = underscore.globalMatch(text.left(32)); // values within values multiply
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const bool isLower = match.capturedLength() > 1 && match.captured(1).toInt() < rank;
        result += text.mid(done, match.capturedStart() - done);
        result += isLower ? match.captured() : "";
        done = match.capturedEnd();
    }
    return result + text.left(32).mid(done);
}

/// \a text as a counter. It holds only letters and digits, so it never counts up to a "_", and
/// never becomes a name.
QString counter(QString text)
{
    static const QRegularExpression others("[^A-Za-z0-9]");
    return text.remove(others).left(32);
}

/// What is wrong in \a text with these macros, which may refer to themselves.
Flaw flawOf(const QString &text, const Macro::Table &globals, const Macro::Table &locals)
{
    startAfresh();
    Macro::globalHash = globals;
    Macro::hash = locals;
    Flaw flaw = flawOfLine(text);
    require(hasPlace(flaw, text), "a flaw stands in the text");
    require(printed().isEmpty(), "looking for flaws reports nothing");
    require(Macro::hash == locals && Macro::globalHash == globals, "and counts nothing");
    return flaw;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    Macro::Table any; // may lead back to itself
    Macro::Table globals;
    Macro::Table locals;
    for (int rank = 0; rank < 3; ++rank) {
        const QString name = "g_" + QString::number(rank);
        any[name] = input.takeLine();
        globals[name] = withoutCircle(any[name], rank);
    }
    for (int index = 0; index < 2; ++index) {
        const QString name = "n_" + QString::number(index);
        any[name] = input.takeLine();
        locals[name] = counter(any[name]);
    }
    const QString text = input.takeRest();
    flawOf(text, globals, any);
    const Flaw flaw = flawOf(text, globals, locals);

    startAfresh();
    Macro::globalHash = globals;
    Macro::hash = locals;
    const std::optional<QString> expected = PlainExpansion().expand(text);
    const QString report = printed();
    const Macro::Table counted = Macro::hash;
    if (!expected)
        return 0; // the expansion would go on for ever

    startAfresh();
    Macro::globalHash = globals;
    Macro::hash = locals;
    require(Macro::expand(text) == *expected, "each reference is replaced where it stands");
    require(printed() == report, "an expansion reports the same");
    require(isReportOf(flaw, report), "what is reported is no flaw, or marked");
    require(Macro::hash == counted && Macro::globalHash == globals, "counters have counted");
    return 0;
}
