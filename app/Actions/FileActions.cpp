#include "FileActions.h"

#include "ClipboardActions.h"
#include "ConversionError.h"
#include "SystemError.h"
#include "TerminalAction.h"
#include "UI/FileReveal.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <sys/stat.h>

namespace tramix::FileActions {

namespace {

DesktopHandlers::Handler checked(DesktopHandlers::Handler handler) {
    return [handler = std::move(handler)](const QStringList& paths) {
        requireExisting(paths);
        handler(paths);
    };
}

} // namespace

void requireExisting(const QStringList& paths) {
    for (const QString& path : paths) {
        struct stat info; // lstat: a link is there even where its target is not
        if (::lstat(QFile::encodeName(path).constData(), &info) == 0)
            continue;
        if (errno == ENOENT || errno == ENOTDIR) {
            throw ConversionError::failed(
                QStringLiteral("„%1“ gibt es nicht mehr.").arg(QFileInfo(path).fileName()));
        }
        SystemError::throwReadFailure(path, errno);
    }
}

DesktopHandlers handlers(const Setup& setup) {
    const MoveAction::Revealer reveal =
        setup.reveal ? setup.reveal : [](const QStringList& paths) { FileReveal::reveal(paths); };
    DesktopHandlers desktop;
    desktop.share =
        checked([choose = setup.chooseDevice, bus = setup.bus](const QStringList& paths) {
            ShareAction::share(paths, choose, bus ? *bus : QDBusConnection::sessionBus());
        });
    desktop.copyFiles = checked(ClipboardActions::copyFiles);
    desktop.move = checked([choose = setup.chooseFolder, reveal](const QStringList& paths) {
        MoveAction::move(paths, choose, reveal);
    });
    desktop.copyPaths = checked(ClipboardActions::copyPaths);
    desktop.openTerminal = checked(TerminalAction::open);
    return desktop;
}

} // namespace tramix::FileActions
