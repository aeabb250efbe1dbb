#pragma once

#include "FilterLine.h"

#include <QString>
#include <QStringList>

namespace Talmo
{

class CommandLine;

/// Adds -D and --definitions to \a line.
void addDefinitionOptions(CommandLine &line);

/// Defines local macros as \a line, which was read, asks for: those of --definitions first, then
/// those of -D, which replace them. Returns AllIsWell, or the exit status with which the command
/// has to end, because something is wrong, which was said.
int define(const CommandLine &line);

/// Defines a local macro by \a text, "NAME=TEXT". False if it is none; \a problem then says why.
bool defineByText(const QString &text, QString &problem);

/// Defines a local macro by \a text, "NAME = TEXT", in which blanks around the sign count for
/// nothing. False if it is none, as "NAME==TEXT".
bool defineByAssignment(const QString &text);

/// Whether \a line, which was read, takes definitions from standard input.
bool readsStandardInput(const CommandLine &line);

/// Whether \a text, the text of a line, has "define" as its first word.
bool isDefinition(const QString &text);

/// Performs the line "define NAME TEXT", with references in it replaced: what is wrong with it is
/// reported, and then nothing is defined.
void performDefinition(FilterLine &line, const QString &text);

} // namespace Talmo
