#pragma once

#include <QString>
#include <QStringView>

#include <utility>

namespace Talmo
{

/// What is left of an expression while it is scanned. Tokens are dropped from its front, and a name
/// there is replaced by what it stands for. Both cost as much as the token and its replacement,
/// however long the rest is, because what was dropped stays in memory as room for replacements.
class WorkingText
{
public:
    explicit WorkingText(QString whole)
        : text(std::move(whole))
    {
    }

    bool isEmpty() const { return front == text.size(); }

    /// All that is left. Valid until the next replacement.
    QStringView ahead() const { return QStringView(text).mid(front); }

    /// Drops the first \a length characters.
    void drop(int length) { front += length; }

    /// Replaces the first \a length characters by \a replacement.
    void replaceFront(int length, const QString &replacement);

private:
    QString text;  ///< what was dropped, then what is left
    int front = 0; ///< where the part that is left begins
};

} // namespace Talmo
