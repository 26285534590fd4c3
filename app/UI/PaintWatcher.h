// Tells, once the event loop is back, that a window has been painted: a panel is really on
// screen only then, which is when a caller may move on (nudge the pointer, report it shown).
#pragma once

#include <QEvent>
#include <QObject>
#include <QTimer>
#include <functional>

namespace tramix {

class PaintWatcher : public QObject {
public:
    PaintWatcher(QObject* parent, std::function<void()> painted)
        : QObject(parent)
        , painted_(std::move(painted)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, this, painted_);
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> painted_;
};

} // namespace tramix
