#include "lintFormats.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace Talmo
{

namespace
{

/// The path \a file as a part of a line: what would end the line, or control a terminal, is written
/// as \xHH.
QByteArray onOneLine(const QByteArray &file)
{
    QByteArray line;
    for (const char byte : file) {
        constexpr uchar firstPrintable = 0x20;
        constexpr uchar deletion = 0x7F;
        const auto value = static_cast<uchar>(byte);
        if (value < firstPrintable || value == deletion)
            line += "\\x" + QByteArray::number(value, 16).rightJustified(2, '0');
        else
            line += byte;
    }
    return line;
}

/// A line for each finding, with \a kind before the message.
QByteArray linesOf(const std::vector<ScriptMistakes> &scripts, const QByteArray &kind)
{
    QByteArray text;
    for (const ScriptMistakes &script : scripts) {
        const QByteArray file = onOneLine(script.file);
        for (const Mistake &mistake : script.mistakes)
            text += file + ':' + QByteArray::number(mistake.line) + ':' +
                    QByteArray::number(mistake.column) + ": " + kind +
                    mistake.message.toLocal8Bit() + " [" + mistake.check.toLatin1() + "]\n";
    }
    return text;
}

QByteArray writeText(const std::vector<ScriptMistakes> &scripts)
{
    return linesOf(scripts, QByteArray());
}

QByteArray writeGcc(const std::vector<ScriptMistakes> &scripts)
{
    return linesOf(scripts, "warning: ");
}

QByteArray writeJson(const std::vector<ScriptMistakes> &scripts)
{
    QJsonArray findings;
    for (const ScriptMistakes &script : scripts) {
        for (const Mistake &mistake : script.mistakes)
            findings.append(QJsonObject{
                {QStringLiteral("file"), QFile::decodeName(script.file)},
                {QStringLiteral("line"), mistake.line},
                {QStringLiteral("column"), mistake.column},
                {QStringLiteral("check"), mistake.check},
                {QStringLiteral("message"), mistake.message},
            });
    }
    const QJsonObject whole = {
        {QStringLiteral("format"), 1},
        {QStringLiteral("scripts"), static_cast<qint64>(scripts.size())},
        {QStringLiteral("findings"), findings},
    };
    return QJsonDocument(whole).toJson();
}

} // namespace

const std::vector<LintFormat> &lintFormats()
{
    static const std::vector<LintFormat> formats = {
        {"text", writeText},
        {"gcc", writeGcc},
        {"json", writeJson},
    };
    return formats;
}

} // namespace Talmo
