#include "Expansion.h"

#include "Expression.h"
#include "Text.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/RegExp.h"

#include <QRegExp>

namespace tracker
{

namespace
{

using Talmo::Error;
using Talmo::Macro;
using Talmo::RE;
using Talmo::RegExp;

/// \a text as it is when its expressions come to be evaluated: with the macros in place of their
/// names. No macro holds a "$", so the order does not matter. Returns false, and may say in \a what
/// is wrong, if that cannot be; the library tells of a name that is not defined.
bool insertMacros(QString &text, std::string &what)
{
    const QString reference = QStringLiteral(R"(\$([A-Za-z0-9_]+)|\$\{([A-Za-z0-9_]*)(\+\+)?\})");
    for (int at = 0; (at = RE.find(reference, text)) >= 0;) {
        const int length = RegExp::prev->matchedLength();
        const QString name = RegExp::prev->cap(1) + RegExp::prev->cap(2);
        const bool counts = !RegExp::prev->cap(3).isEmpty();
        if (!Macro::isDefined(name))
            return false;
        const QString value = Macro::value(name);
        if (counts && !RE.match(QStringLiteral("^([0-9]+|[A-Za-z]+)$"), value)) {
            what = "macro " + quoted(toBytes(name)) + " cannot count";
            return false;
        }
        text.replace(at, length, value);
    }
    return true;
}

/// See silentFlaw; \a inside is what a "${" and a "}" enclose: an optional format, an expression,
/// and an optional unit.
std::string flawOfReference(QString inside)
{
    if (RE.match(QStringLiteral("^%[^;]+;"), inside))
        inside.remove(0, RegExp::prev->matchedLength());
    if (RE.match(QStringLiteral(";([A-Za-z0-9]*)$"), inside)) {
        const QString unit = RegExp::prev->cap(1);
        inside.chop(RegExp::prev->matchedLength());
        if (!isKnownUnit(toBytes(unit)))
            return "unknown unit " + quoted(toBytes(unit));
    }
    return silentFlaw(toBytes(inside));
}

/// What is wrong with the first expression in \a text, or nothing.
std::string flawOfLine(const QString &text)
{
    const QString reference = QStringLiteral(R"(\$\{([^}]*)\})");
    for (int at = 0; text.indexOf('}', at) >= 0 && (at = RE.findAt(reference, text, at)) >= 0;) {
        at += RegExp::prev->matchedLength();
        std::string flaw = flawOfReference(RegExp::prev->cap(1));
        if (!flaw.empty())
            return flaw;
    }
    return {};
}

} // namespace

DeckScope::DeckScope()
{
    Macro::pushDefinitions(/*clear=*/true);
}

DeckScope::~DeckScope()
{
    Macro::popDefinitions();
    Error::line.clear();
    Error::lineNumber = 0;
}

void DeckScope::setLine(const std::string &line, std::size_t number)
{
    Error::line = QString::fromLocal8Bit(line.data(), static_cast<int>(line.size()));
    Error::lineNumber = static_cast<int>(number);
}

bool expandLine(std::string &line, std::string &what)
{
    const QString text = fromBytes(line);
    QString checked = text;
    if (insertMacros(checked, what))
        what = flawOfLine(checked);
    if (!what.empty())
        return false;
    line = toBytes(Macro::expand(text));
    return true;
}

bool defineMacro(const std::string &name, const std::string &text, std::string &what)
{
    if (!RE.match(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"), fromBytes(name))) {
        what = quoted(name) + " is not a name";
        return false;
    }
    if (text.find('$') != std::string::npos) {
        what = "macro " + quoted(name) + " holds a '$'";
        return false;
    }
    Macro::hash[fromBytes(name)] = fromBytes(text);
    return true;
}

} // namespace tracker
