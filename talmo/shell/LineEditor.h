#pragma once

#include "Calculator.h"

#include <QString>

#include <functional>
#include <memory>

namespace Talmo
{

/// Lines that a user types on the terminal. Where Talmo is built with a library for that, they can
/// be edited, completed and called back; nothing of them is kept on disk.
class LineEditor
{
public:
    enum class Input {
        Line,
        Dropped, ///< the user has begun a line, and wants none of it
        End,
    };

    using Complete = std::function<Completion(const QString &before)>;

    /// Asks for lines by \a prompt. \a complete is given what stands before the cursor.
    LineEditor(const QString &prompt, Complete complete);
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;
    ~LineEditor();

    /// Waits for a line. The cursor is then at the beginning of a new one.
    Input read(QString &line);

private:
    class Terminal;

    std::unique_ptr<Terminal> terminal;
};

} // namespace Talmo
