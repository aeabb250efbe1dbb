// The jobs that write files, and the bare system calls of a script.

#include "unavoidable.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace Unavoidable
{

namespace
{

constexpr int reading = O_RDONLY | O_CLOEXEC;
constexpr int writing = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;

/// A short text in a place of constant size, which is copied as a whole, in a few moves: what is
/// too much is overwritten by the next piece.
struct Piece {
    char text[64] = {};
    size_t length = 0;

    explicit Piece(const std::string &words)
        : length(words.copy(text, sizeof text))
    {
    }

    void appendTo(char *&place) const
    {
        std::memcpy(place, text, sizeof text);
        place += length;
    }
};

/// A number of up to sixteen digits that counts up as text, from 1.
class Counter
{
public:
    void appendTo(char *&place) const
    {
        std::memcpy(place, begin, 16); // into the zeros behind the last digit
        place += std::begin(digits) + 16 - begin;
    }

    void advance()
    {
        char *digit = digits + 15;
        while (*digit == '9')
            *digit-- = '0';
        ++*digit;
        if (digit < begin)
            begin = digit;
    }

private:
    char digits[33] = "0000000000000001";
    char *begin = digits + 15;
};

std::string formatted(double value)
{
    char text[32];
    const char *const end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6).ptr;
    return {text, static_cast<size_t>(end - text)};
}

/// The grid that three words describe as text, with \a behind after each number.
std::vector<Piece> grid(const std::string *words, const std::string &behind)
{
    const double first = std::stod(words[0]);
    const double last = std::stod(words[1]);
    const int count = std::stoi(words[2]);
    const double step = (last - first) / (count - 1);
    std::vector<Piece> pieces;
    pieces.reserve(static_cast<size_t>(count));
    for (int index = 0; index < count; ++index)
        pieces.emplace_back(formatted(index * step + first) + behind);
    return pieces;
}

/// Writes \a text to the new file \a name; false if that fails.
bool writeFile(const char *name, std::string_view text)
{
    const int file = open(name, writing, 0666);
    return file >= 0 && writeAll(file, text) && close(file) == 0;
}

/// Reads a small file into \a buffer; what is there of it, and nothing if it cannot be read.
template <size_t Size>
std::string_view readFile(const char *name, char (&buffer)[Size])
{
    const int file = open(name, reading);
    const ssize_t count = read(file, buffer, Size);
    close(file);
    return {buffer, count > 0 ? static_cast<size_t>(count) : 0};
}

/// Calls \a work in a new directory for each file of \a folder, and removes the directory; false if
/// that fails for one.
template <typename Work>
bool forEachScript(const std::string &folder, Work work)
{
    DIR *const entries = opendir(folder.c_str());
    bool passed = entries != nullptr && chdir(folder.c_str()) == 0;
    while (const dirent *const entry = passed ? readdir(entries) : nullptr) {
        if (entry->d_type != DT_REG)
            continue;
        char script[4096];
        const std::string directory = std::string(entry->d_name) + ".dir";
        passed = !readFile(entry->d_name, script).empty() && mkdir(directory.c_str(), 0777) == 0 &&
                 chdir(directory.c_str()) == 0 && work() && chdir("..") == 0 &&
                 rmdir(directory.c_str()) == 0 &&
                 writeAll(STDOUT_FILENO, std::string(entry->d_name) + ": passed\n");
    }
    if (entries != nullptr)
        closedir(entries);
    return passed;
}

} // namespace

int testBeam(const Arguments &arguments)
{
    constexpr size_t blockSize = 1 << 18;
    const std::vector<Piece> xs = grid(&arguments[1], " ");
    const std::vector<Piece> ys =
        grid(&arguments[4], ' ' + formatted(std::stod(arguments[7])) + " 0 0 " +
                                formatted(std::stod(arguments[9])) + " 0 " + arguments[8] + ' ');
    const Piece tail(" 1 0 1\n");
    Counter eventId;

    const int file = open(arguments[0].c_str(), writing, 0666);
    bool written = writeAll(file, "#QXTrackFile\n"
                                  "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n");
    std::vector<char> block(blockSize + 4 * sizeof(Piece::text));
    char *place = block.data();
    const auto flush = [&] {
        const auto length = static_cast<size_t>(place - block.data());
        written = writeAll(file, {block.data(), length}) && written;
        place = block.data();
    };
    for (const Piece &x : xs) {
        for (const Piece &y : ys) {
            x.appendTo(place);
            y.appendTo(place);
            eventId.appendTo(place);
            tail.appendTo(place);
            eventId.advance();
            if (place > block.data() + blockSize)
                flush();
        }
    }
    flush();
    return close(file) == 0 && written ? 0 : 1;
}

int bodyOfFile(const Arguments &arguments)
{
    const MappedFile script(arguments[0]);
    std::string_view body = script.text();
    for (int line = 0; line < 2; ++line) // the heading, and the command itself
        body.remove_prefix(body.find('\n') + 1);
    // A single character is found much faster than two.
    size_t end = body.find('=');
    while (end != std::string_view::npos && end > 0 && body[end - 1] != '\n')
        end = body.find('=', end + 1);
    return writeFile(arguments[1].c_str(), body.substr(0, end)) ? 0 : 1;
}

int scripts(const Arguments &arguments)
{
    constexpr std::string_view text = "# x y\n1.0 2.0\n";
    const bool passed = forEachScript(arguments[0], [&] {
        char read1[64];
        char read2[64];
        return writeFile("a.dat", text) && writeFile("b.dat", text) &&
               readFile("a.dat", read1) == readFile("b.dat", read2) && access("a.dat", F_OK) == 0 &&
               unlink("a.dat") == 0 && unlink("b.dat") == 0;
    });
    return passed ? 0 : 1;
}

int runs(const Arguments &arguments)
{
    const bool passed = forEachScript(arguments[0],
        [] { return std::system("true >>true.out 2>&1") == 0 && unlink("true.out") == 0; });
    return passed ? 0 : 1;
}

} // namespace Unavoidable
