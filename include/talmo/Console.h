#pragma once

#include <QString>
#include <QtGlobal>

#include <cstdio>

namespace Talmo
{

class ConsoleWindow; // only in a windowed build

/// The product's text console: what the library tells the user goes through it. The text goes to
/// standard output, or to the stream that the program has chosen. In a program without a console
/// window it is also kept in `initial`, so that a window created later could show it from the
/// start. Usable before main.
class Console
{
public:
    /// Formats as the C library's printf does in the C locale (text arguments in the local 8-bit
    /// encoding, wide ones ASCII only) and appends the result.
    static void printf(const char *format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(1, 2);

    /// Writes \a text as it is, without a newline of its own, and flushes the stream.
    static void appendText(QString text);

    /// Shows the file \a fileName under a heading, up to its first NUL byte. A file that cannot be
    /// read contributes nothing.
    static void copyFile(QString fileName);

    /// The console window. A program without one must never ask: it gets a line on the stream and
    /// crashes deliberately.
    static ConsoleWindow *window();

    /// Where the text goes; null for standard output. The program opens and closes it, and sets
    /// this back to null before it closes it. What is said before main, such as where the
    /// preferences are, goes to standard output.
    static std::FILE *stream;

    static ConsoleWindow *window_; ///< null while no window exists
    static QString *initial; ///< all text written without a window; null before the first of it
};

} // namespace Talmo
