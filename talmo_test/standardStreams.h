#pragma once

/// Opens what is closed of standard input, output and error, so that no file of the tests takes its
/// place: what is printed would go there.
void occupyStandardStreams();

/// Writes out what was printed. False, with a word on standard error, if something printed since
/// the start of the process was lost.
bool reportIsWritten();
