#pragma once

#include <QByteArray>

#include <optional>

namespace Talmo
{

/// The settings \a text with \a value, as Qt writes it, in the place of the values that it has for
/// \a key; without any, if there is no \a value. Only the value changes: comments, also one behind
/// the value, blanks, ends of lines and foreign lines stay. Nothing if the text is not plain enough
/// for that. What is plain is judged by the line, so the caller has Qt read the result.
std::optional<QByteArray> settingsWith(
    const QByteArray &text, const QByteArray &key, const std::optional<QByteArray> &value);

} // namespace Talmo
