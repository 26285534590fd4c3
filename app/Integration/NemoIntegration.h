// Nemo: one action file per entry, shown for the MIME types of the kinds it fits.
#pragma once

#include "IntegrationFiles.h"
#include "MenuEntries.h"

namespace tramix::NemoIntegration {

QList<IntegrationFiles::GeneratedFile> files(const IntegrationFiles::Setup& setup,
                                             const std::vector<MenuEntries::MenuEntry>& entries);

void remove(const IntegrationFiles::Setup& setup);

QString folder(const IntegrationFiles::Setup& setup);

} // namespace tramix::NemoIntegration
