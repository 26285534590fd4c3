// Files and paths on the clipboard, for pasting into a file manager, a file dialog or a text.
#pragma once

#include <QStringList>

class QMimeData;

namespace tramix::ClipboardActions {

// The files as file objects: "text/uri-list" (file URIs, each line ended by CR LF), GNOME's
// "x-special/gnome-copied-files" (a copy, not a cut) and the paths as plain text. The caller owns
// the result.
QMimeData* fileData(const QStringList& paths);

// Puts `fileData` on the clipboard. Tramix serves it while it owns the clipboard; a clipboard
// manager may take it over.
void copyFiles(const QStringList& paths);

// Puts the paths on the clipboard as plain text, one a line, without a line feed at the end.
void copyPaths(const QStringList& paths);

} // namespace tramix::ClipboardActions
