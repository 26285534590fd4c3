#include "WindowPlace.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace tramix::WindowPlace {

namespace {

void centre(QWidget* window) {
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    QRect frame(QPoint(0, 0), window->sizeHint().expandedTo(window->size()));
    frame.moveCenter(screen->availableGeometry().center());
    window->move(frame.topLeft());
}

} // namespace

void present(QWidget* window, const QByteArray& saved) {
    if (!window->isVisible()) {
        const bool restored = !saved.isEmpty() && window->restoreGeometry(saved) &&
                              QGuiApplication::screenAt(window->geometry().center());
        if (!restored)
            centre(window);
    }
    window->show();
    window->setWindowState((window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    window->raise();
    window->activateWindow();
}

} // namespace tramix::WindowPlace
