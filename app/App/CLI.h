// The command line: lists the operations that fit some files, runs one, renders artwork.
#pragma once

#include <QStringList>
#include <QTextStream>

namespace tramix::CLI {

// A first argument starting with "--" selects the command line; anything else the tray app.
bool isCommandLine(const QStringList& arguments);

// Runs one command (arguments without the program name), printing to `out`; returns the exit
// status, 0 or 1. Every failure prints "Fehler: {description}".
int run(const QStringList& args, QTextStream& out);

} // namespace tramix::CLI
