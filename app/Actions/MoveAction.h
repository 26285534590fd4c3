// Moves the dragged files into a folder the user picks, then shows them there.
#pragma once

#include <QStringList>
#include <functional>
#include <optional>

namespace tramix::MoveAction {

// Asks for the folder to move `paths` into; nothing when the user cancels.
using FolderChooser = std::function<std::optional<QString>(const QStringList& paths)>;
// Shows the moved files in the file manager.
using Revealer = std::function<void(const QStringList& paths)>;

// "„{name}“ bewegen nach …" for one file, "{count} Objekte bewegen nach …" for several.
QString chooserTitle(const QStringList& paths);

// The desktop's folder chooser (through the platform theme or the portal where there is one):
// folders only, new folders allowed, starting beside the first file.
std::optional<QString> askForFolder(const QStringList& paths);

struct Outcome {
    QStringList moved;  // where the files are now, in order
    QStringList errors; // a sentence for each file that stayed
};

// Moves each file under its own name (see FileMove::into); one failure does not stop the rest.
Outcome moveAll(const QStringList& paths, const QString& folder);

// Asks for the folder, moves, shows the first error in a modal message and reveals what moved.
// Cancelling moves nothing and reveals nothing.
void move(const QStringList& paths, const FolderChooser& choose, const Revealer& reveal);

} // namespace tramix::MoveAction
