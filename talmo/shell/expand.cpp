// talmo expand: the references to macros in texts, replaced line by line.

#include "CommandLine.h"
#include "Definitions.h"
#include "Filter.h"
#include "commandTable.h"
#include "leniency.h"
#include "lineText.h"
#include "strict.h"
#include "talmo/Macro.h"

#include <memory>
#include <optional>

namespace Talmo
{

int expandCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("expand"),
        QStringLiteral("Replaces the references to macros, such as $x and ${2*$x;mm}, line by "
                       "line."));
    addDefinitionOptions(line);
    addLenientOption(line);
    addFilterOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    QString problem;
    const FilterFiles files = filterFilesOf(line, problem);
    if (!problem.isNull())
        return line.refuse(problem);
    if (const int status = define(line); status != AllIsWell)
        return status;
    Leniency leniency(line);
    const auto strict = leniency.isWanted() ? nullptr : std::make_unique<Strict>();
    const int status = runFilter(line, files, [&](FilterLine &input, std::string &result) {
        if (input.text.find('$') == std::string_view::npos) {
            result += input.text;
            return;
        }
        const QString text = textOf(input.text);
        QString expanded;
        leniency.setLine(text, input.lineNumber());
        if (!strict)
            expanded = Macro::expand(text);
        else if (const Problem wrong = strict->expand(text, expanded); !wrong.message.isEmpty())
            input.report(columnAt(text, wrong.position), wrong.message);
        appendBytes(result, expanded);
    });
    return status == AllIsWell && leniency.wasUsed() ? AtFault : status;
}

} // namespace Talmo
