// A small part of the grammar of POSIX shells: words, redirections, the operators between commands,
// and the groups that commands are in. The words that begin and end groups count only where a
// command could begin.

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

/// What a word means where a command could begin.
enum class Role {
    Opens,      ///< a group
    OpensWords, ///< a group that begins with words, which are no command
    Closes,     ///< a group
    Between,    ///< a command follows
    Unknown,    ///< something that is not taken apart here
};

struct ReservedWord {
    const char *text;
    Role role;
    const char *closing; ///< of a group
};

// clang-format off
constexpr ReservedWord reservedWords[] = {
    { "{",        Role::Opens,      "}"    },
    { "if",       Role::Opens,      "fi"   },
    { "while",    Role::Opens,      "done" },
    { "until",    Role::Opens,      "done" },
    { "for",      Role::OpensWords, "done" },
    { "}",        Role::Closes,     ""     },
    { "fi",       Role::Closes,     ""     },
    { "done",     Role::Closes,     ""     },
    { "then",     Role::Between,    ""     },
    { "elif",     Role::Between,    ""     },
    { "else",     Role::Between,    ""     },
    { "do",       Role::Between,    ""     },
    { "!",        Role::Between,    ""     },
    { "case",     Role::Unknown,    ""     },
    { "function", Role::Unknown,    ""     },
    { "select",   Role::Unknown,    ""     },
    { "[[",       Role::Unknown,    ""     },
};
// clang-format on

/// The row of \a word; null if it is an ordinary one.
const ReservedWord *reservedWordOf(const ShellWord &word)
{
    const auto *const found = std::find_if(std::begin(reservedWords), std::end(reservedWords),
        [&word](const ReservedWord &row) { return word.text == QLatin1String(row.text); });
    return word.isQuoted || found == std::end(reservedWords) ? nullptr : found;
}

bool isDigits(const ShellWord &word)
{
    return !word.isQuoted && !word.text.isEmpty() &&
           std::all_of(word.text.begin(), word.text.end(),
               [](QChar digit) { return digit >= QLatin1Char('0') && digit <= QLatin1Char('9'); });
}

bool isAssignment(const ShellWord &word)
{
    const auto end = word.text.indexOf(QLatin1Char('='));
    return end > 0 && !word.text[0].isDigit() &&
           std::all_of(word.text.begin(), word.text.begin() + end, [](QChar character) {
               return character.isLetterOrNumber() || character == QLatin1Char('_');
           });
}

class ShellParser
{
public:
    ShellParser(const QString &text, int start)
        : lexer(text, start)
    {
        line.parts.emplace_back();
    }

    ShellLine read();

private:
    void readOne();
    void addRedirection(const QString &sign);
    void addSeparator(const QString &sign);
    void addWord();
    void addReserved(const ReservedWord &reserved, const ShellWord &word);
    void openGroup(const QString &closing);
    void closeGroup(const QString &closing);
    bool isAtCommand() const;

    ShellLexer lexer;
    ShellLine line;
    int group = -1;   ///< the innermost one that is open
    int closed = -1;  ///< the one that has just ended; -1 if something else stands before
    ShellWord number; ///< right before a redirection; empty if there is none
    bool isBroken = false;
};

/// Whether a command could begin here.
bool ShellParser::isAtCommand() const
{
    const ShellPart &part = line.parts.back();
    return part.words.empty() && part.redirections.empty();
}

void ShellParser::addRedirection(const QString &sign)
{
    ShellRedirection redirection;
    redirection.sign = sign;
    redirection.position = number.text.isEmpty() ? lexer.position() : number.position;
    redirection.descriptor =
        number.text.isEmpty() ? (sign.startsWith(QLatin1Char('<')) ? 0 : 1) : number.text.toInt();
    number = ShellWord();
    lexer.skip(static_cast<int>(sign.size()));
    lexer.skipBlanks();
    redirection.target = lexer.readWord();
    if (closed < 0)
        line.parts.back().redirections.push_back(redirection);
    else
        line.groups[static_cast<size_t>(closed)].redirections.push_back(redirection);
}

void ShellParser::addSeparator(const QString &sign)
{
    if (closed >= 0) {
        line.groups[static_cast<size_t>(closed)].end = sign;
        closed = -1;
    } else {
        line.parts.back().end = sign;
        line.parts.back().endPosition = lexer.position();
        line.parts.emplace_back();
        line.parts.back().group = group;
    }
    lexer.skip(static_cast<int>(sign.size()));
}

