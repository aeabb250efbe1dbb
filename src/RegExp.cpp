#include "RegExp.h"

#include "StartupGuard.h"

#include <algorithm>

namespace Talmo
{

QHash<QString, QRegExp *> RegExp::hash;
QRegExp *RegExp::prev = nullptr;
RegExp RE;

namespace
{

using Index = decltype(QString().size()); // Qt 5 counts in int

/// The index of the ']' that ends the set of characters that begins at \a begin; the end of
/// \a pattern if it does not end.
Index endOfSet(const QString &pattern, Index begin)
{
    Index index = begin + 1;
    if (index < pattern.size() && pattern[index] == QLatin1Char('^'))
        ++index;
    for (const Index first = index; index < pattern.size(); ++index) {
        if (pattern[index] == QLatin1Char('\\'))
            ++index;
        else if (pattern[index] == QLatin1Char(']') && index != first)
            break;
    }
    return index;
}

/// How many groups of \a pattern are open at once, at most.
int depthOf(const QString &pattern)
{
    int depth = 0;
    int deepest = 0;
    for (Index index = 0; index < pattern.size(); ++index) {
        const QChar character = pattern[index];
        if (character == QLatin1Char('\\'))
            ++index;
        else if (character == QLatin1Char('['))
            index = endOfSet(pattern, index);
        else if (character == QLatin1Char('('))
            deepest = std::max(deepest, ++depth);
        else if (character == QLatin1Char(')'))
            --depth;
    }
    return deepest;
}

QRegExp *compile(const QString &pattern)
{
    // Groups within groups are compiled, and looked at, by recursion: ten thousand of them take
    // the whole stack. Nobody writes a thousand.
    constexpr int deepest = 1000;
    const bool usable = depthOf(pattern) <= deepest;
    const QString taken = usable ? pattern : QStringLiteral("(");
    return new QRegExp(taken, Qt::CaseSensitive, QRegExp::RegExp);
}

} // namespace

int RegExp::find(QString pattern, QString text)
{
    return findAt(pattern, text, 0);
}

int RegExp::findAt(QString pattern, QString text, int offset)
{
    startupGuard();
    QRegExp *&compiled = hash[pattern];
    if (compiled == nullptr)
        compiled = compile(pattern);
    prev = compiled;
    return prev->indexIn(text, offset, QRegExp::CaretAtOffset);
}

bool RegExp::match(QString pattern, QString text)
{
    return find(pattern, text) >= 0;
}

QString RegExp::replace(QString pattern, QString text, QString replacement)
{
    substitute(pattern, text, replacement);
    return text;
}

bool RegExp::substitute(QString pattern, QString &text, QString replacement)
{
    const int position = find(pattern, text);
    if (position < 0)
        return false;
    text.replace(position, prev->matchedLength(), replacement);
    return true;
}

QString RegExp::replaceAll(QString pattern, QString text, QString replacement)
{
    startupGuard();
    if (pattern.isEmpty())
        return text;
    // Deliberate: what a replacement produced can match again, and the limit ends such loops.
    constexpr int limit = 10001;
    for (int count = 0; count < limit && substitute(pattern, text, replacement); ++count)
        ;
    return text;
}

} // namespace Talmo
