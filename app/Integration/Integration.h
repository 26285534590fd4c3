// Installs and removes Tramix's entries in the context menus of Nautilus, Dolphin, Nemo and
// Thunar, in the user's own folders only.
#pragma once

#include "IntegrationFiles.h"

#include <QStringList>

namespace tramix::Integration {

// Writes all four, replacing Tramix's earlier files. Throws ConversionError before changing
// anything when a file in the way is not Tramix's. Returns one German line per file manager.
QStringList install(const IntegrationFiles::Setup& setup);

// Removes what install wrote, leaving the user's own files alone. Returns one line per file
// manager.
QStringList remove(const IntegrationFiles::Setup& setup);

} // namespace tramix::Integration
