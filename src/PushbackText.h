#pragma once

#include <QString>

#include <algorithm>
#include <vector>

namespace Talmo
{

/// A text that is read from its front, where other texts can be put back. Either costs as much as
/// what is read or put back, however long the rest is.
class PushbackText
{
public:
    explicit PushbackText(const QString &text) { putBack(text); }

    bool isEmpty() const { return pieces.empty(); }

    /// Puts \a text in front.
    void putBack(const QString &text);

    /// Takes the first character. Not for an empty text.
    QChar take();

    /// Moves what comes before the first character for which \a stops holds to the end of
    /// \a target; all, if there is none.
    template <typename Predicate>
    void moveUntil(Predicate stops, QString &target);

    /// Moves what comes up to the first \a last, and that, to the end of \a target; all, if there
    /// is none.
    void moveThrough(QChar last, QString &target);

private:
    struct Piece {
        QString text;
        int front; ///< before its end
    };

    /// Drops the first \a count characters of the first piece.
    void drop(int count);

    std::vector<Piece> pieces; ///< the last one comes first
};

template <typename Predicate>
void PushbackText::moveUntil(Predicate stops, QString &target)
{
    while (!pieces.empty()) {
        const Piece &piece = pieces.back();
        const QChar *const begin = piece.text.constData() + piece.front;
        const QChar *const end = piece.text.constData() + piece.text.size();
        const QChar *const stop = std::find_if(begin, end, stops);
        const bool found = stop != end;
        target.append(begin, static_cast<int>(stop - begin));
        drop(static_cast<int>(stop - begin));
        if (found)
            return;
    }
}

} // namespace Talmo
