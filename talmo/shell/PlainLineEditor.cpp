// Lines as the terminal gives them, where there is no library for editing.

#include "InputLines.h"
#include "LineEditor.h"
#include "lineText.h"

#include <cstdio>
#include <utility>

namespace Talmo
{

class LineEditor::Terminal
{
public:
    QString prompt;
    InputLines lines;
};

LineEditor::LineEditor(const QString &prompt, Complete /*complete*/)
    : terminal(std::make_unique<Terminal>())
{
    terminal->prompt = prompt;
    terminal->lines.open(QStringLiteral("-"));
}

LineEditor::~LineEditor() = default;

LineEditor::Input LineEditor::read(QString &line)
{
    std::fputs(qPrintable(terminal->prompt), stdout);
    InputLine input;
    if (!terminal->lines.next(input)) {
        std::fputc('\n', stdout);
        return Input::End;
    }
    line = textOf(input.text);
    return Input::Line;
}

} // namespace Talmo
