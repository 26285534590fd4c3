// The actions wheel's work on this desktop: share, copy, move, copy paths, open a terminal.
#pragma once

#include "Catalogue/DesktopHandlers.h"
#include "MoveAction.h"
#include "ShareAction.h"

#include <QDBusConnection>
#include <optional>

namespace tramix::FileActions {

// What the actions ask the user and which bus they talk on; tests put in their own.
struct Setup {
    MoveAction::FolderChooser chooseFolder = MoveAction::askForFolder;
    MoveAction::Revealer reveal; // the file manager when empty
    ShareAction::DeviceChooser chooseDevice = ShareAction::askForDevice;
    std::optional<QDBusConnection> bus; // the session bus, reached only when needed, when empty
};

// Throws ConversionError "„{name}“ gibt es nicht mehr." for the first path that is gone: a file
// deleted between drag and drop.
void requireExisting(const QStringList& paths);

// The handlers for share, copyFiles, move, copyPaths and openTerminal. Each first checks that
// every file is still there and does nothing else when one is gone. `shelve` stays empty.
DesktopHandlers handlers(const Setup& setup = {});

} // namespace tramix::FileActions
