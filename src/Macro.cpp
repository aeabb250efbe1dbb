#include "Macro.h"

#include "Error.h"
#include "RegExp.h"
#include "StartupGuard.h"
#include "Units.h"

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
    const auto local = hash.constFind(name);
    return local != hash.constEnd() ? *local : globalHash.value(name, QStringLiteral(""));
}

bool Macro::isDefined(QString name)
{
    startupGuard();
    return hash.contains(name) || globalHash.contains(name);
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

// Expansion. Each kind of reference is one pass over the text: while its pattern matches, the
// first match is replaced, and the search starts again at the beginning. So a pass also sees what
// it has inserted itself, but never what a later pass inserts.

namespace
{

/// A reference in a text.
struct Reference {
    int position;
    int length;
    QString inside; ///< its name or expression
};

/// Finds the first match of \a pattern in \a text.
bool findReference(const QString &pattern, const QString &text, Reference &found)
{
    if (!RE.match(pattern, text))
        return false;
    found = {RegExp::prev->pos(0), RegExp::prev->matchedLength(), RegExp::prev->cap(1)};
    return true;
}

void reportUndefined(const QString &name)
{
    Error::syntax(QStringLiteral("Undefined macro '%1'").arg(name));
}

/// Replaces what \a pattern finds by the values of the macros named there.
// Deliberate: a value that refers to its own name makes this loop without end; there is no guard.
bool expandNames(const QString &pattern, QString &text)
{
    Reference reference;
    while (findReference(pattern, text, reference)) {
        if (!Macro::isDefined(reference.inside)) {
            reportUndefined(reference.inside);
            return false;
        }
        text.replace(reference.position, reference.length, Macro::value(reference.inside));
    }
    return true;
}

/// Replaces each ${name++} by the value of the local macro, and advances that.
bool expandCounters(QString &text)
{
    Reference reference;
    while (findReference(QStringLiteral(R"(\$\{([A-Za-z0-9_]*)\+\+\})"), text, reference)) {
        const auto counter = Macro::hash.find(reference.inside);
        if (counter == Macro::hash.end()) { // Deliberate: a global macro does not count
            reportUndefined(reference.inside);
            return false;
        }
        text.replace(reference.position, reference.length, *counter);
        *counter = Macro::successor(*counter);
    }
    return true;
}

/// What the inside of ${FORMAT;EXPRESSION;UNITS} comes to.
QString evaluated(QString expression)
{
    QString format = QStringLiteral("%g");
    if (RE.match(QStringLiteral("^(%[^;]+);"), expression)) {
        format = RegExp::prev->cap(1);
        expression.remove(0, RegExp::prev->matchedLength());
    }
    QString units = QStringLiteral("-");
    const int position = RE.find(QStringLiteral(";([A-Za-z0-9]*)$"), expression);
    if (position >= 0) {
        units = RegExp::prev->cap(1);
        expression.truncate(position);
    }
    return Units::evaluate(format, expression, units);
}

void expandExpressions(QString &text)
{
    Reference reference;
    // If no "}" follows the first "${", none follows any: do not try them all.
    while (text.indexOf('}', text.indexOf("${")) >= 0 &&
           findReference(QStringLiteral(R"(\$\{([^}]*)\})"), text, reference))
        text.replace(reference.position, reference.length, evaluated(reference.inside));
}

/// Characters that a counter runs through; after the last comes the first, and a carry.
struct Alphabet {
    char first;
    char last;
    char carried; ///< put in front when there is nothing left to carry to
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

QString Macro::expand(QString text)
{
    startupGuard();
    QString expanded = text;
    if (!expandNames(QStringLiteral(R"(\$([A-Za-z0-9_]+))"), expanded) ||
        !expandNames(QStringLiteral(R"(\$\{([A-Za-z0-9_]*)\})"), expanded) ||
        !expandCounters(expanded))
        return QStringLiteral("");
    expandExpressions(expanded);
    if (RE.match(QStringLiteral(R"(\$\{)"), expanded)) {
        Error::syntax(QStringLiteral("unbalanced ${ in '%1'").arg(text));
        return QStringLiteral("");
    }
    return expanded;
}

QString Macro::successor(QString text)
{
    startupGuard();
    for (auto index = text.size() - 1; index >= 0; --index) {
        const Alphabet *const alphabet = wrapping(text[index]);
        if (alphabet == nullptr) {
            // Deliberate: whatever it is, it becomes the next character; "1.9" becomes "1/0".
            // After the last one, U+FFFF, comes U+0000.
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
