// The work that only a running desktop session can do with files: the clipboard, windows, a
// terminal. The tray app fills in what it has; the command line has none.
#pragma once

#include <QStringList>
#include <functional>

namespace tramix {

struct DesktopHandlers {
    // Runs on the interface thread; throws ConversionError to report what went wrong.
    using Handler = std::function<void(const QStringList& paths)>;

    Handler share;
    Handler shelve;
    Handler copyFiles;
    Handler move;
    Handler copyPaths;
    Handler openTerminal;
};

} // namespace tramix
