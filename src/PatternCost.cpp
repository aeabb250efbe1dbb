// QRegExp makes an automaton of a pattern: its states are the characters, sets and back-references
// of the pattern, each repetition copied, and there is a link from every state to each one that may
// come next. Compiling takes memory and time for every link. Searching follows all links at every
// position, for every start. So we count links, the way the automaton is put together: of a part of
// the pattern one needs to know the links within, the states it begins and ends with, and whether
// it can be empty. Whatever is uncertain, such as a syntax error, counts too much rather than too
// little.

#include "PatternCost.h"

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr double affordableCost = 10000;
constexpr int deepestGroup = 50;
constexpr double lineLength = 200;
constexpr double costBeyond = 0.4;     ///< a link that no line reaches takes memory alone
constexpr double lookaheadFactor = 50; ///< searching ahead, from every position of a search
constexpr double captureFactor = 1.5;  ///< a link compares captures to know which way is the better
constexpr int setLengthPerState = 8;   ///< a set is searched from end to end
constexpr int mostRepetitions = 1024;  ///< QRegExp knows no more

using Index = decltype(QString().size()); // Qt 5 counts in int

/// A number of ways through a part of a pattern, and what the lookaheads on them cost together.
struct Ways {
    double count = 0;
    double lookaheads = 0;
};

Ways operator+(Ways a, Ways b)
{
    return {a.count + b.count, a.lookaheads + b.lookaheads};
}

/// Each of \a a followed by each of \a b.
Ways operator*(Ways a, Ways b)
{
    return {a.count * b.count, a.lookaheads * b.count + a.count * b.lookaheads};
}

/// A part of a pattern. As it begins, it matches the empty text.
struct Part {
    Ways into;           ///< to the states that it may begin with
    Ways outOf;          ///< from those that it may end with
    Ways past = {1, 0};  ///< through none of its states
    Ways links;          ///< from state to state
    double length = 0;   ///< the fewest characters that it matches
    double captures = 0; ///< copies of repeated parts do not capture
    double backReferences = 0;
};

/// One state; \a weight tells what it takes to see whether it matches.
Part state(double weight)
{
    Part part;
    part.into = {weight, 0};
    part.outOf = {1, 0};
    part.past = {0, 0};
    part.length = 1;
    return part;
}

/// \a a, then \a b.
Part sequence(const Part &a, const Part &b)
{
    const Ways weight = {a.length < lineLength ? 1 : costBeyond, 0};
    Part part;
    part.into = a.into + a.past * b.into;
    part.outOf = b.outOf + a.outOf * b.past;
    part.past = a.past * b.past;
    part.links = a.links + b.links + a.outOf * b.into * weight;
    part.length = a.length + b.length;
    part.captures = a.captures + b.captures;
    part.backReferences = a.backReferences + b.backReferences;
    return part;
}

/// \a a or \a b.
Part alternative(const Part &a, const Part &b)
{
    Part part;
    part.into = a.into + b.into;
    part.outOf = a.outOf + b.outOf;
    part.past = a.past + b.past;
    part.links = a.links + b.links;
    part.length = std::min(a.length, b.length);
    part.captures = a.captures + b.captures;
    part.backReferences = a.backReferences + b.backReferences;
    return part;
}

/// \a part or nothing.
Part optional(Part part)
{
    part.past = {1, 0};
    part.length = 0;
    return part;
}

/// What a pattern costs that consists of \a part.
double costOf(const Part &part)
{
    const Ways links = part.links + part.into + part.outOf + part.past;
    return (links.count * (1 + captureFactor * part.captures) + links.lookaheads) *
           (1 + part.backReferences);
}

/// Reads a pattern once, from its start to its end or to where it costs too much.
class PatternReader
{
public:
    explicit PatternReader(const QString &text)
        : pattern(text)
    {
    }

    bool isAffordable()
    {
        checked(readAlternatives());
        return !isTooCostly;
    }

private:
    bool isAtEnd() const { return isTooCostly || index >= pattern.size(); }

    bool isAt(char character) const
    {
        return index < pattern.size() && pattern[index] == QLatin1Char(character);
    }

    bool skip(char character)
    {
        const bool isThere = isAt(character);
        index += isThere ? 1 : 0;
        return isThere;
    }

    Part checked(const Part &part)
    {
        isTooCostly = isTooCostly || costOf(part) > affordableCost;
        return part;
    }

