// What a program asks of the library, for whole files: evaluate, convert, expand, and walk over two
// files. The results go
// to standard output.

#include "Difference.h"
#include "talmo/Macro.h"
#include "talmo/Numbers.h"
#include "talmo/StartupGuard.h"
#include "talmo/Units.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

using Talmo::Macro;
using Talmo::Units;

namespace
{

std::string contentOf(const char *fileName)
{
    std::ifstream file(fileName, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

QString toText(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

void print(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
}

/// Calls \a work for each line of the file, without its newline.
template <typename Work>
void forEachLine(const char *fileName, Work work)
{
    const std::string content = contentOf(fileName);
    for (size_t begin = 0; begin < content.size();) {
        const size_t end = std::min(content.find('\n', begin), content.size());
        work(std::string_view(content).substr(begin, end - begin));
        begin = end + 1;
    }
}

/// FILE: lines EXPRESSION UNIT, or EXPRESSION alone.
void evaluate(char *arguments[])
{
    const QString format = QStringLiteral("%.12g");
    forEachLine(arguments[0], [&](std::string_view line) {
        const size_t blank = std::min(line.find(' '), line.size());
        const QString unit = toText(line.substr(std::min(blank + 1, line.size())));
        print(Units::evaluate(format, toText(line.substr(0, blank)), unit) + '\n');
    });
}

/// FILE SIZE: the text is converted in pieces of whole lines, of SIZE characters at the least.
void convert(char *arguments[])
{
    const std::string content = contentOf(arguments[0]);
    const size_t size = std::stoul(arguments[1]);
    for (size_t begin = 0; begin < content.size();) {
        const size_t newline = content.find('\n', begin + size - 1);
        const size_t end = std::min(newline, content.size() - 1) + 1;
        const QString text = toText(std::string_view(content).substr(begin, end - begin));
        print(Units::convertAll(text, QStringLiteral("*")));
        begin = end;
    }
}

/// MACROS FILE: lines NAME=VALUE, and the lines to expand.
void expand(char *arguments[])
{
    forEachLine(arguments[0], [](std::string_view line) {
        const size_t sign = line.find('=');
        Macro::hash[toText(line.substr(0, sign))] = toText(line.substr(sign + 1));
    });
    forEachLine(
        arguments[1], [](std::string_view line) { print(Macro::expand(toText(line)) + '\n'); });
}

/// FILE1 FILE2 TOLERANCE COLUMNS: walks the files to their ends, all columns with one tolerance,
/// and counts the differences.
void walk(char *arguments[])
{
    double tolerance = 0;
    Talmo::toNumber(arguments[2], tolerance);
    Talmo::LineReader file1;
    Talmo::LineReader file2;
    long count = 0;
    if (file1.open(arguments[0]) && file2.open(arguments[1])) {
        Talmo::forEachDifference(file1, file2,
            std::vector<double>(std::stoul(arguments[3]), tolerance),
            [&count](const Talmo::Difference &, const Talmo::LinePair &) {
                ++count;
                return Talmo::Walk::GoesOn;
            });
    }
    std::printf("%ld\n", count);
}

struct Job {
    const char *name;
    int argumentCount;
    void (*function)(char *arguments[]);
};

const Job jobs[] = {
    {"evaluate", 1, evaluate}, {"convert", 2, convert}, {"expand", 2, expand}, {"walk", 4, walk}};

} // namespace

int main(int argc, char *argv[])
{
    Talmo::enterMain();
    for (const Job &job : jobs) {
        if (argc == job.argumentCount + 2 && std::string_view(argv[1]) == job.name) {
            job.function(argv + 2);
            return 0;
        }
    }
    std::fputs("usage: jobs evaluate FILE | convert FILE SIZE | expand MACROS FILE | "
               "walk FILE1 FILE2 TOLERANCE COLUMNS\n",
        stderr);
    return 2;
}
