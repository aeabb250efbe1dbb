#include "talmo/Macro.h"

#include "PushbackText.h"
#include "Tokens.h"
#include "talmo/Error.h"
#include "talmo/StartupGuard.h"
#include "talmo/Units.h"

#include <QStringList>
#include <QVarLengthArray>

#include <algorithm>

namespace Talmo
{

Macro::Table Macro::hash;
Macro::Table Macro::globalHash;
QList<Macro::Table> Macro::stack;

namespace
{

/// The value of \a name, which is no copy: the local one, else the global one, else null.
const QString *find(const QString &name)
{
    for (const Macro::Table *const table : {&Macro::hash, &Macro::globalHash}) {
        const auto macro = table->constFind(name);
        if (macro != table->constEnd())
            return &*macro;
    }
    return nullptr;
}

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
    const QString *const macro = find(name);
    return macro != nullptr ? *macro : QStringLiteral("");
}

bool Macro::isDefined(QString name)
{
    startupGuard();
    return find(name) != nullptr;
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
//
// Most lines have references of one or two kinds: a pass that would find none is left out.

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
    const QString *const macro = find(name);
    if (macro == nullptr)
        return reportUndefined(name);
    value = *macro;
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

constexpr auto isNoWordCharacter = [](QChar character) { return !isWordCharacter(character); };
constexpr auto isDollar = [](QChar character) { return character == '$'; };
constexpr auto isOpening = [](QChar character) { return character == '{'; };
constexpr auto isClosing = [](QChar character) { return character == '}'; };
constexpr auto isBrace = [](QChar character) { return character == '{' || character == '}'; };

/// Where the first "$" from \a position of \a text on stands before a character of \a kind; -1 if
/// there is none.
template <typename Predicate>
int findDollar(Predicate kind, const QString &text, int position = 0)
{
    do {
        position = static_cast<int>(text.indexOf('$', position)) + 1;
    } while (position > 0 && (position == text.size() || !kind(text[position])));
    return position - 1;
}

QString toString(const TextBuffer &buffer)
{
    return QString(buffer.constData(), static_cast<int>(buffer.size()));
}

bool endsWith(QChar character, const TextBuffer &buffer)
{
    return !buffer.isEmpty() && buffer.last() == character;
}

/// Replaces each $name by the value of the macro; the name is as long as possible.
// Deliberate: a value that refers to its own name makes this loop without end; there is no guard.
bool expandNames(QString &text)
{
    if (findDollar(isWordCharacter, text) < 0)
        return true;
    PushbackText rest(text);
    TextBuffer done;
    while (!rest.isEmpty()) {
        rest.moveUntil(isDollar, done);
        if (rest.isEmpty())
            break;
        const QChar dollar = rest.take();
        TextBuffer name;
        rest.moveUntil(isNoWordCharacter, name);
        if (name.isEmpty()) {
            done.append(dollar);
            continue;
        }
        QString value;
        if (!lookUp(toString(name), value))
            return false;
        rest.putBack(value);
        if (endsWith(dollar, done)) { // the value may go on with a name for it
            done.removeLast();
            rest.putBack(dollar);
        }
    }
    text = toString(done);
    return true;
}

/// Whether \a text holds a "${", a name, \a tail and "}". Saves the whole pass where it does not;
/// it must hold whenever the pass would replace something first (see isReference).
bool holdsBraces(const QString &tail, const QString &text)
{
    for (int begin = findDollar(isOpening, text); begin >= 0;
         begin = findDollar(isOpening, text, begin + 1)) {
        const QStringView inside = QStringView(text).mid(begin + 2);
        const auto *const end = std::find_if(inside.begin(), inside.end(), isNoWordCharacter);
        const QStringView behind = inside.mid(end - inside.begin());
        if (behind.startsWith(tail) && behind.mid(tail.size()).startsWith(QLatin1Char('}')))
            return true;
    }
    return false;
}

/// Whether \a inside, which stands between "${" and "}", is a name and \a tail.
bool isReference(QStringView inside, const QString &tail)
{
    return inside.endsWith(tail) &&
           std::all_of(inside.begin(), inside.end() - tail.size(), isWordCharacter);
}

/// Replaces each "${", name, \a tail and "}" by what \a valueOf gives for the name.
bool expandBraces(const QString &tail, LookUp valueOf, QString &text)
{
    if (!holdsBraces(tail, text))
        return true;
    PushbackText rest(text);
    TextBuffer done;
    QVarLengthArray<int, 16> open; // where each "${" stands that a "}" may still complete
    while (!rest.isEmpty()) {
        rest.moveUntil(isBrace, done);
        if (rest.isEmpty())
            break;
        const QChar brace = rest.take();
        if (brace == '{' && endsWith('$', done))
            open.append(static_cast<int>(done.size()) - 1);
        if (brace == '{' || open.isEmpty()) {
            done.append(brace);
            continue;
        }
        const int begin = open.last();
        const QStringView inside = QStringView(done.constData(), done.size()).mid(begin + 2);
        if (!isReference(inside, tail)) {
            open.clear(); // they all have this between themselves and the next "}"
            done.append(brace);
            continue;
        }
        QString value;
        if (!valueOf(inside.chopped(tail.size()).toString(), value))
            return false;
        open.removeLast();
        done.resize(begin);
        rest.putBack(value);
    }
    text = toString(done);
    return true;
}

/// What the inside of ${FORMAT;EXPRESSION;UNITS} comes to.
QString evaluated(QString expression)
{
    QString format = QStringLiteral("%g");
    const int formatEnd = static_cast<int>(expression.indexOf(';'));
    if (expression.startsWith('%') && formatEnd > 1) { // ^(%[^;]+);
        format = expression.left(formatEnd);
        expression.remove(0, formatEnd + 1);
    }
    QString units = QStringLiteral("-");
    const int unitsBegin = static_cast<int>(expression.lastIndexOf(';')) + 1;
    const bool areUnits =
        std::all_of(expression.cbegin() + unitsBegin, expression.cend(), isLetterOrDigit);
    if (unitsBegin > 0 && areUnits) { // ;([A-Za-z0-9]*)$
        units = expression.mid(unitsBegin);
        expression.truncate(unitsBegin - 1);
    }
    return Units::evaluate(format, expression, units);
}

/// Replaces each "${", up to the next "}", by what is inside evaluates to; false if one is never
/// closed.
bool expandExpressions(QString &text)
{
    PushbackText rest(text);
    TextBuffer done;
    while (!rest.isEmpty()) {
        rest.moveUntil(isOpening, done);
        if (rest.isEmpty())
            break;
        const QChar brace = rest.take();
        if (!endsWith('$', done)) {
            done.append(brace);
            continue;
        }
        TextBuffer inside;
        rest.moveUntil(isClosing, inside);
        if (rest.isEmpty())
            return false;
        rest.take();
        done.removeLast();
        rest.putBack(evaluated(toString(inside)));
    }
    text = toString(done);
    return true;
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
    if (!expandNames(expanded))
        return QStringLiteral("");
    if (findDollar(isOpening, expanded) < 0)
        return expanded;
    if (!expandBraces(QString(), lookUp, expanded) ||
        !expandBraces(QStringLiteral("++"), count, expanded))
        return QStringLiteral("");
    if (!expandExpressions(expanded)) {
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
