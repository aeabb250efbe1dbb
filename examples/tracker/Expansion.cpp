#include "Expansion.h"

#include "Error.h"
#include "Expression.h"
#include "Macro.h"
#include "RegExp.h"
#include "Text.h"

namespace tracker
{

namespace
{

using Talmo::Error;
using Talmo::Macro;
using Talmo::RE;
using Talmo::RegExp;

/// See silentFlaw; \a inside is what a "${" and a "}" enclose.
std::string flawOfReference(QString inside)
{
    if (RE.match(QStringLiteral(R"(^[A-Za-z0-9_]*(\+\+)?$)"), inside))
        return {}; // the name of a macro or a counter; the library tells if there is none
    if (RE.match(QStringLiteral("^%[^;]+;"), inside)) // a format
        inside.remove(0, RegExp::prev->matchedLength());
    if (RE.match(QStringLiteral(";([A-Za-z][A-Za-z0-9]*)?$"), inside)) {
        const QString unit = RegExp::prev->cap(1);
        inside.chop(RegExp::prev->matchedLength());
        std::string flaw = silentFlaw("1" + toBytes(unit));
        if (!flaw.empty())
            return flaw;
    }
    return silentFlaw(toBytes(inside));
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
    const QString reference = QStringLiteral(R"(\$\{([^}]*)\})");
    int length = 0;
    for (int at = 0; (at = RE.findAt(reference, text, at)) >= 0; at += length) {
        length = RegExp::prev->matchedLength();
        what = flawOfReference(RegExp::prev->cap(1));
        if (!what.empty())
            return false;
    }
    line = toBytes(Macro::expand(text));
    return true;
}

bool defineMacro(const std::string &name, const std::string &text, std::string &what)
{
    if (!RE.match(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"), fromBytes(name))) {
        what = quoted(name) + " is not a name";
        return false;
    }
    Macro::hash[fromBytes(name)] = fromBytes(text);
    return true;
}

bool checkMacros(std::string &what)
{
    for (auto macro = Macro::hash.cbegin(); macro != Macro::hash.cend(); ++macro) {
        if (macro->contains('$')) {
            what = "macro " + quoted(toBytes(macro.key())) + " holds a '$'";
            return false;
        }
    }
    return true;
}

} // namespace tracker
