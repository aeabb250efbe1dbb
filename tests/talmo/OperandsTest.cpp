#include "CommandLine.h"

#include "Printing.h"

#include <gtest/gtest.h>

using Talmo::CommandLine;

namespace
{

bool isNegative(const QString &argument)
{
    return argument.size() > 1 && argument[1].isDigit();
}

/// What is read of \a arguments: "u=VALUES l=COUNT OPERANDS", or the exit status.
QString read(const QStringList &arguments)
{
    CommandLine line("test", "Tests.");
    line.addOptions({{{"u", "units"}, "Units.", "UNITS"}, {"l", "A flag."}});
    line.addPositionalArgument("operand", "What is read.", "[OPERAND...]");
    const std::optional<int> status = line.read(arguments, isNegative);
    if (status)
        return QString::number(*status);
    return "u=" + line.values("u").join(',') + " l=" + (line.isSet("l") ? "1 " : "0 ") +
           line.positionalArguments().join('|');
}

} // namespace

TEST(CommandLine, TakesOperandsThatBeginWithAMinus)
{
    const struct {
        QStringList arguments;
        QString read;
    } rows[] = {
        {{"-2"}, "u= l=0 -2"},
        {{"1", "-2", "-l", "-3"}, "u= l=1 1|-2|-3"},
        {{"-u", "mm", "-2mm"}, "u=mm l=0 -2mm"},
        {{"-2mm", "-u", "-2"}, "u=-2 l=0 -2mm"},
        {{"--units", "mm", "-1", "--units=m"}, "u=mm,m l=0 -1"},
        {{"-umm", "-1"}, "u=mm l=0 -1"},
        {{"-u", "-", "-", "-1"}, "u=- l=0 -|-1"},
        {{"-u", "--", "-1"}, "u=-- l=0 -1"},
        {{"--", "-l", "-u"}, "u= l=0 -l|-u"},
        {{"-1", "--", "--", "-l"}, "u= l=0 -1|--|-l"},
        {{"-x"}, "2"},
        {{"-1", "-u"}, "2"},
        {{"--units"}, "2"},
        {{""}, "u= l=0 "},
    };
    for (const auto &row : rows)
        EXPECT_EQ(read(row.arguments), row.read) << row.arguments.join(' ').toStdString();
}
