// Shows the one toast just below a point, keeps it inside the screen, replaces it in place and
// hides it again after a while; a working toast stays until the job's result replaces it.
#pragma once

#include "ToastModel.h"

#include <QObject>
#include <QPoint>
#include <QPropertyAnimation>
#include <QRect>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

class FloatingPanel;
class ToastView;

class ToastController : public QObject {
    Q_OBJECT
public:
    explicit ToastController(QObject* parent = nullptr);
    ~ToastController() override;

    ToastModel& model() { return model_; }

    // Told with the outputs of a clicked done toast; reveals them in the file manager unless
    // replaced. The toast hides afterwards.
    std::function<void(const QStringList&)> onOpen;
    // Told when the user asks to stop the job a working toast shows.
    std::function<void()> onCancel;

    void show(const ToastModel::State& state, QPoint near);
    void hide();

    // Whether the panel is on screen, and where.
    bool isShown() const;
    QRect panelGeometry() const;
    // What a click on the card does.
    void click();
    // The cancel button of a working toast on screen; empty when there is none.
    QRect cancelGeometry() const;

    // The panel's top-left corner for a card of `size` below `pointer`, kept `margin` inside
    // `available` (the usable area of the pointer's screen) when there is one.
    static QPoint origin(QPoint pointer, QSize size, const std::optional<QRect>& available);
    // How long a state stays before it hides by itself; none for a working toast.
    static std::optional<int> hideDelayMs(ToastModel::State::Kind kind);

    static constexpr int gap = 24;
    static constexpr int margin = 8;
    static constexpr int doneMs = 2600;
    static constexpr int failedMs = 5000;
    static constexpr int hideMs = 200;

private:
    void ensurePanel();

    ToastModel model_;
    std::unique_ptr<FloatingPanel> panel_;
    ToastView* view_ = nullptr;
    QTimer hideWork_;
    QTimer hideTimer_;
    QPropertyAnimation fade_; // only where a compositor blends the panel
};

} // namespace tramix
