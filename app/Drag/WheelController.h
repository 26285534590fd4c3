// Puts the wheel on screen in a floating panel centred on the pointer, keeps it on top while
// files are dragged into it, and hands a drop on a segment to its owner. A wheel opened for files
// named outside a drag hands over a clicked segment the same way.
#pragma once

#include "WheelGeometry.h"
#include "WheelModel.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

class FloatingPanel;
class WheelDropView;
class WheelView;

class WheelController : public QObject {
    Q_OBJECT
public:
    explicit WheelController(QObject* parent = nullptr);
    ~WheelController() override;

    WheelModel& model() { return model_; }
    const WheelGeometry& geometry() const { return geometry_; }

    std::function<void(const FileOperation&, const QStringList& paths, QPoint at)> onDrop;
    std::function<void(const QString&)> log;
    // Told once per opening, when the wheel is first painted on screen.
    std::function<void()> onShown;

    // Builds the panel ahead of its first use, so the first opening is as quick as the others.
    // Does nothing without a widget application.
    void prepare();

    void show(WheelMode mode, ModifierKey key, const QList<FileOperation>& operations,
              const QStringList& paths, bool toggle);
    // Opens the wheel for files named outside a drag (the file manager's menu, the command
    // line), worked by pointer and keys: centred on `pointer`, or on the primary screen where the
    // pointer's position is not known. It holds pointer and keyboard until a segment is chosen or
    // it is dismissed, as a menu does.
    void showForFiles(WheelMode mode, ModifierKey key, const QList<FileOperation>& operations,
                      const QStringList& paths, std::optional<QPoint> pointer);
    void hide(double afterSeconds);

    // Whether the panel is on screen with the wheel up.
    bool isUp() const;
    QRect panelGeometry() const;

    // Where the panel goes for a pointer at `pointer`: centred on it, clamped into `available`
    // (the usable area of the pointer's screen) when there is one.
    static QPoint panelOrigin(QPoint pointer, int size, const std::optional<QRect>& available);

    static constexpr int hideDelayMs = 160;
    // Another client (the menu that asked for the wheel) may hold the pointer a moment longer.
    static constexpr int grabTries = 20;
    static constexpr int grabRetryMs = 25;

private:
    void ensurePanel();
    void open(WheelMode mode, ModifierKey key, const QList<FileOperation>& operations,
              const QStringList& paths, QPoint pointer);
    void place(QPoint pointer);
    void holdInput(int triesLeft);
    void releaseInput();
    void nudgePointer();
    void write(const QString& message) const;

    WheelModel model_;
    WheelGeometry geometry_;
    std::unique_ptr<FloatingPanel> panel_;
    WheelView* view_ = nullptr;
    WheelDropView* dropView_ = nullptr;
    std::shared_ptr<void> copyAnswer_;
    QTimer hideWork_;
    QTimer hideTimer_;
    bool awaitingFirstPaint_ = false;
    // The files of a wheel opened by showForFiles; empty for one opened during a drag.
    QStringList clickPaths_;
};

} // namespace tramix
