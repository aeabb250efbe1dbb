#pragma once

#include <QString>

#include <functional>
#include <string_view>

namespace Talmo
{

/// Why no file \a name could be written that takes the place of what is there, as a sentence; null
/// if one could. So that nothing is lost, it may take the place of an empty file only, or of one
/// that is ours, as \a isOurs tells by its beginning, resultFileHead bytes (JUnit.h) or all of it:
/// \a ours says what that is, such as "results". It must not be what standard output or standard
/// error go to, or the list of known failures. Nothing is written.
QString problemOfReplacing(const QString &name,
    const std::function<bool(std::string_view head)> &isOurs, const QString &ours);

} // namespace Talmo
