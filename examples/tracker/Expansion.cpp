#include "Expansion.h"

#include "Expression.h"
#include "Text.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/RegExp.h"

namespace tracker
{

using Talmo::Error;
using Talmo::Macro;
using Talmo::RE;

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
    what = messageAbout(Talmo::flawOfLine(text));
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
