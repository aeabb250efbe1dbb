#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace Talmo
{

// What a script can carry: the text of a file behind "=file", and the names of files in its lines.
// The driver drops carriage returns from a script, splits its lines at blanks without any quoting,
// replaces "$simProgram" in them, and ends the text of a file at a line that begins with "=".

/// What has to be the same when a script has written the text of a file.
enum class Sameness {
    OfBytes,      ///< every byte
    ForComparing, ///< what "=compare" sees: neither carriage returns nor how the last line ends
};

/// Why a script cannot carry \a text behind "=file", in a few words: "line 3 begins with '='". Null
/// if it can: bodyOf(text) is then what stands there. A NUL makes a text binary: the driver would
/// carry it, but hardly an editor.
QString problemOfBody(const QByteArray &text, Sameness sameness);

/// \a text as it stands behind "=file" and as the driver writes it: without carriage returns, and
/// with a newline at the end of the last line.
QByteArray bodyOf(const QByteArray &text);

/// Why no line of a script can name the file \a name, in a few words: "its name has blanks". Null
/// if it can.
QString problemOfFileName(const QString &name);

/// The number, from 1, of the line of \a text that has the byte at \a position.
qint64 lineAt(const QByteArray &text, std::string_view::size_type position);

} // namespace Talmo
