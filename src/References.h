#pragma once

#include "PushbackText.h"
#include "Tokens.h"

#include <QStringView>

#include <algorithm>
#include <functional>

// Finds the references in a line and replaces them, whatever they stand for.
//
// There is one pass over the text for each kind of reference. By definition, a pass replaces the
// first reference and searches the text again from the beginning, as long as there is a reference.
// So a pass also sees what it has inserted itself, but never what a later pass inserts.
//
// The code comes to the same result without searching again. In the text before a replacement there
// was no reference, and the inserted text can complete only two things there: a "$" right before
// it, or a "${" that is still open. So a pass moves the text piece by piece from the `rest` to what
// is `done`, and puts what it inserts back in front of the rest. A reference never holds another
// one of its kind, so the one that begins first also ends first, and is replaced where it ends.
//
// Most lines have references of one or two kinds, so a pass that would find none is left out.
//
// Everything is a template of the kind of text: Macro::expand replaces references in a QString, and
// flawOfLine in a text whose characters know where they come from.

namespace Talmo
{

constexpr auto isNoWordCharacter = [](QChar character) { return !isWordCharacter(character); };
constexpr auto isDollar = [](QChar character) { return character == '$'; };
constexpr auto isOpening = [](QChar character) { return character == '{'; };
constexpr auto isClosing = [](QChar character) { return character == '}'; };
constexpr auto isBrace = [](QChar character) { return character == '{' || character == '}'; };

/// The \a size characters from \a begin on. Each kind of text has such a function.
inline QString toString(const QChar *begin, qsizetype size)
{
    return QString(begin, static_cast<int>(size));
}

template <typename Text>
QString toString(const Text &text)
{
    return toString(text.constData(), text.size());
}

inline const QString &toString(const QString &text)
{
    return text;
}

/// The first position, from \a position of \a text on, of a "$" that stands before a character of
/// this \a kind; -1 if there is none.
template <typename Predicate>
int findDollar(Predicate kind, QStringView text, int position = 0)
{
    do {
        position = static_cast<int>(text.indexOf('$', position)) + 1;
    } while (position > 0 && (position == text.size() || !kind(text[position])));
    return position - 1;
}

/// Sets \a text to what has been gathered in \a buffer.
template <typename Text>
void assign(const TextBuffer<Text> &buffer, Text &text)
{
    text.clear();
    text.resize(static_cast<int>(buffer.size()));
    std::copy(buffer.begin(), buffer.end(), text.begin());
}

template <typename Buffer>
bool endsWith(QChar character, const Buffer &buffer)
{
    return !buffer.isEmpty() && QChar(buffer.last()) == character;
}

/// Replaces each $name by what \a valueOf gives for its first and its last character and the name,
/// which is as long as possible. Stops and returns false if \a valueOf returns false.
// Deliberate: in Macro::expand, a value that refers to its own name makes this loop without end.
template <typename Text, typename ValueOf>
bool replaceNames(ValueOf valueOf, Text &text)
{
    if (findDollar(isWordCharacter, toString(text)) < 0)
        return true;
    PushbackText<Text> rest(text);
    TextBuffer<Text> done;
    while (!rest.isEmpty()) {
        rest.moveUntil(isDollar, done);
        if (rest.isEmpty())
            break;
        const auto dollar = rest.take();
        TextBuffer<Text> name;
        rest.moveUntil(isNoWordCharacter, name);
        if (name.isEmpty()) {
            done.append(dollar);
            continue;
        }
        Text value;
        if (!valueOf(dollar, name.last(), toString(name), value))
            return false;
        rest.putBack(value);
        if (endsWith('$', done)) { // the value may begin with a name for this "$"
            rest.putBack(Text(1, done.last()));
            done.removeLast();
        }
    }
    assign(done, text);
    return true;
}

/// Whether \a text holds a "${", a name, \a tail and "}". If it does not, the whole pass is left
/// out, so this must be true whenever the pass would find a first reference (see isReference).
inline bool holdsBraces(const QString &tail, const QString &text)
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

/// Whether the text from \a begin up to \a end, between "${" and "}", is a name and \a tail.
template <typename Character>
bool isReference(const Character *begin, const Character *end, const QString &tail)
{
    if (end - begin < tail.size())
        return false;
    const Character *const nameEnd = end - tail.size();
    return std::equal(tail.begin(), tail.end(), nameEnd, std::equal_to<QChar>()) &&
           std::all_of(begin, nameEnd, isWordCharacter);
}

/// Replaces each "${", name, \a tail and "}" by what \a valueOf gives, as replaceNames does.
template <typename Text, typename ValueOf>
bool replaceBraces(const QString &tail, ValueOf valueOf, Text &text)
{
    if (!holdsBraces(tail, toString(text)))
        return true;
    PushbackText<Text> rest(text);
    TextBuffer<Text> done;
    QVarLengthArray<int, 16> open; // the positions of all "${" that a "}" may still complete
    while (!rest.isEmpty()) {
        rest.moveUntil(isBrace, done);
        if (rest.isEmpty())
            break;
        const auto brace = rest.take();
        if (isOpening(brace) && endsWith('$', done))
            open.append(static_cast<int>(done.size()) - 1);
        if (isOpening(brace) || open.isEmpty()) {
            done.append(brace);
            continue;
        }
        const auto *const dollar = done.constData() + open.last();
        const auto *const end = done.constData() + done.size();
        if (!isReference(dollar + 2, end, tail)) {
            open.clear(); // none of them can be completed: this stands before any later "}"
            done.append(brace);
            continue;
        }
        Text value;
        if (!valueOf(*dollar, brace, toString(dollar + 2, end - dollar - 2 - tail.size()), value))
            return false;
        done.resize(open.last());
        open.removeLast();
        rest.putBack(value);
    }
    assign(done, text);
    return true;
}

/// Where the parts of "FORMAT;EXPRESSION;UNITS" stand. The first and the last part may be left out
/// with their semicolons.
struct ExpressionParts {
    int formatEnd = 0; ///< 0 if there is no format
    int begin = 0;     ///< where the expression begins
    int end = 0;
    int unitsBegin = 0; ///< 0 if there are no units, not even empty ones

