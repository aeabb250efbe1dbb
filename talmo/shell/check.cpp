// talmo check: the mistakes in texts with expressions and macros.
//
// The library finds one flaw in a line at a time. So what was found is covered, by blanks or by
// digits of the same length, and the line is looked at again. What stands behind keeps its place.
// In the end, what is still as the user wrote it is expanded, as the code that reads the deck sees
// it, and searched for units that only the texts of macros bring.
//
// A macro whose definition is wrong is not defined. That would be told at each of its uses once
// more, so what is wrong with a use of such a macro is not told.

#include "CommandLine.h"
#include "Definitions.h"
#include "Filter.h"
#include "Walks.h"
#include "commandTable.h"
#include "lineText.h"
#include "numbers.h"
#include "references.h"
#include "strict.h"
#include "talmo/Flaw.h"
#include "talmo/Macro.h"

#include <QSet>

#include <algorithm>
#include <optional>
#include <vector>

namespace Talmo
{

namespace
{

/// So many flaws are told in one line: each of them takes a walk over the line.
constexpr int mostFlaws = 100;

constexpr char16_t blank = u' ';
constexpr char16_t digit = u'1';

/// The one of \a ranges that holds \a position; null if none does.
const Range *rangeAt(const std::vector<Range> &ranges, int position)
{
    const auto found = std::upper_bound(ranges.begin(), ranges.end(), position,
        [](int place, const Range &range) { return place < range.end; });
    return found != ranges.end() && found->begin <= position ? &*found : nullptr;
}

void cover(QString &text, Range range, char16_t character)
{
    const int end = std::min(range.end, static_cast<int>(text.size()));
    std::fill(text.begin() + range.begin, text.begin() + end, QChar(character));
}

bool isWordCharacter(QChar character)
{
    return character == '_' || (character.unicode() < 0x80 && character.isLetterOrNumber());
}

/// The word in a reference to a macro, such as "$x", "${x}", "${x++}" or "x".
QString wordOf(const QString &reference)
{
    QString word;
    for (const QChar character : reference) {
        if (isWordCharacter(character))
            word += character;
    }
    return word;
}

bool isComment(const QString &text)
{
    const auto first = std::find_if(
        text.begin(), text.end(), [](QChar character) { return !character.isSpace(); });
    return first != text.end() && *first == '#';
}

/// Looks at the lines of files, one after the other.
class Check
{
public:
    void inspect(FilterLine &input);

private:
    struct Finding {
        qint64 column = 1;
        QString message;
    };

    void beginFile();
    void findNumbers();
    bool findFlaws();
    void coverFlaw(const Flaw &flaw, QSet<int> &places);
    bool standsForNumber(Range range, Flaw::Kind kind) const;
    void findMisfits();
    void findInsertedNumbers();
    void define(FilterLine &input);
    void add(int position, const QString &message);

    std::string_view bytes;        ///< of the line
    QString text;                  ///< of the line
    QString rest;                  ///< the same, with what was found covered
    std::vector<Range> references; ///< in the text
    std::vector<Finding> findings;
    bool isWrong = false; ///< whether there are findings, or some that are not told

