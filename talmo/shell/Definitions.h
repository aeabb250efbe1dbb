#pragma once

#include "FilterLine.h"

#include <QSet>
#include <QString>
#include <QStringList>

namespace Talmo
{

class CommandLine;

/// Adds -D and --definitions to \a line.
void addDefinitionOptions(CommandLine &line);

/// Defines local macros as \a line, which was read, asks for: those of -D first, then those of
/// --definitions. A file refers to the macros of -D, and does not define them anew: so what it
/// computes from one of its own follows the one of -D in its place. Returns AllIsWell, or the exit
/// status with which the command has to end, because something is wrong, which was said.
int define(const CommandLine &line);

/// Defines a local macro by \a text, "NAME=TEXT". False if it is none; \a problem then says why.
bool defineByText(const QString &text, QString &problem);

/// Defines a local macro by \a text, "NAME = TEXT", in which blanks around the sign count for
/// nothing. False if it is none, as "NAME==TEXT".
bool defineByAssignment(const QString &text);

/// Why \a line, which was read, cannot be performed, as a sentence: it takes definitions from
/// standard input, which also \a isRead for \a contents. Null if it can.
QString problemOfStandardInput(const CommandLine &line, bool isRead, const QString &contents);

/// Whether \a text, the text of a line, has "define" as its first word.
bool isDefinition(const QString &text);

/// Performs the line "define NAME TEXT", with references in it replaced: what is wrong with it is
/// reported, and then nothing is defined. Nor is a macro that is among \a kept, which are defined.
void performDefinition(FilterLine &line, const QString &text, const QSet<QString> &kept = {});

} // namespace Talmo