    explicit ExpressionParts(QStringView inside)
        : end(static_cast<int>(inside.size()))
    {
        const int semicolon = static_cast<int>(inside.indexOf(';'));
        if (inside.startsWith('%') && semicolon > 1) { // ^(%[^;]+);
            formatEnd = semicolon;
            begin = semicolon + 1;
        }
        const int last = static_cast<int>(inside.lastIndexOf(';'));
        if (last >= begin &&
            std::all_of(inside.cbegin() + last + 1, inside.cend(), isLetterOrDigit)) {
            end = last; // ;([A-Za-z0-9]*)$
            unitsBegin = last + 1;
        }
    }
};

/// What a reference to an expression stands for, with \a inside between "${" and "}". The evaluator
/// reports its problems.
QString valueOfReference(QString inside);

/// Replaces each "${", up to the next "}", by what \a values make of the text inside. Stops and
/// returns false if \a values return false, or at a "${" that is never closed.
template <typename Text, typename Values>
bool replaceExpressions(Values &values, Text &text)
{
    PushbackText<Text> rest(text);
    TextBuffer<Text> done;
    while (!rest.isEmpty()) {
        rest.moveUntil(isOpening, done);
        if (rest.isEmpty())
            break;
        const auto brace = rest.take();
        if (!endsWith('$', done)) {
            done.append(brace);
            continue;
        }
        TextBuffer<Text> inside;
        rest.moveUntil(isClosing, inside);
        if (rest.isEmpty()) {
            values.neverClosed(done.last(), brace);
            return false;
        }
        Text value;
        if (!values.expression(done.last(), rest.take(), inside, value))
            return false;
        done.removeLast();
        rest.putBack(value);
    }
    assign(done, text);
    return true;
}

/// Replaces the references that are no names: the last two passes of replaceReferences.
template <typename Text, typename Values>
bool replaceCountersAndExpressions(Values &values, Text &text)
{
    using Character = typename Text::value_type;
    const auto counter = [&](const Character &first, const Character &last, const QString &name,
                             Text &value) { return values.counter(first, last, name, value); };
    if (findDollar(isOpening, toString(text)) < 0)
        return true;
    return replaceBraces(QStringLiteral("++"), counter, text) && replaceExpressions(values, text);
}

/// Replaces all references in \a text by what \a values say. Returns false if \a values stopped it.
///
/// \a values has these operations, which return false to stop it. macro and counter get the first
/// and the last character of a reference and its name, and set its value. expression gets the text
/// inside the braces instead of the name. neverClosed gets the two characters of a "${" without its
/// "}".
template <typename Text, typename Values>
bool replaceReferences(Values &values, Text &text)
{
    using Character = typename Text::value_type;
    const auto macro = [&](const Character &first, const Character &last, const QString &name,
                           Text &value) { return values.macro(first, last, name, value); };
    return replaceNames(macro, text) && replaceBraces(QString(), macro, text) &&
           replaceCountersAndExpressions(values, text);
}

} // namespace Talmo
