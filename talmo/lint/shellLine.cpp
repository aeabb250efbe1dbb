// A small part of the grammar of POSIX shells: words, quotes, redirections, and the operators
// between commands. What stands inside of quotes or "$( )" is for another shell, or for later, and
// is only passed over.

#include "shellLine.h"

#include <QStringList>

#include <algorithm>

namespace Talmo
{

namespace
{

// The longest come first.
const QStringList &separators()
{
    static const QStringList list = {QStringLiteral("&&"), QStringLiteral("||"),
        QStringLiteral(";;"), QStringLiteral(";"), QStringLiteral("|"), QStringLiteral("&")};
    return list;
}

const QStringList &redirectionSigns()
{
    static const QStringList list = {QStringLiteral("&>>"), QStringLiteral("&>"),
        QStringLiteral(">>"), QStringLiteral(">&"), QStringLiteral(">|"), QStringLiteral(">"),
        QStringLiteral("<<"), QStringLiteral("<&"), QStringLiteral("<>"), QStringLiteral("<")};
    return list;
}

/// Words that begin something in which ";" and "|" have another meaning.
bool isKeyword(const ShellWord &word)
{
    static const QStringList keywords = {QStringLiteral("if"), QStringLiteral("for"),
        QStringLiteral("while"), QStringLiteral("until"), QStringLiteral("case"),
        QStringLiteral("{"), QStringLiteral("function")};
    return !word.isQuoted && keywords.contains(word.text);
}

class ShellLexer
{
public:
    ShellLexer(const QString &itsText, int start)
        : text(itsText)
        , next(start)
    {
    }

    ShellLine read();

private:
    QString signOf(const QStringList &signs) const;
    bool isAtEnd() const { return next >= static_cast<int>(text.size()); }
    void skipBlanks();
    bool isWordEnd() const;
    ShellWord readWord();
    void readQuoted(ShellWord &word);
    void readExpansion(ShellWord &word);
    void skipTo(QChar end);
    void addWord(ShellPart &part);

    const QString &text;
    int next;
    int numberBegin = -1; ///< of the number right before a redirection; -1 if there is none
    bool isBroken = false;
};

/// Which of \a signs stands here; null if none does.
QString ShellLexer::signOf(const QStringList &signs) const
{
    const auto found = std::find_if(signs.begin(), signs.end(),
        [this](const QString &sign) { return QStringView(text).mid(next).startsWith(sign); });
    return found == signs.end() ? QString() : *found;
}

void ShellLexer::skipBlanks()
{
    while (!isAtEnd() && text[next].isSpace())
        ++next;
}

bool ShellLexer::isWordEnd() const
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
    isBroken = isBroken || isAtEnd();
    ++next;
}

/// Takes what stands between quotes.
void ShellLexer::readQuoted(ShellWord &word)
{
    const QChar quote = text[next++];
    const int begin = next;
    skipTo(quote);
    const QString inside = text.mid(begin, next - 1 - begin);
    word.isQuoted = true;
    word.text += inside;
    const bool mayExpand = quote == QLatin1Char('"');
    word.isExpanded =
        word.isExpanded ||
        (mayExpand && (inside.contains(QLatin1Char('$')) || inside.contains(QLatin1Char('`'))));
}

/// Passes over what the shell replaces, here: "$( )", "${ }", "$NAME", "` `".
void ShellLexer::readExpansion(ShellWord &word)
{
    word.isExpanded = true;
    const int begin = next;
    const QChar sign = text[next++];
    if (sign == QLatin1Char('`')) {
        skipTo(sign);
    } else if (!isAtEnd() && text[next] == QLatin1Char('{')) {
        skipTo(QLatin1Char('}'));
    } else if (!isAtEnd() && text[next] == QLatin1Char('(')) {
        skipTo(QLatin1Char(')'));
        // Another parenthesis inside would need a shell to be understood.
        isBroken = isBroken || text.mid(begin + 2, next - begin - 2).contains(QLatin1Char('('));
    }
    word.text += text.mid(begin, next - begin);
}

ShellWord ShellLexer::readWord()
{
    static const QString wildcards = QStringLiteral("*?[~");
    ShellWord word;
    word.position = next;
    while (!isWordEnd()) {
        const QChar character = text[next];
        if (character == QLatin1Char('\'') || character == QLatin1Char('"')) {
            readQuoted(word);
        } else if (character == QLatin1Char('$') || character == QLatin1Char('`')) {
            readExpansion(word);
        } else if (character == QLatin1Char('\\')) {
            word.text += text.mid(next + 1, 1);
            word.isQuoted = true;
            next += 2;
            isBroken = isBroken || next > static_cast<int>(text.size());
        } else {
            word.isExpanded = word.isExpanded || wildcards.contains(character);
            word.text += character;
            ++next;
        }
    }
    return word;
}

/// Adds the word that stands here to \a part, unless it is the number of a redirection.
void ShellLexer::addWord(ShellPart &part)
{
    const ShellWord word = readWord();
    const bool isNumber = !word.isQuoted && !word.text.isEmpty() &&
                          std::all_of(word.text.begin(), word.text.end(),
                              [](QChar digit) { return digit.isDigit(); });
    const bool isBeforeRedirection =
        !isAtEnd() && (text[next] == QLatin1Char('<') || text[next] == QLatin1Char('>'));
    isBroken = isBroken || (part.words.empty() && isKeyword(word));
    if (isNumber && isBeforeRedirection)
        numberBegin = word.position;
    else
        part.words.push_back(word);
}

ShellLine ShellLexer::read()
{
    ShellLine line;
    line.parts.emplace_back();
    for (skipBlanks(); !isAtEnd() && !isBroken; skipBlanks()) {
        const QString redirection = signOf(redirectionSigns());
        const QString separator = signOf(separators());
        if (text[next] == QLatin1Char('#')) {
            line.comment = next;
            break;
        }
        if (!redirection.isEmpty()) {
            const int position = numberBegin < 0 ? next : numberBegin;
            numberBegin = -1;
            next += static_cast<int>(redirection.size());
            skipBlanks();
            line.parts.back().redirections.push_back({redirection, position, readWord()});
        } else if (!separator.isEmpty()) {
            line.parts.back().end = separator;
            line.parts.back().endPosition = next;
            next += static_cast<int>(separator.size());
            line.parts.emplace_back();
        } else if (isWordEnd()) {
            isBroken = true; // a parenthesis
        } else {
            addWord(line.parts.back());
        }
    }
    line.isUnderstood = !isBroken;
    return line;
}

} // namespace

ShellLine shellLineOf(const QString &text, int start)
{
    constexpr int longest = 1 << 17; // systems start no shell with a longer line
    if (text.size() > longest)
        return {false, {ShellPart()}, -1};
    return ShellLexer(text, start).read();
}

} // namespace Talmo
