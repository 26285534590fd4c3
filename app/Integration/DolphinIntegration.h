// Dolphin (and every KIO file dialog): one service menu per entry, with the MIME types of the
// kinds it fits.
#pragma once

#include "IntegrationFiles.h"
#include "MenuEntries.h"

namespace tramix::DolphinIntegration {

QList<IntegrationFiles::GeneratedFile> files(const IntegrationFiles::Setup& setup,
                                             const std::vector<MenuEntries::MenuEntry>& entries);

void remove(const IntegrationFiles::Setup& setup);

QString folder(const IntegrationFiles::Setup& setup);

} // namespace tramix::DolphinIntegration
