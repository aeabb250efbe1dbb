// talmo expand: the references to macros in texts, replaced line by line.

#include "CommandLine.h"
#include "Definitions.h"
#include "Filter.h"
#include "Walks.h"
#include "commandTable.h"
#include "leniency.h"
#include "lineText.h"
#include "strict.h"
#include "talmo/Macro.h"

#include <memory>
#include <optional>

namespace Talmo
{

namespace
{

/// Replaces the references in lines, strictly or as the library does.
class Expansion
{
public:
    explicit Expansion(const CommandLine &line)
        : leniency(line)
        , strict(leniency.isWanted() ? nullptr : std::make_unique<Strict>())
    {
    }

    void perform(FilterLine &line, std::string &result);

    /// Whether the library has reported anything, and has gone on.
    bool wasLenient() const { return leniency.wasUsed(); }

private:
    Problem expand(const QString &text, QString &expanded);

    Leniency leniency;
    std::unique_ptr<Strict> strict; // null if the library is to have its way
};

Problem Expansion::expand(const QString &text, QString &expanded)
{
    if (strict)
        return strict->expand(text, expanded);
    Problem problem = Leniency::endlessness(endlessnessOfLine(text));
    if (problem.message.isEmpty())
        expanded = Macro::expand(text);
    return problem;
}

/// Appends to \a result what \a line becomes.
void Expansion::perform(FilterLine &line, std::string &result)
{
    if (line.text.find('$') == std::string_view::npos) {
        result += line.text;
        return;
    }
    const QString text = textOf(line.text);
    QString expanded;
    leniency.setLine(text, line.lineNumber());
    const Problem problem = expand(text, expanded);
    if (!problem.message.isEmpty())
        line.report(columnAt(text, problem.position), problem.message);
    appendBytes(result, expanded);
}

} // namespace

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
    if (problem.isNull())
        problem = problemOfStandardInput(
            line, files.inputs.contains(QStringLiteral("-")), QStringLiteral("text"));
    if (!problem.isNull())
        return line.refuse(problem);
    if (const int status = define(line); status != AllIsWell)
        return status;
    Expansion expansion(line);
    const int status = runFilter(line, files,
        [&](FilterLine &input, std::string &result) { expansion.perform(input, result); });
    return status == AllIsWell && expansion.wasLenient() ? AtFault : status;
}

} // namespace Talmo