void ShellParser::openGroup(const QString &closing)
{
    isBroken = isBroken || !isAtCommand();
    ShellGroup opened;
    opened.parent = group;
    opened.closing = closing;
    line.groups.push_back(opened);
    group = static_cast<int>(line.groups.size()) - 1;
    line.parts.back().group = group;
}

void ShellParser::closeGroup(const QString &closing)
{
    if (group < 0 || line.groups[static_cast<size_t>(group)].closing != closing) {
        isBroken = true;
        return;
    }
    closed = group;
    group = line.groups[static_cast<size_t>(group)].parent;
    if (!isAtCommand())
        line.parts.emplace_back();
    line.parts.back().group = group;
}

void ShellParser::addReserved(const ReservedWord &reserved, const ShellWord &word)
{
    switch (reserved.role) {
    case Role::Opens:
        openGroup(QLatin1String(reserved.closing));
        break;
    case Role::OpensWords:
        openGroup(QLatin1String(reserved.closing));
        line.parts.back().words.push_back(word);
        break;
    case Role::Closes:
        closeGroup(word.text);
        break;
    case Role::Between:
        closed = -1;
        break;
    case Role::Unknown:
        isBroken = true;
        break;
    }
}

/// Takes the word that stands here, or the number of a redirection.
void ShellParser::addWord()
{
    const ShellWord word = lexer.readWord();
    const bool isBeforeRedirection = !lexer.isAtEnd() && (lexer.character() == QLatin1Char('<') ||
                                                             lexer.character() == QLatin1Char('>'));
    const ReservedWord *const reserved = isAtCommand() ? reservedWordOf(word) : nullptr;
    if (isDigits(word) && isBeforeRedirection)
        number = word;
    else if (reserved != nullptr)
        addReserved(*reserved, word);
    else if (closed >= 0)
        isBroken = true;
    else
        line.parts.back().words.push_back(word);
}

void ShellParser::readOne()
{
    const QString redirection = lexer.sign(redirectionSigns());
    const QString separator = lexer.sign(separators());
    if (lexer.character() == QLatin1Char('#')) {
        line.comment = lexer.position();
    } else if (!redirection.isEmpty()) {
        addRedirection(redirection);
    } else if (!separator.isEmpty()) {
        addSeparator(separator);
    } else if (lexer.character() == QLatin1Char('(')) {
        openGroup(QStringLiteral(")"));
        lexer.skip(1);
    } else if (lexer.character() == QLatin1Char(')')) {
        closeGroup(QStringLiteral(")"));
        lexer.skip(1);
    } else {
        addWord();
    }
}

ShellLine ShellParser::read()
{
    lexer.skipBlanks();
    while (!lexer.isAtEnd() && line.comment < 0 && !isBroken && !lexer.isBroken()) {
        readOne();
        lexer.skipBlanks();
    }
    line.isUnderstood = !isBroken && !lexer.isBroken() && group < 0;
    return line;
}

} // namespace

bool ShellRedirection::writesFile() const
{
    const bool isDescriptor = isDigits(target) || target.text == QLatin1String("-");
    return sign.contains(QLatin1Char('>')) && !(sign == QLatin1String(">&") && isDescriptor);
}

size_t ShellPart::programIndex() const
{
    const auto first = std::find_if_not(words.begin(), words.end(), isAssignment);
    return static_cast<size_t>(first - words.begin());
}

QString ShellPart::program() const
{
    const size_t index = programIndex();
    return index < words.size() ? words[index].text : QString();
}

std::vector<ShellRedirection> ShellLine::redirections() const
{
    std::vector<ShellRedirection> all;
    for (const ShellPart &part : parts)
        all.insert(all.end(), part.redirections.begin(), part.redirections.end());
    for (const ShellGroup &one : groups)
        all.insert(all.end(), one.redirections.begin(), one.redirections.end());
    return all;
}

ShellLine shellLineOf(const QString &text, int start)
{
    constexpr int longest = 1 << 17; // systems start no shell with a longer line
    if (text.size() <= longest)
        return ShellParser(text, start).read();
    ShellLine line;
    line.isUnderstood = false;
    line.parts.emplace_back();
    return line;
}

} // namespace Talmo
