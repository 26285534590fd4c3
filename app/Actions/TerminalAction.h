// Opens the user's terminal in the folder of the dragged files.
#pragma once

#include <QStringList>
#include <optional>

namespace tramix::TerminalAction {

// What would be started: the program found, its arguments and the folder it starts in.
struct Launch {
    QString program;
    QStringList arguments;
    QString folder;
};

// The folder the terminal opens in: the first path if it is a folder, else the folder holding it.
QString folderFor(const QStringList& paths);

// The terminal to start in `folder`: `$TERMINAL` (a program name or path), then
// x-terminal-emulator, then gnome-terminal, konsole, xfce4-terminal and xterm; the first found on
// PATH. Nothing when there is none.
std::optional<Launch> launchIn(const QString& folder);

// Starts the terminal for `paths` on its own, so that it outlives Tramix. Throws
// ConversionError when no terminal is found or it does not start.
void open(const QStringList& paths);

} // namespace tramix::TerminalAction
