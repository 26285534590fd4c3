// Thunar: custom actions merged into the user's uca.xml beside their own ones. Tramix's actions
// are known by their unique id, which Thunar keeps when it saves the file.
#pragma once

#include "IntegrationFiles.h"
#include "MenuEntries.h"

namespace tramix::ThunarIntegration {

// Adds Tramix's actions (replacing earlier ones of Tramix), backing the file up to
// uca.xml.bak-tramix before the first change. Throws ConversionError, changing nothing, when the
// file is not readable XML of actions.
void install(const IntegrationFiles::Setup& setup,
             const std::vector<MenuEntries::MenuEntry>& entries);

// Takes Tramix's actions out. When the user's own actions are as they were at the first change,
// the backup is put back byte for byte; a file Tramix made with nothing else in it goes.
void remove(const IntegrationFiles::Setup& setup);

// Throws like install when the file is there but cannot be merged.
void check(const IntegrationFiles::Setup& setup);

QString actionsPath(const IntegrationFiles::Setup& setup);
QString backupPath(const IntegrationFiles::Setup& setup);

} // namespace tramix::ThunarIntegration
