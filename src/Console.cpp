#include "talmo/Console.h"

#include "DiskFile.h"
#include "talmo/Numbers.h"
#include "talmo/StartupGuard.h"

#include <cstdarg>
#include <cstdio>

#include <poll.h>

namespace Talmo
{

// All are constant-initialised, because the first text arrives before main, from constructors.
std::FILE *Console::stream = nullptr;
ConsoleWindow *Console::window_ = nullptr;
QString *Console::initial = nullptr;

namespace
{

/// \a bytes in the local 8-bit encoding as text. The first letter keeps QString from dropping a
/// byte order mark.
QString fromLocal(const QByteArray &bytes)
{
    const QByteArray guarded = 'x' + bytes;
    return QString::fromLocal8Bit(guarded.constData(), guarded.size()).mid(1);
}

/// The stream to write to. A program may put a stream of its own in the place of stdout, too.
std::FILE *currentStream()
{
    return Console::stream == nullptr ? stdout : Console::stream;
}

/// Waits as long as \a stream is a full pipe. Another program may have told that pipe not to wait;
/// then the text would be lost if it were written at once. Afterwards there is room for a line.
void waitForRoom(std::FILE *stream)
{
    pollfd output = {fileno(stream), POLLOUT, 0};
    if (output.fd >= 0) // a stream of the program's own may have no descriptor
        poll(&output, 1, -1);
}

} // namespace

void Console::printf(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    appendText(fromLocal(QByteArray::fromStdString(text)));
}

void Console::appendText(QString text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::FILE *const output = currentStream();
    waitForRoom(output);
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), output);
    std::fflush(output);
    if (window_ != nullptr)
        return;
    if (initial == nullptr)
        initial = new QString;
    initial->append(text);
}

void Console::copyFile(QString fileName)
{
    appendText(QStringLiteral("\nFile %1:\n").arg(fileName));
    DiskFile file;
    const QByteArray content = file.openToRead(fileName) ? file.readAllText() : QByteArray();
    appendText(fromLocal(content.constData())); // ends at the first NUL
    appendText(QStringLiteral("\n"));
}

ConsoleWindow *Console::window()
{
    if (window_ == nullptr) {
        std::fputs("***ERROR ConsoleWindow cannot be used!\n", currentStream());
        std::fflush(currentStream());
        crashDeliberately();
    }
    return window_;
}

} // namespace Talmo
