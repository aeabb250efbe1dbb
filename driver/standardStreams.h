#pragma once

/// Opens whichever of standard input, output and error is closed. Otherwise a file of the tests
/// would take its place, and what is printed would go into that file.
void occupyStandardStreams();

/// Whether that has found standard input closed. What is read from it now is empty, though nobody
/// said so.
bool standardInputWasClosed();

/// From here on, standard output waits as long as a pipe is full, even if another program that has
/// the same pipe open has told the pipe not to wait. Otherwise the rest of the report would be
/// lost.
void waitForReaders();

/// From here on, warnings of Qt are not printed. Under a locale whose encoding is not UTF-8, newer
/// versions of Qt 6 warn at every start that they switch to a locale whose encoding is.
void dropWarningsOfQt();

/// Writes out what was printed, and what the message calls \a output. If something that was printed
/// since waitForReaders is lost, says so on standard error, in the name of \a program, and returns
/// false.
bool reportIsWritten(const char *program, const char *output = "the report");
