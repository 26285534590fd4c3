// The texts that describe the program: --help, --version, and what the man page shares with them.
#pragma once

#include "CommandRow.h"

#include <QString>
#include <utility>
#include <vector>

namespace tramix::HelpText {

// The whole --help text, German, ending with a newline.
QString text();

// "tramix 0.1.0"
QString versionLine();

// What the program does, in a few sentences.
QString description();

// Where the program keeps things: the path as a user writes it, and what it holds.
std::vector<std::pair<QString, QString>> fileNotes();

// "--list und --render-wheel": the commands whose first argument is one of these words.
QString commandsTaking(ArgumentWords words);

} // namespace tramix::HelpText
