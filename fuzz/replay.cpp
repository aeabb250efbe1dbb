// Takes the place of libFuzzer where it is not linked. A target gets the inputs that were kept:
// each file of the directories on the command line. Options are meant for libFuzzer and are
// ignored.

#include "fuzzing.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace
{

std::vector<std::filesystem::path> filesIn(const std::string &directory)
{
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(directory))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path &file)
{
    std::fprintf(stderr, "%s\n", file.filename().c_str()); // the last one is the culprit
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char *argv[])
{
    LLVMFuzzerInitialize(&argc, &argv);
    std::size_t count = 0;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument.rfind('-', 0) == 0)
            continue;
        for (const std::filesystem::path &file : filesIn(argument)) {
            replay(file);
            ++count;
        }
    }
    return count > 0 ? 0 : 1; // without inputs, nothing has been tested
}
