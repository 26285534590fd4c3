// Nautilus: an extension for nautilus-python where it is installed, else scripts in its
// scripts folder (a folder "Tramix" holding the wheels and a folder per kind).
#pragma once

#include "IntegrationFiles.h"
#include "MenuEntries.h"

namespace tramix::NautilusIntegration {

QList<IntegrationFiles::GeneratedFile> files(const IntegrationFiles::Setup& setup,
                                             const std::vector<MenuEntries::MenuEntry>& entries);

// Removes both kinds, so that a change of kind leaves nothing behind.
void remove(const IntegrationFiles::Setup& setup);

QString extensionPath(const IntegrationFiles::Setup& setup);
QString scriptsFolder(const IntegrationFiles::Setup& setup);

} // namespace tramix::NautilusIntegration
