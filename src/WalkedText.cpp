// Where the text of a macro ends, or begins, no token may go on, other than a number with a unit,
// or a name. Somebody means cell_$n and 5$unit, but nobody an exponent for "x-3", with "1e" for x.

#include "WalkedText.h"

#include <algorithm>

namespace Talmo
{

WalkedText::WalkedText(const TracedExpression &whole, Trace &itsTrace)
    : expression(whole.text)
    , nothing(whole.nothing)
    , before(whole.before)
    , trace(itsTrace)
    , rest(toString(expression.constData(), expression.size()))
{
}

Place WalkedText::placeOfWhole() const
{
    return expression.isEmpty() ? nothing : trace.placeOf(expression.first(), expression.last());
}

Place WalkedText::placeAt(int count) const
{
    if (!open.isEmpty() && count > open.first().left)
        return open.first().place;
    const TracedCharacter character = expression[expression.size() - count];
    return trace.placeOf(character, character);
}

Place WalkedText::drop(int length)
{
    const int begin = placeAt(left()).begin;
    rest.drop(length);
    const int end = placeAt(left() + 1).end;
    // A macro stays open up to the first character behind its text: its last token may be a name.
    while (!open.isEmpty() && left() < open.last().left)
        openNames.remove(open.takeLast().name);
    return {begin, end};
}

void WalkedText::enter(const QString &name, const QString &text, Place place)
{
    open.append({name, left(), place});
    openNames.insert(name);
    rest.replaceFront(0, text);
}

QStringList WalkedText::circle(const QString &name) const
{
    QStringList names;
    for (const OpenMacro &macro : open) {
        if (macro.name == name || !names.isEmpty())
            names.append(macro.name);
    }
    names.append(name);
    return names;
}

bool WalkedText::isJoint(int count) const
{
    const auto endsHere = [count](const OpenMacro &macro) { return macro.left == count; };
    if (std::any_of(open.begin(), open.end(), endsHere))
        return true;
    const int index = static_cast<int>(expression.size()) - count;
    if (count == 0 || (!open.isEmpty() && count > open.first().left))
        return false;
    const std::optional<TracedCharacter> previous = index > 0 ? expression[index - 1] : before;
    return previous && !follows(expression[index], *previous);
}

bool WalkedText::isBehindMacro() const
{
    if (!isJoint(left()))
        return false;
    if (!open.isEmpty() && left() > open.first().left)
        return true;
    const TracedCharacter next = expression[expression.size() - left()];
    return next.origin >= 0 || next.index > 0; // otherwise another text begins here
}

Flaw WalkedText::joint(int length, int allowed) const
{
    int joint = 1;
    while (joint < length && (joint == allowed || !isJoint(left() - joint)))
        ++joint;
    if (joint >= length)
        return {};
    const QString token = rest.ahead().left(length).toString();
    return jointOf(inShort(token.left(joint)), inShort(token.mid(joint)), left() - joint);
}

Flaw WalkedText::jointOf(const QString &one, const QString &other, int count) const
{
    const QString ends =
        QStringLiteral("the text of '%1' ends in '%2', which joins with '%3' behind it");
    const auto macro = std::find_if(
        open.rbegin(), open.rend(), [count](const OpenMacro &each) { return each.left == count; });
    if (macro != open.rend())
        return makeFlaw(Flaw::Kind::Join, macro->place, ends.arg(macro->name, one, other));
    const TracedCharacter next = expression[expression.size() - count];
    const TracedCharacter last = expression[expression.size() - count - 1];
    const auto nameOf = [this](TracedCharacter character) {
        return trace.insertions[-1 - character.origin].macro;
    };
    const bool isOfOne = last.origin == next.origin || (last.origin >= 0 && next.origin >= 0);
    if (isOfOne)
        return makeFlaw(Flaw::Kind::Join, trace.placeOf(next, next),
            QStringLiteral("'%1' and '%2' join, for the text between them is empty")
                .arg(one, other));
    if (last.origin < 0)
        return makeFlaw(
            Flaw::Kind::Join, trace.placeOf(last, last), ends.arg(nameOf(last), one, other));
    return makeFlaw(Flaw::Kind::Join, trace.placeOf(next, next),
        QStringLiteral("the text of '%1' begins with '%2', which joins with '%3' before it")
            .arg(nameOf(next), other, one));
}

QString inShort(const QString &text)
{
    constexpr int most = 40;
    return text.size() <= most ? text : text.left(most / 2) + QStringLiteral("...");
}

} // namespace Talmo