    /// Reads up to the end, or to the parenthesis that closes a group.
    Part readAlternatives()
    {
        Part part = readSequence();
        while (!isAtEnd() && skip('|'))
            part = checked(alternative(part, readSequence()));
        return part;
    }

    Part readSequence()
    {
        Part part;
        while (!isAtEnd() && !isAt('|') && !isAt(')'))
            part = checked(sequence(part, readRepetition()));
        return part;
    }

    Part readRepetition()
    {
        Part part = readAtom();
        while (!isAtEnd()) {
            if (skip('*'))
                part = repeated(part, 0, true, 0);
            else if (skip('+'))
                part = repeated(part, 1, true, 0);
            else if (skip('?'))
                part = repeated(part, 0, false, 1);
            else if (skip('{'))
                part = readCounts(part);
            else
                break;
        }
        return part;
    }

    Part readCounts(const Part &part)
    {
        const int fewest = readNumber(0);
        const bool isRange = skip(',');
        const int most = isRange ? readNumber(-1) : fewest;
        ++index; // the brace; QRegExp passes over any other character too
        return repeated(part, fewest, most < 0, std::max(most, 0));
    }

    int readNumber(int absent)
    {
        const Index begin = index;
        int number = 0;
        for (; index < pattern.size() && isDigit(pattern[index]); ++index)
            number = std::min(10 * number + pattern[index].digitValue(), mostRepetitions);
        return index == begin ? absent : number;
    }

    static bool isDigit(QChar character)
    {
        return character >= QLatin1Char('0') && character <= QLatin1Char('9');
    }

    /// \a once repeated, as QRegExp does it: copies that may all be left out, copies that may not,
    /// and at the end the original, which loops if there is no upper limit.
    Part repeated(const Part &once, int fewest, bool isEndless, int most)
    {
        Part original = once;
        if (isEndless)
            original.links = once.links + once.outOf * once.into;
        if (fewest == 0)
            original = optional(original);
        Part copy = once;
        copy.captures = 0;
        Part copies;
        for (int count = std::max(fewest, 1); count < most && !isTooCostly; ++count)
            copies = checked(optional(sequence(copy, copies)));
        for (int count = 1; count < fewest && !isTooCostly; ++count)
            copies = checked(sequence(copy, copies));
        return sequence(copies, original);
    }

    Part readAtom()
    {
        if (skip('('))
            return readGroup();
        if (skip('['))
            return readSet();
        if (skip('\\'))
            return readEscape();
        if (skip('^') || skip('$'))
            return anchor();
        ++index;
        return state(1);
    }

    /// What has no state counts as a link, so that nothing can be repeated for nothing.
    static Part anchor()
    {
        Part part;
        part.links = {1, 0};
        return part;
    }

    Part readGroup()
    {
        isTooCostly = isTooCostly || ++depth > deepestGroup;
        const bool isSpecial = skip('?');
        const bool isLookahead = isSpecial && (skip('=') || skip('!'));
        if (isSpecial && !isLookahead)
            skip(':');
        Part part = sequence(anchor(), readAlternatives());
        skip(')');
        --depth;
        if (!isLookahead) {
            part.captures += isSpecial ? 0 : 1;
            return part;
        }
        Part lookahead = anchor();
        lookahead.past.lookaheads = lookaheadFactor * costOf(part);
        return lookahead;
    }

    Part readSet()
    {
        const Index begin = index;
        skip('^');
        for (const Index first = index; !isAtEnd() && (index == first || !isAt(']')); ++index)
            index += isAt('\\') ? 1 : 0;
        const Index weight = 1 + (index - begin) / setLengthPerState;
        skip(']');
        return state(static_cast<double>(weight));
    }

    Part readEscape()
    {
        if (skip('b') || skip('B'))
            return anchor();
        if (isAt('0') || readNumber(-1) < 0) {
            ++index;
            return state(1);
        }
        Part reference = optional(state(1)); // the group may have matched the empty text
        reference.backReferences = 1;
        return reference;
    }

    const QString &pattern;
    Index index = 0;
    int depth = 0;
    bool isTooCostly = false;
};

} // namespace

bool isAffordable(const QString &pattern)
{
    return PatternReader(pattern).isAffordable();
}

bool isAffordableWildcard(const QString &pattern)
{
    QString expression;
    for (const QChar character : pattern)
        expression += character == QLatin1Char('*') ? QStringLiteral(".*") : QStringLiteral("x");
    return isAffordable(expression);
}

} // namespace Talmo
