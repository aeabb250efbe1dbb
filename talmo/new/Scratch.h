#pragma once

#include "Descriptor.h"

#include <QByteArray>
#include <QString>

namespace Talmo
{

/// A directory of our own in the folder for temporary files. While the object lives, it is the
/// current directory; then it is removed with all that it holds, and the current directory is again
/// the one from before.
class Scratch
{
public:
    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch();

    /// Makes and enters the directory. False if that is not possible; \a problem then says why.
    bool enter(QString &problem);

    /// Gives the directory, which stays the current one, another path. False if that is not
    /// possible; \a problem then says why.
    bool move(QString &problem);

private:
    bool make(QByteArray &made, QString &problem) const;

    QByteArray path;
    Descriptor before;
};

} // namespace Talmo
