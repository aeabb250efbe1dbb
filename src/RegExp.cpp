#include "talmo/RegExp.h"

#include "PatternCost.h"
#include "talmo/StartupGuard.h"

#include <QRegExp>

namespace Talmo
{

QHash<QString, QRegExp *> RegExp::hash;
QRegExp *RegExp::prev = nullptr;
RegExp RE;

namespace
{

/// Compiles \a pattern. In the place of a pattern that costs too much, returns one that is invalid.
QRegExp *compile(const QString &pattern)
{
    const QString taken = isAffordable(pattern) ? pattern : QStringLiteral("(");
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
    // Deliberate: the text that a replacement produced can match again. The limit ends such loops.
    constexpr int limit = 10001;
    for (int count = 0; count < limit && substitute(pattern, text, replacement); ++count)
        ;
    return text;
}

void RegExp::forget(const QString &pattern)
{
    startupGuard();
    QRegExp *const forgotten = hash.take(pattern);
    if (prev == forgotten)
        prev = nullptr;
    delete forgotten;
}

} // namespace Talmo
