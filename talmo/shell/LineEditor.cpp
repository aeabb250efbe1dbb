// Lines that are edited by libedit.
//
// While a line is edited, the terminal is in a mode of its own, in which Ctrl-C and Ctrl-Z are
// characters like any other: no signal has to find its way out of the library. Signals that end the
// process, and those that tell of a new size of the window, are the library's, so that the terminal
// is always left as it was.

#include "LineEditor.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <utility>

#include <histedit.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr int keptLines = 1000;
constexpr int columnsOfList = 78;

/// What all of \a words begin with.
QString commonBeginning(const QStringList &words)
{
    QString common = words[0];
    for (const QString &word : words) {
        while (!word.startsWith(common))
            common.chop(1);
    }
    return common;
}

/// \a words in columns, without a newline at the end.
QString listOf(const QStringList &words)
{
    int width = 0;
    for (const QString &word : words)
        width = std::max(width, static_cast<int>(word.size()) + 2);
    const int perLine = std::max(columnsOfList / width, 1);
    QString list;
    for (int index = 0; index < words.size(); ++index) {
        const bool isLast = index % perLine == perLine - 1 || index + 1 == words.size();
        list += isLast ? words[index] : words[index].leftJustified(width);
        list += QLatin1String(isLast && index + 1 < words.size() ? "\n" : "");
    }
    return list;
}

} // namespace

class LineEditor::Terminal
{
public:
    Terminal(const QString &itsPrompt, Complete itsCompletion);
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal();

    Input read(QString &line);

private:
    static Terminal &of(EditLine *editor);
    static wchar_t *promptOf(EditLine *editor) { return of(editor).prompt.data(); }
    static unsigned char drop(EditLine *editor, wint_t character);
    static unsigned char suspend(EditLine *editor, wint_t character);
    static unsigned char complete(EditLine *editor, wint_t character);

    // Standard output itself, of which the library needs the number.
    std::FILE *output = fdopen(dup(STDOUT_FILENO), "w");
    EditLine *editor = el_init("talmo", stdin, output, stderr);
    HistoryW *history = history_winit();
    std::wstring prompt;
    Complete completion;
    bool isDropped = false;
};

LineEditor::Terminal &LineEditor::Terminal::of(EditLine *editor)
{
    void *terminal = nullptr;
    el_wget(editor, EL_CLIENTDATA, &terminal);
    return *static_cast<Terminal *>(terminal);
}

LineEditor::Terminal::Terminal(const QString &itsPrompt, Complete itsCompletion)
    : prompt(itsPrompt.toStdWString())
    , completion(std::move(itsCompletion))
{
    HistEventW event = {};
    history_w(history, &event, H_SETSIZE, keptLines);
    history_w(history, &event, H_SETUNIQUE, 1);
    el_wset(editor, EL_CLIENTDATA, this);
    el_wset(editor, EL_HIST, history_w, history);
    el_wset(editor, EL_PROMPT, promptOf);
    el_wset(editor, EL_SIGNAL, 1);
    el_wset(editor, EL_EDITOR, L"emacs");
    el_wset(editor, EL_ADDFN, L"talmo-complete", L"Completes a word", complete);
    el_wset(editor, EL_ADDFN, L"talmo-drop", L"Drops the line", drop);
    el_wset(editor, EL_ADDFN, L"talmo-suspend", L"Stops the program", suspend);
    el_wset(editor, EL_BIND, L"^I", L"talmo-complete", nullptr);
    el_wset(editor, EL_BIND, L"^C", L"talmo-drop", nullptr);
    el_wset(editor, EL_BIND, L"^Z", L"talmo-suspend", nullptr);
    el_wset(editor, EL_BIND, L"^R", L"em-inc-search-prev", nullptr);
    el_wset(editor, EL_SETTY, L"-d", L"-isig", nullptr);
    el_source(editor, nullptr); // what the user has chosen for all programs, in ~/.editrc
}

LineEditor::Terminal::~Terminal()
{
    el_end(editor);
    history_wend(history);
    std::fclose(output);
}

unsigned char LineEditor::Terminal::drop(EditLine *editor, wint_t /*character*/)
{
    of(editor).isDropped = true;
    return CC_EOF;
}

unsigned char LineEditor::Terminal::suspend(EditLine * /*editor*/, wint_t /*character*/)
{
    std::raise(SIGTSTP); // which the library takes, and passes on
    return CC_NORM;
}

unsigned char LineEditor::Terminal::complete(EditLine *editor, wint_t /*character*/)
{
    const Terminal &terminal = of(editor);
    const LineInfoW *const line = el_wline(editor);
    const QString before =
        QString::fromWCharArray(line->buffer, static_cast<int>(line->cursor - line->buffer));
    const Completion found = terminal.completion(before);
    if (found.words.isEmpty())
        return CC_ERROR;
    const QString more = commonBeginning(found.words).mid(found.length);
    if (!more.isEmpty())
        return el_winsertstr(editor, more.toStdWString().c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    if (found.words.size() == 1)
        return CC_NORM;
    std::fprintf(terminal.output, "\n%s", qPrintable(listOf(found.words)));
    return CC_REDISPLAY;
}

LineEditor::Input LineEditor::Terminal::read(QString &line)
{
    std::fflush(stdout);
    isDropped = false;
    // The library itself would do this behind the prompt, and keys may be there at once.
    el_wset(editor, EL_PREP_TERM, 1);
    int length = 0;
    const wchar_t *const typed = el_wgets(editor, &length);
    if (typed == nullptr || length <= 0) {
        std::fputs(isDropped ? "^C\n" : "\n", output);
        std::fflush(output);
        return isDropped ? Input::Dropped : Input::End;
    }
    line = QString::fromWCharArray(typed, length);
    if (line.endsWith(QLatin1Char('\n')))
        line.chop(1);
    HistEventW event = {};
    if (!line.trimmed().isEmpty())
        history_w(history, &event, H_ENTER, line.toStdWString().c_str());
    return Input::Line;
}

LineEditor::LineEditor(const QString &prompt, Complete complete)
    : terminal(std::make_unique<Terminal>(prompt, std::move(complete)))
{
}

LineEditor::~LineEditor() = default;

LineEditor::Input LineEditor::read(QString &line)
{
    return terminal->read(line);
}

} // namespace Talmo
