// QRegExp turns a pattern into an automaton. Its states are the characters, sets and
// back-references of the pattern, with a copy for each repetition, and a link leads from every
// state to each state that may come next. Compiling takes memory and time for every link. Searching
// follows all links at every position, once for every start of a match.
//
// So we count links, and put the number together as QRegExp puts the automaton together: for each
// part of the pattern we need to know the links inside, the states that it may begin and end with,
// and whether it can match the empty text. Where the number is uncertain, as after a syntax error,
// we count too much rather than too little.

#include "PatternCost.h"

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr double affordableCost = 10000;
constexpr int deepestGroup = 50;
constexpr double lineLength = 200;
constexpr double costBeyond = 0.4;     ///< of a link that no line reaches: it takes only memory
constexpr double lookaheadFactor = 50; ///< a search of its own at every position of the search
constexpr double captureFactor = 1.5;  ///< at a link, captures are compared to find the better way
constexpr int setLengthPerState = 8;   ///< a set is searched from end to end
constexpr int mostRepetitions = 1024;  ///< QRegExp accepts no more

using Index = decltype(QString().size()); // Qt 5 counts in int

/// How many ways lead through a part of a pattern, and what all lookaheads on these ways cost.
struct Ways {
    double count = 0;
    double lookaheads = 0;
};

Ways operator+(Ways a, Ways b)
{
    return {a.count + b.count, a.lookaheads + b.lookaheads};
}

/// The ways that consist of one of \a a followed by one of \a b.
Ways operator*(Ways a, Ways b)
{
    return {a.count * b.count, a.lookaheads * b.count + a.count * b.lookaheads};
}

/// A part of a pattern. By default it has no state and matches the empty text.
struct Part {
    Ways into;           ///< ways to the states that it may begin with
    Ways outOf;          ///< ways from the states that it may end with
    Ways past = {1, 0};  ///< ways through none of its states
    Ways links;          ///< ways from state to state
    double length = 0;   ///< the fewest characters that it matches
    double captures = 0; ///< copies of repeated parts do not capture
    double backReferences = 0;
};

/// A part that is one state. \a weight is the cost of testing whether the state matches.
Part state(double weight)
{
    Part part;
    part.into = {weight, 0};
    part.outOf = {1, 0};
    part.past = {0, 0};
    part.length = 1;
    return part;
}

/// The part that matches \a a and then \a b.
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

/// The part that matches \a a or \a b.
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

/// The part that matches \a part or the empty text.
Part optional(Part part)
{
    part.past = {1, 0};
    part.length = 0;
    return part;
}

/// The cost of a pattern that consists of \a part.
double costOf(const Part &part)
{
    const Ways links = part.links + part.into + part.outOf + part.past;
    return (links.count * (1 + captureFactor * part.captures) + links.lookaheads) *
           (1 + part.backReferences);
}

/// Reads a pattern once, from its start to its end, and stops early where it costs too much.
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

    /// Reads up to the end of the pattern, or up to the parenthesis that closes a group.
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
        ++index; // past the brace; QRegExp skips any other character here, too
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

    /// Repeats \a once as QRegExp does: first the copies that must match, then copies that may be
    /// left out, and at the end the original, which loops if there is no upper limit.
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

    /// An anchor has no state. It counts as a link, so that repeating it is not free.
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
