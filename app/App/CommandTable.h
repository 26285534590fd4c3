// Every command of the command line, in the order --help shows them, and the words their
// arguments complete to.
#pragma once

#include "CommandRow.h"

#include <QStringList>
#include <QStringView>
#include <vector>

namespace tramix::CommandTable {

const std::vector<CommandRow>& rows();

// The row named exactly so (case-sensitive); null for an unknown command.
const CommandRow* find(QStringView name);
const CommandRow& row(CommandId id);

// "--list <convert|tools|actions> <dateien…>": the name and its arguments.
QString usage(const CommandRow& row);
QString usage(CommandId id);

QStringList modeWords();
// What --render-editor draws: the editors, then one wheel per mode.
QStringList editorArts();
// The ids --run can carry out here, each once, in catalogue order; those that need the desktop
// are left out.
QStringList runnableOperationIds();
QStringList words(ArgumentWords kind);
// Whether the first argument completes to file names, besides or instead of words.
bool firstTakesFiles(const CommandRow& row);

} // namespace tramix::CommandTable
