#pragma once

#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/RegExp.h"
#include "talmo/Units.h"

#include <QRegExp>

#include <optional>

/// Expansion by its definition. For each kind of reference: as long as there is one, the first one
/// is replaced, and the search starts again at the beginning of the text.
class PlainExpansion
{
public:
    /// The expansion of \a text; no value if that takes more than a few hundred steps.
    std::optional<QString> expand(QString text)
    {
        const QString whole = text;
        if (!replaceNames(R"(\$([A-Za-z0-9_]+))", text) ||
            !replaceNames(R"(\$\{([A-Za-z0-9_]*)\})", text) || !replaceCounters(text))
            return failed();
        while (find(R"(\$\{([^}]*)\})", text))
            text.replace(position, length, evaluated(inside));
        if (endless)
            return std::nullopt;
        if (Talmo::RE.match(R"(\$\{)", text)) {
            Talmo::Error::syntax("unbalanced ${ in '" + whole + "'");
            return "";
        }
        return text;
    }

private:
    std::optional<QString> failed() const
    {
        if (endless)
            return std::nullopt;
        return "";
    }

    bool find(const QString &pattern, const QString &text)
    {
        endless = endless || ++steps > 300;
        if (endless || !Talmo::RE.match(pattern, text))
            return false;
        position = Talmo::RegExp::prev->pos(0);
        length = Talmo::RegExp::prev->matchedLength();
        inside = Talmo::RegExp::prev->cap(1);
        return true;
    }

    bool undefined()
    {
        Talmo::Error::syntax("Undefined macro '" + inside + "'");
        return false;
    }

    bool replaceNames(const QString &pattern, QString &text)
    {
        while (find(pattern, text)) {
            if (!Talmo::Macro::isDefined(inside))
                return undefined();
            text.replace(position, length, Talmo::Macro::value(inside));
        }
        return !endless;
    }

    bool replaceCounters(QString &text)
    {
        while (find(R"(\$\{([A-Za-z0-9_]*)\+\+\})", text)) {
            if (!Talmo::Macro::hash.contains(inside))
                return undefined();
            text.replace(position, length, Talmo::Macro::hash[inside]);
            Talmo::Macro::hash[inside] = Talmo::Macro::successor(Talmo::Macro::hash[inside]);
        }
        return !endless;
    }

    static QString evaluated(QString expression)
    {
        QString format = "%g";
        QString units = "-";
        if (Talmo::RE.match("^(%[^;]+);", expression)) {
            format = Talmo::RegExp::prev->cap(1);
            expression.remove(0, Talmo::RegExp::prev->matchedLength());
        }
        if (Talmo::RE.match(";([A-Za-z0-9]*)$", expression)) {
            units = Talmo::RegExp::prev->cap(1);
            expression.chop(Talmo::RegExp::prev->matchedLength());
        }
        return Talmo::Units::evaluate(format, expression, units);
    }

    int steps = 0;
    bool endless = false;
    int position = 0;
    int length = 0;
    QString inside;
};
