#pragma once

#include <QByteArray>

#include <functional>
#include <optional>

namespace Talmo
{

/// What \a work returns; nothing if that takes longer than \a milliseconds, or if it crashes. It
/// works in a process of its own. So even a network drive that answers no more, on which a call of
/// the system waits for ever, stops nobody else.
std::optional<QByteArray> answerWithin(int milliseconds, const std::function<QByteArray()> &work);

} // namespace Talmo
