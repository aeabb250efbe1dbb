#pragma once

#include <QString>
#include <QStringView>

#include <utility>

namespace Talmo
{

/// What is left of an expression while it is scanned. Tokens are dropped from its front, and a name
/// there is replaced by what it stands for. Either costs as much as the token and its replacement,
/// however long the rest is: what was dropped stays as room for replacements.
class WorkingText
{
public:
    explicit WorkingText(QString whole)
        : text(std::move(whole))
    {
    }

    bool isEmpty() const { return front == text.size(); }

    /// All that is left, until a replacement.
    QStringView ahead() const { return QStringView(text).mid(front); }

    /// Whether what is left begins with \a token; neither may be empty.
    bool startsWith(const QString &token) const
    {
        // The first character nearly always decides, and the call costs more.
        return ahead().front() == token.front() && ahead().startsWith(token);
    }

    /// Drops the first \a length characters.
    void drop(int length) { front += length; }

    /// Replaces the first \a length characters by \a replacement.
    void replaceFront(int length, const QString &replacement);

private:
    QString text;  ///< what was dropped, then what is left
    int front = 0; ///< where that begins
};

} // namespace Talmo
