#pragma once

#include <QByteArray>
#include <QString>

#include <sys/stat.h>

namespace Talmo
{

/// Remembers the owner, the group and the permissions of a file, and at its end gives them to the
/// file that has taken its place.
class Ownership
{
public:
    explicit Ownership(const QString &name);
    Ownership(const Ownership &) = delete;
    Ownership &operator=(const Ownership &) = delete;
    ~Ownership();

private:
    void restore() const;
    bool isReplacement(const struct stat &now) const;

    int folder = -1;
    QByteArray fileName;
    struct stat before = {};
    bool isKnown = false;
};

} // namespace Talmo
