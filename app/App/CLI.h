// The command line: lists the operations that fit some files, runs one, renders artwork (which
// the desktop library draws).
#pragma once

#include <QStringList>
#include <QTextStream>

namespace tramix::CLI {

// A first argument starting with "--" selects the command line; anything else the tray app.
bool isCommandLine(const QStringList& arguments);

// Relative arguments taken from the current folder; nothing is checked for existence.
QStringList filePaths(const QStringList& args);

// Runs one command (arguments without the program name), printing to `out`; returns the exit
// status, 0 or 1. Every failure prints "Fehler: {description}".
int run(const QStringList& args, QTextStream& out);

} // namespace tramix::CLI