    QSet<QString> wrongMacros; ///< whose definitions are wrong
    bool hasScope = false;
};

/// The macros that a file defines are forgotten at its end.
void Check::beginFile()
{
    if (hasScope)
        Macro::popDefinitions();
    hasScope = true;
    Macro::pushDefinitions(/*clear=*/false);
    wrongMacros.clear();
}

void Check::add(int position, const QString &message)
{
    isWrong = true;
    findings.push_back({columnAt(text, position), message});
}

/// Finds what is wrong with numbers with units outside of references.
void Check::findNumbers()
{
    NumbersWithUnits numbers(bytes);
    NumberWithUnit number;
    Columns columns(bytes);
    while (numbers.next(number)) {
        if (number.problem.empty())
            continue;
        isWrong = true;
        findings.push_back({columns.at(numbers.positionOf(number.problem)), problemOf(number)});
    }
}

/// Finds what is wrong with numbers that the user has not written as they are: their units come
/// from the text of a macro, or they are the result of an expression. That stands where the
/// reference does.
void Check::findInsertedNumbers()
{
    const auto isInserted = [](TracedCharacter character) { return character.origin < 0; };
    const TracedExpansion expansion = tracedExpansion(rest);
    const TracedText &characters = expansion.text;
    if (std::none_of(characters.begin(), characters.end(), isInserted))
        return;
    std::string expanded;
    appendBytes(expanded, toString(characters.constData(), characters.size()));
    NumbersWithUnits numbers(expanded);
    const auto beginOf = [&](std::string_view part) {
        const std::string_view before(expanded.data(), numbers.positionOf(part));
        return characters.constData() + textOf(before).size();
    };
    NumberWithUnit number;
    while (numbers.next(number)) {
        if (number.problem.empty())
            continue;
        const TracedCharacter *const wrong = beginOf(number.problem);
        const TracedCharacter *const last = wrong + textOf(number.problem).size() - 1;
        const TracedCharacter *const begin = std::min(wrong, beginOf(number.text()));
        const TracedCharacter *const end = beginOf(number.text()) + textOf(number.text()).size();
        if (std::any_of(begin, end, isInserted))
            add(expansion.trace.placeOf(*wrong, *last).begin, problemOf(number));
    }
}

/// Finds what can be seen without evaluating. False if there may be more.
bool Check::findFlaws()
{
    QSet<int> places;
    for (int count = 0; count < mostFlaws; ++count) {
        const Flaw flaw = flawOfLine(rest);
        if (flaw.what.isEmpty())
            return true;
        isWrong = true;
        const bool isUse = wrongMacros.contains(wordOf(text.mid(flaw.position, flaw.length)));
        if (!places.contains(flaw.position) && !isUse)
            add(flaw.position, messageOf(flaw));
        if (flaw.kind == Flaw::Kind::Length)
            break; // each walk over such a line takes long
        const QString before = rest;
        coverFlaw(flaw, places);
        if (rest == before)
            return false;
    }
    add(static_cast<int>(text.size()), QStringLiteral("there may be more mistakes in this line"));
    return false;
}

/// Covers \a flaw, so that the next one is found. In an expression a digit takes the place of each
/// character of a name or unit, once in each of the \a places; otherwise all of the expression is
/// covered.
void Check::coverFlaw(const Flaw &flaw, QSet<int> &places)
{
    const int position = flaw.position;
    const Range range = {position, position + std::max(flaw.length, 1)};
    const Range *const reference = rangeAt(references, position);
    const bool isOpen = flaw.what == QLatin1String("'${' is never closed");
    const bool isNameOrUnit = flaw.kind == Flaw::Kind::Name || flaw.kind == Flaw::Kind::Unit ||
                              flaw.what.startsWith(QLatin1String("undefined macro "));
    if (reference == nullptr || isOpen)
        cover(rest, range, blank);
    else if (isNameOrUnit && !places.contains(position) && standsForNumber(range, flaw.kind))
        cover(rest, range, digit);
    else
        cover(rest, *reference, blank);
    places.insert(position);
}

/// Whether digits in the place of \a range, which is in an expression, are a number there, or the
/// end of one, and no part of a name.
bool Check::standsForNumber(Range range, Flaw::Kind kind) const
{
    const auto at = [this](int index) {
        return index >= 0 && index < rest.size() ? rest[index] : QChar();
    };
    const QChar next = at(range.end);
    if (isWordCharacter(next) || next == '$' || next == '{')
        return false;
    int begin = range.begin;
    while (isWordCharacter(at(begin - 1)))
        --begin;
    const QChar before = at(begin - 1);
    if (before == '}' || before == '$' || (kind != Flaw::Kind::Unit && begin < range.begin))
        return false;
    // A word alone in braces would be a macro.
    return before != '{' || (next != '}' && rest.mid(range.end, 3) != QLatin1String("++}"));
}

/// Finds what depends on values: units that do not fit together, numbers that are infinite.
void Check::findMisfits()
{
    const auto count = static_cast<int>(text.size());
    for (const Range &reference : references) {
        const int size = reference.end - reference.begin;
        if (reference.end <= count &&
            rest.mid(reference.begin, size) != text.mid(reference.begin, size))
            cover(rest, reference, blank);
    }
    Strict strict;
    const Macro::Table before = Macro::hash;
    for (int turn = 0; turn < mostFlaws; ++turn) {
        QString expanded;
        Macro::hash = before;
        const Problem problem = strict.expand(rest, expanded);
        if (problem.message.isEmpty())
            break;
        add(problem.position, problem.message);
        const Range *const reference = rangeAt(references, problem.position);
        if (reference == nullptr)
            break;
        cover(rest, *reference, blank);
    }
    Macro::hash = before;
    findInsertedNumbers();
}

/// Performs a line with "define", if nothing is wrong with it. Its counters count.
void Check::define(FilterLine &input)
{
    const QStringList words = text.simplified().split(QLatin1Char(' '));
    const QString name = words.size() > 1 ? words[1] : QString();
    if (!isWrong) {
        performDefinition(input, text);
        isWrong = input.isWrong();
    } else {
        advanceCounters(text);
    }
    if (!isWrong) {
        wrongMacros.remove(name);
        return;
    }
    if (!name.isEmpty())
        wrongMacros.insert(name);
    Macro::hash.remove(name);
}

void Check::inspect(FilterLine &input)
{
    if (input.lineNumber() == 1)
        beginFile();
    bytes = input.text;
    text = textOf(bytes);
    if (isComment(text))
        return;
    rest = text;
    references = referencesIn(text);
    findings.clear();
    isWrong = false;
    findNumbers();
    const bool isDefining = isDefinition(text);
    if (text.contains(QLatin1Char('$'))) {
        if (findFlaws())
            findMisfits();
        if (!isDefining)
            advanceCounters(text);
    }
    std::stable_sort(findings.begin(), findings.end(),
        [](const Finding &one, const Finding &other) { return one.column < other.column; });
    for (const Finding &finding : findings)
        input.report(finding.column, finding.message);
    if (isDefining)
        define(input);
}

} // namespace

int checkCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("check"),
        QStringLiteral("Names the mistakes in texts with expressions and macros: unknown units, "
                       "undefined macros, and what is wrong in ${...}. Lines 'define NAME TEXT' "
                       "count from where they stand, and lines that begin with '#' are comments."));
    addDefinitionOptions(line);
    line.addPositionalArgument(QStringLiteral("file"),
        QStringLiteral("What is looked at; '-' is standard input."), QStringLiteral("FILE..."));
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    const QStringList files = line.positionalArguments();
    QString problem =
        files.isEmpty() ? QStringLiteral("a file is missing") : problemOfInputs(files);
    if (problem.isNull())
        problem = problemOfStandardInput(
            line, files.contains(QStringLiteral("-")), QStringLiteral("text"));
    if (!problem.isNull())
        return line.refuse(problem);
    if (const int status = define(line); status != AllIsWell)
        return status;
    Check check;
    return inspectLines(line, files, [&check](FilterLine &input) { check.inspect(input); });
}

} // namespace Talmo
