// Macros are texts with names, in two tables: local ones, whose scopes are kept on a stack, and
// global ones. A name is looked up in the local table first.
//
// Expansion makes one pass over a line for each kind of reference: $name, ${name}, ${name++} and
// ${expression}, in this order. Inserted text is put back in front of the rest, so that the same
// pass reads it, too. The first error ends the expansion, and the result is then empty. Where it
// surely comes to the same, the first two passes are one (PlainReferences.h).

#include "talmo/Macro.h"

#include "PlainReferences.h"
#include "References.h"
#include "findMacro.h"
#include "talmo/Error.h"
#include "talmo/StartupGuard.h"
#include "talmo/Units.h"

#include <QStringList>

#include <algorithm>

namespace Talmo
{

Macro::Table Macro::hash;
Macro::Table Macro::globalHash;
QList<Macro::Table> Macro::stack;

namespace
{

QString listing(const Macro::Table &table)
{
    QStringList names = table.keys();
    std::sort(names.begin(), names.end());
    QString text;
    for (const QString &name : names)
        text += "  " + name + "=>" + table.value(name) + '\n';
    return text;
}

} // namespace

QString Macro::value(QString name)
{
    startupGuard();
    const QString *const macro = findMacro(name);
    return macro != nullptr ? *macro : QStringLiteral("");
}

bool Macro::isDefined(QString name)
{
    startupGuard();
    return findMacro(name) != nullptr;
}

void Macro::deleteName(QString name)
{
    startupGuard();
    hash.remove(name);
}

void Macro::pushDefinitions(bool clear)
{
    startupGuard();
    stack.append(hash);
    if (clear)
        hash.clear();
}

void Macro::popDefinitions()
{
    startupGuard();
    if (!stack.isEmpty())
        hash = stack.takeLast();
}

void Macro::pushAndDefine(Table definitions)
{
    pushDefinitions(/*clear=*/true);
    hash = definitions;
}

QString Macro::inspect()
{
    startupGuard();
    QString text = "{\n" + listing(hash);
    if (!globalHash.isEmpty())
        text += "Globals:\n" + listing(globalHash);
    return text + "}\n";
}

// Expansion. References.h finds the references in a line; here is what they stand for.

namespace
{

/// Gives the values for which the references of one line stand (see replaceReferences), and reports
/// problems.
class Values
{
public:
    explicit Values(const QString &text)
        : line(text)
    {
    }

    bool macro(QChar first, QChar last, const QString &name, QString &value) const;

    /// Looks up a local macro and advances it. Deliberate: a global macro is no counter.
    bool counter(QChar first, QChar last, const QString &name, QString &value) const;

    bool expression(
        QChar first, QChar last, const TextBuffer<QString> &inside, QString &value) const;

    void neverClosed(QChar dollar, QChar brace) const;

private:
    static bool reportUndefined(const QString &name);

    const QString &line;
};

bool Values::reportUndefined(const QString &name)
{
    Error::syntax(QStringLiteral("Undefined macro '%1'").arg(name));
    return false;
}

bool Values::macro(QChar /*first*/, QChar /*last*/, const QString &name, QString &value) const
{
    const QString *const macro = findMacro(name);
    if (macro == nullptr)
        return reportUndefined(name);
    value = *macro;
    return true;
}

bool Values::counter(QChar /*first*/, QChar /*last*/, const QString &name, QString &value) const
{
    const auto counter = Macro::hash.find(name);
    if (counter == Macro::hash.end())
        return reportUndefined(name);
    value = *counter;
    *counter = Macro::successor(value);
    return true;
}

bool Values::expression(
    QChar /*first*/, QChar /*last*/, const TextBuffer<QString> &inside, QString &value) const
{
    value = valueOfReference(toString(inside));
    return true;
}

void Values::neverClosed(QChar /*dollar*/, QChar /*brace*/) const
{
    Error::syntax(QStringLiteral("unbalanced ${ in '%1'").arg(line));
}

/// The characters that a counter runs through. After the last one comes the first one, and a carry.
struct Alphabet {
    char first;
    char last;
    char carried; ///< put in front of the text if it has no more characters to carry to
};

constexpr Alphabet alphabets[] = {{'0', '9', '1'}, {'A', 'Z', 'A'}, {'a', 'z', 'a'}};

/// The alphabet whose last character is \a character, or null.
const Alphabet *wrapping(QChar character)
{
    for (const Alphabet &alphabet : alphabets) {
        if (character == QLatin1Char(alphabet.last))
            return &alphabet;
    }
    return nullptr;
}

} // namespace

QString valueOfReference(QString inside)
{
    const ExpressionParts parts(inside);
    const QString format =
        parts.formatEnd > 0 ? inside.left(parts.formatEnd) : QStringLiteral("%g");
    const QString units = parts.unitsBegin > 0 ? inside.mid(parts.unitsBegin) : QStringLiteral("-");
    inside.truncate(parts.end);
    inside.remove(0, parts.begin);
    return Units::evaluate(format, inside, units);
}

QString Macro::expand(QString text)
{
    startupGuard();
    if (!text.contains('$'))
        return text;
    QString expanded = text;
    Values values(text);
    TextBuffer<QString> replaced;
    const bool isPlain = replacePlainNames(text, replaced);
    if (isPlain)
        assign(replaced, expanded);
    const bool isExpanded = isPlain ? replaceCountersAndExpressions(values, expanded)
                                    : replaceReferences(values, expanded);
    return isExpanded ? expanded : QStringLiteral("");
}

QString Macro::successor(QString text)
{
    startupGuard();
    for (auto index = text.size() - 1; index >= 0; --index) {
        const Alphabet *const alphabet = wrapping(text[index]);
        if (alphabet == nullptr) {
            // Deliberate: any other character becomes the next one, so "1.9" becomes "1/0". After
            // the last one, U+FFFF, comes U+0000.
            text[index] = QChar(static_cast<char16_t>(text[index].unicode() + 1));
            return text;
        }
        text[index] = QLatin1Char(alphabet->first);
        if (index == 0)
            text.prepend(QLatin1Char(alphabet->carried));
    }
    return text;
}

} // namespace Talmo
