#pragma once

/// Opens what is closed of standard input, output and error, so that no file of the tests takes its
/// place: what is printed would go there.
void occupyStandardStreams();

/// From here on, standard output waits as long as a pipe is full, also if another program that has
/// the same pipe open has told it not to; otherwise the rest of the report would be lost.
void waitForReaders();

/// Writes out what was printed. False, with a word on standard error, if something that was printed
/// since waitForReaders is lost.
bool reportIsWritten();
