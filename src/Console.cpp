#include "Console.h"

#include "Numbers.h"
#include "StartupGuard.h"

#include <QFile>

#include <cstdarg>
#include <cstdio>

namespace Talmo
{

// Both are constants before any constructor runs: the first text arrives before main.
ConsoleWindow *Console::window_ = nullptr;
QString *Console::initial = nullptr;

void Console::printf(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    appendText(QString::fromLocal8Bit(text.c_str()));
}

void Console::appendText(QString text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
    if (window_ != nullptr)
        return;
    if (initial == nullptr)
        initial = new QString;
    initial->append(text);
}

void Console::copyFile(QString fileName)
{
    appendText(QStringLiteral("\nFile %1:\n").arg(fileName));
    QFile file(fileName);
    const bool readable = file.open(QIODevice::ReadOnly | QIODevice::Text);
    const QByteArray content = readable ? file.readAll() : QByteArray();
    appendText(QString::fromLocal8Bit(content.constData())); // ends at the first NUL
    appendText(QStringLiteral("\n"));
}

ConsoleWindow *Console::window()
{
    if (window_ == nullptr) {
        std::puts("***ERROR ConsoleWindow cannot be used!");
        std::fflush(stdout);
        crashDeliberately();
    }
    return window_;
}

} // namespace Talmo
