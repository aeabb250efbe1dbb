// The driver's own reader says on which lines the texts are, and, at the end, whether the new file
// means what it should: the new texts in their places, and all else unchanged.

#include "replaceBodies.h"

#include "Script.h"
#include "texts.h"

#include <vector>

namespace Talmo
{

namespace
{

/// Where each line of \a content begins; the last one is behind the end.
std::vector<int> lineStarts(const QByteArray &content)
{
    std::vector<int> starts = {0};
    for (int index = 0; index < static_cast<int>(content.size()); ++index) {
        if (content[index] == '\n')
            starts.push_back(index + 1);
    }
    if (starts.back() != static_cast<int>(content.size()))
        starts.push_back(static_cast<int>(content.size()));
    return starts;
}

/// The text \a body as the file of the script has it behind a "=file" line \a command.
QByteArray written(const QByteArray &body, const QByteArray &command)
{
    QByteArray text = body;
    if (command.endsWith("\r\n"))
        text.replace("\n", "\r\n");
    return command.endsWith('\n') || text.isEmpty() ? text : '\n' + text;
}

/// The texts in \a script as a run writes them, by the number of their "=file" lines.
std::map<qint64, QByteArray> textsOf(const Script &script)
{
    std::map<qint64, QByteArray> texts;
    for (const FileBody &body : script.bodies())
        texts[body.line] = textOf(body);
    return texts;
}

/// Whether the lines outside of texts are the same.
bool haveSameLines(const Script &one, const Script &other)
{
    const std::vector<ScriptLine> lines1 = one.lines();
    const std::vector<ScriptLine> lines2 = other.lines();
    bool areSame = lines1.size() == lines2.size();
    for (size_t index = 0; areSame && index < lines1.size(); ++index)
        areSame = lines1[index].text == lines2[index].text;
    return areSame;
}

/// Whether \a replaced is \a script with the new \a bodies, and nothing else.
bool isRight(
    const Script &script, const Script &replaced, const std::map<qint64, QByteArray> &bodies)
{
    std::vector<QByteArray> expected;
    std::vector<QByteArray> found;
    for (const auto &[line, text] : textsOf(script)) {
        const auto own = bodies.find(line);
        expected.push_back(own == bodies.end() ? text : own->second);
    }
    for (const auto &[line, text] : textsOf(replaced))
        found.push_back(text);
    return expected == found && haveSameLines(script, replaced);
}

} // namespace

QByteArray textOf(const FileBody &body)
{
    QByteArray text(body.text.data(), static_cast<int>(body.text.size()));
    if (!text.isEmpty() && !text.endsWith('\n')) // the driver adds it
        text += '\n';
    return text;
}

bool replaceBodies(const QByteArray &content, const std::map<qint64, QByteArray> &bodies,
    QByteArray &replaced, QString &problem)
{
    const TextFile before(content);
    Script script;
    if (!before.isWritten() || !script.open(before.path().toLatin1())) {
        problem = QStringLiteral("the script cannot be read again");
        return false;
    }
    const std::vector<int> starts = lineStarts(content);
    replaced = QByteArray();
    int done = 0;
    for (const FileBody &body : script.bodies()) {
        const auto found = bodies.find(body.line);
        if (found == bodies.end())
            continue;
        const int command = starts[static_cast<size_t>(body.line - 1)];
        const int begin = starts[static_cast<size_t>(body.line)];
        const int end = starts[static_cast<size_t>(body.endLine - 1)];
        replaced += content.mid(done, begin - done);
        replaced += written(found->second, content.mid(command, begin - command));
        done = end;
    }
    replaced += content.mid(done);
    const TextFile after(replaced);
    Script check;
    if (after.isWritten() && check.open(after.path().toLatin1()) && isRight(script, check, bodies))
        return true;
    problem = QStringLiteral("the script would not be the same but for the new text");
    return false;
}

} // namespace Talmo
