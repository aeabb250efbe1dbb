#include "ShellLexer.h"

#include <algorithm>

namespace Talmo
{

ShellLexer::ShellLexer(const QString &itsText, int start)
    : text(itsText)
    , next(start)
{
}

bool ShellLexer::isAtEnd() const
{
    return next >= static_cast<int>(text.size());
}

void ShellLexer::skipBlanks()
{
    while (!isAtEnd() && text[next].isSpace())
        ++next;
}

QString ShellLexer::sign(const QStringList &signs) const
{
    const auto found = std::find_if(signs.begin(), signs.end(),
        [this](const QString &sign) { return QStringView(text).mid(next).startsWith(sign); });
    return found == signs.end() ? QString() : *found;
}

bool ShellLexer::isAtWordEnd() const
{
    static const QString special = QStringLiteral(";|&<>()");
    return isAtEnd() || text[next].isSpace() || special.contains(text[next]);
}

/// Passes over the text up to \a end, and over that.
void ShellLexer::skipTo(QChar end)
{
    while (!isAtEnd() && text[next] != end) {
        if (text[next] == QLatin1Char('\\') && end != QLatin1Char('\''))
            ++next;
        ++next;
    }
    hasFailed = hasFailed || isAtEnd();
    ++next;
}

/// Passes over what begins here and is no plain character: "\X", quotes, "$( )", "` `"; or else
/// over one character.
void ShellLexer::skipOne()
{
    constexpr int deepest = 100; // nobody writes that, and each level takes a part of the stack
    const QChar character = text[next++];
    const bool isTooDeep = depth >= deepest;
    hasFailed = hasFailed || isTooDeep;
    ++depth;
    if (character == QLatin1Char('\\'))
        ++next;
    else if (character == QLatin1Char('`') || character == QLatin1Char('\''))
        skipTo(character);
    else if (character == QLatin1Char('"') && !isTooDeep)
        skipDoubleQuoted();
    else if (character == QLatin1Char('$') && !isAtEnd() && text[next] == QLatin1Char('(') &&
             !isTooDeep)
        skipSubstitution();
    --depth;
}

/// Passes over what stands behind a '"', with the '"' at its end. A ' is nothing special there.
void ShellLexer::skipDoubleQuoted()
{
    while (!isAtEnd() && text[next] != QLatin1Char('"')) {
        if (text[next] == QLatin1Char('\''))
            ++next;
        else
            skipOne();
    }
    hasFailed = hasFailed || isAtEnd();
    ++next;
}

/// Passes over the parentheses that begin here, and over those within them. Of a "case", where they
/// are not in pairs, too little is passed over; then the rest of the line has a ")" too many.
void ShellLexer::skipSubstitution()
{
    int open = 0;
    do {
        open += text[next] == QLatin1Char('(') ? 1 : text[next] == QLatin1Char(')') ? -1 : 0;
        skipOne();
    } while (open > 0 && !isAtEnd());
    hasFailed = hasFailed || open > 0;
}

/// Takes what stands between quotes.
void ShellLexer::readQuoted(ShellWord &word)
{
    const bool mayExpand = text[next] == QLatin1Char('"');
    const int begin = next + 1;
    skipOne();
    const QString inside = text.mid(begin, next - 1 - begin);
    word.isQuoted = true;
    word.text += inside;
    word.isExpanded =
        word.isExpanded ||
        (mayExpand && (inside.contains(QLatin1Char('$')) || inside.contains(QLatin1Char('`'))));
}

/// Passes over what the shell replaces, here: "$( )", "${ }", "$NAME", "` `".
void ShellLexer::readExpansion(ShellWord &word)
{
    word.isExpanded = true;
    const int begin = next;
    if (text.mid(next, 2) == QLatin1String("${"))
        skipTo(QLatin1Char('}'));
    else
        skipOne();
    word.text += text.mid(begin, next - begin);
}

ShellWord ShellLexer::readWord()
{
    static const QString wildcards = QStringLiteral("*?[~");
    ShellWord word;
    word.position = next;
    while (!isAtWordEnd()) {
        const QChar character = text[next];
        if (character == QLatin1Char('\'') || character == QLatin1Char('"')) {
            readQuoted(word);
        } else if (character == QLatin1Char('$') || character == QLatin1Char('`')) {
            readExpansion(word);
        } else if (character == QLatin1Char('\\')) {
            word.text += text.mid(next + 1, 1);
            word.isQuoted = true;
            next += 2;
            hasFailed = hasFailed || next > static_cast<int>(text.size());
        } else {
            word.isExpanded = word.isExpanded || wildcards.contains(character);
            word.text += character;
            ++next;
        }
    }
    return word;
}

} // namespace Talmo
