#include "Macro.h"

#include "Error.h"
#include "PushbackText.h"
#include "RegExp.h"
#include "StartupGuard.h"
#include "Tokens.h"
#include "Units.h"

#include <QStringList>

#include <algorithm>
#include <vector>

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

// Expansion. Each kind of reference is one pass over the text: while there is a reference, the
// first one is replaced, and the search starts again at the beginning. So a pass also sees what it
// has inserted itself, but never what a later pass inserts.
//
// What stands before a replacement has been searched in vain, so it is not searched again, but for
// what the inserted text may complete there: a "$" right before it, or a "${" that is still open. A
// pass moves the text bit by bit to what is `done`, and puts what it inserts back in front of the
// rest. No reference holds another one of its kind, so the first to begin is the first to end, and
// is replaced where it ends.

namespace
{

/// Gives the text that \a name stands for. Returns false, and reports it, if there is none.
using LookUp = bool (*)(const QString &name, QString &value);

bool reportUndefined(const QString &name)
{
    Error::syntax(QStringLiteral("Undefined macro '%1'").arg(name));
    return false;
}

bool lookUp(const QString &name, QString &value)
{
    if (!Macro::isDefined(name))
        return reportUndefined(name);
    value = Macro::value(name);
    return true;
}

/// Looks up a local macro, and advances it. Deliberate: a global one does not count.
bool count(const QString &name, QString &value)
{
    const auto counter = Macro::hash.find(name);
    if (counter == Macro::hash.end())
        return reportUndefined(name);
    value = *counter;
    *counter = Macro::successor(value);
    return true;
}

bool isNoWordCharacter(QChar character)
{
    return !isWordCharacter(character);
}

/// Replaces each $name by the value of the macro; the name is as long as possible.
// Deliberate: a value that refers to its own name makes this loop without end; there is no guard.
bool expandNames(QString &text)
{
    PushbackText rest(text);
    QString done;
    while (!rest.isEmpty()) {
        if (!done.endsWith('$')) {
            rest.moveThrough('$', done);
            continue;
        }
        const int begin = static_cast<int>(done.size());
        rest.moveUntil(isNoWordCharacter, done);
        const QString name = done.mid(begin);
        if (name.isEmpty()) {
            done.append(rest.take());
            continue;
        }
        QString value;
        if (!lookUp(name, value))
            return false;
        done.truncate(begin - 1);
        rest.putBack(value);
    }
    text = done;
    return true;
}

/// Replaces each "${", name, \a tail and "}" by what \a valueOf gives for the name.
bool expandBraces(const QString &tail, LookUp valueOf, QString &text)
{
    PushbackText rest(text);
    QString done;
    std::vector<int> open; // where each "${" stands that a "}" may still complete
    while (!rest.isEmpty()) {
        rest.moveUntil([](QChar character) { return character == '{' || character == '}'; }, done);
        if (rest.isEmpty())
            break;
        const int end = static_cast<int>(done.size());
        done.append(rest.take());
        if (done.endsWith("${"))
            open.push_back(end - 1);
        if (done.endsWith('{') || open.empty())
            continue;
        const int begin = open.back();
        const QString inside = done.mid(begin + 2, end - begin - 2);
        const QString name = inside.left(inside.size() - tail.size());
        if (!inside.endsWith(tail) || std::any_of(name.begin(), name.end(), isNoWordCharacter)) {
            open.clear(); // they all have this between themselves and the next "}"
            continue;
        }
        QString value;
        if (!valueOf(name, value))
            return false;
        open.pop_back();
        done.truncate(begin);
        rest.putBack(value);
    }
    text = done;
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

/// Replaces each "${", up to the next "}", by what is inside evaluates to.
void expandExpressions(QString &text)
{
    PushbackText rest(text);
    QString done;
    while (!rest.isEmpty()) {
        rest.moveThrough('{', done);
        if (!done.endsWith("${"))
            continue;
        QString inside;
        rest.moveThrough('}', inside);
        if (!inside.endsWith('}')) { // never closed; what follows is not, either
            done.append(inside);
            break;
        }
        inside.chop(1);
        done.chop(2);
        rest.putBack(evaluated(inside));
    }
    text = done;
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
    if (!text.contains('$'))
        return text;
    QString expanded = text;
    if (!expandNames(expanded) || !expandBraces(QString(), lookUp, expanded) ||
        !expandBraces(QStringLiteral("++"), count, expanded))
        return QStringLiteral("");
    expandExpressions(expanded);
    if (expanded.contains("${")) {
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
