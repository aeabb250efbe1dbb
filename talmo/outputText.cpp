// What programs print may be larger than memory. So we first find out how much there is of each
// file, then give each its share of what a result file takes, and read only that much. A file may
// change or vanish meanwhile, or never have been one: then there is less of it, or a reason.

#include "outputText.h"

#include "JUnit.h"
#include "regularFile.h"
#include "utf8.h"

#include <QByteArray>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace Talmo
{

namespace
{

constexpr size_t mostCaptures = 32;
constexpr qint64 wholeShare = outputBeginning + outputEnd;

/// A file of which a text is made.
struct Piece {
    QString name;
    FilePart part;
    qint64 size = 0; ///< bytes that are there
    int error = 0;   ///< why it cannot be read
    qint64 share = 0;
};

Piece pieceOf(const QString &name, const FilePart &part)
{
    Piece piece = {name, part, 0, 0, 0};
    QFile file;
    if (!openRegular(file, part.path)) {
        piece.error = errno;
        return piece;
    }
    const qint64 there = std::max<qint64>(file.size() - part.offset, 0);
    piece.size = part.length < 0 ? there : std::min(there, part.length);
    return piece;
}

/// Gives each of \a pieces its share: what is small is taken whole, and the others divide the rest.
void divide(std::vector<Piece> &pieces)
{
    std::vector<Piece *> bySize;
    bySize.reserve(pieces.size());
    for (Piece &piece : pieces)
        bySize.push_back(&piece);
    std::sort(bySize.begin(), bySize.end(),
        [](const Piece *one, const Piece *other) { return one->size < other->size; });
    qint64 left = wholeShare;
    auto others = static_cast<qint64>(bySize.size());
    for (Piece *const piece : bySize) {
        piece->share = std::min(piece->size, left / others);
        left -= piece->share;
        --others;
    }
}

QByteArray bytesAt(QFile &file, qint64 offset, qint64 count)
{
    return file.seek(offset) ? file.read(count) : QByteArray();
}

bool continuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

constexpr qint64 mostContinuations = 3;

/// How many bytes at the end of \a text are the beginning of a character of UTF-8.
qint64 brokenEnd(const QByteArray &text)
{
    qint64 count = 0;
    for (auto index = text.size() - 1; index >= 0 && count <= mostContinuations; --index) {
        ++count;
        const auto byte = static_cast<unsigned char>(text[index]);
        if (continuesCharacter(text[index]))
            continue;
        const qint64 length = byte >= 0xF0U ? 4 : byte >= 0xE0U ? 3 : byte >= 0xC0U ? 2 : 1;
        return length > count ? count : 0;
    }
    return 0;
}

/// How many bytes at the front of \a text are the end of a character of UTF-8.
qint64 brokenFront(const QByteArray &text)
{
    qint64 count = 0;
    while (count < std::min<qint64>(text.size(), mostContinuations) &&
           continuesCharacter(text[static_cast<int>(count)]))
        ++count;
    return count;
}

void appendLine(QString &text, const QString &line)
{
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
        text += QLatin1Char('\n');
    text += line + QLatin1Char('\n');
}

/// Appends the beginning and the end of \a piece, which is larger than its share.
void appendEnds(QString &text, QFile &file, const Piece &piece)
{
    const qint64 first = piece.share * outputBeginning / wholeShare;
    QByteArray beginning = bytesAt(file, piece.part.offset, first);
    beginning.chop(static_cast<int>(brokenEnd(beginning)));
    const qint64 last = piece.share - first;
    QByteArray end = bytesAt(file, piece.part.offset + piece.size - last, last);
    end.remove(0, static_cast<int>(brokenFront(end)));
    text += decodedBytes(beginning);
    appendLine(text, QStringLiteral("==== %1 bytes are left out")
                         .arg(piece.size - beginning.size() - end.size()));
    text += decodedBytes(end);
}

void appendPiece(QString &text, const Piece &piece)
{
    QFile file;
    if (piece.error != 0 || !openRegular(file, piece.part.path)) {
        const QString reason = reasonOf(piece.error != 0 ? piece.error : errno);
        appendLine(text, QStringLiteral("==== %1 cannot be read: %2").arg(piece.name, reason));
        return;
    }
    appendLine(text, QStringLiteral("==== %1, %2 bytes").arg(piece.name).arg(piece.size));
    if (piece.share < piece.size)
        appendEnds(text, file, piece);
    else
        text += decodedBytes(bytesAt(file, piece.part.offset, piece.size));
}

} // namespace

QString outputText(const RunRecord &run)
{
    std::vector<Piece> pieces;
    if (!run.output.path.isEmpty())
        pieces.push_back(pieceOf(QStringLiteral("output"), run.output));
    if (!pieces.empty() && pieces[0].error == 0 && pieces[0].size == 0)
        pieces.clear(); // most runs print nothing
    // The later captures are nearer to the failure.
    const size_t leftOut = run.captures.size() - std::min(run.captures.size(), mostCaptures);
    for (size_t index = leftOut; index < run.captures.size(); ++index)
        pieces.push_back(pieceOf(run.captures[index].name, run.captures[index].part));
    divide(pieces);
    QString text;
    for (const Piece &piece : pieces)
        appendPiece(text, piece);
    if (leftOut > 0)
        appendLine(text, QStringLiteral("==== %1 earlier files are left out").arg(leftOut));
    return text;
}

} // namespace Talmo
