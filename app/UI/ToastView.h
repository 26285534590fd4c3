// The toast card: a status mark, a semibold title and a quieter line beneath it; a running job's
// card ends in a button that stops it.
#pragma once

#include "Design/Theme.h"
#include "ToastModel.h"

#include <QImage>
#include <QTimer>
#include <QWidget>
#include <functional>

namespace tramix {

class ToastView : public QWidget {
    Q_OBJECT
public:
    explicit ToastView(ToastModel& model, QWidget* parent = nullptr);

    // Told with the outputs when a done toast is clicked.
    std::function<void(const QStringList&)> onOpen;
    // Told when the cancel button of a working card is clicked.
    std::function<void()> onCancel;

    // Where the cancel button sits on a card of `size`.
    static QRectF cancelBox(QSize size);

    // The card's size for `state`: wide enough for its texts, within bounds.
    static QSize fittingSize(const ToastModel::State& state);
    static constexpr int minimumWidth = 288;
    static constexpr int maximumWidth = 420;
    static constexpr int height = 64;
    static constexpr qreal cornerRadius = 14;

    // Draws the card for `state` filling `size`; `turn` is the spinner's phase.
    static void paint(QPainter& painter, QSize size, const ToastModel::State& state,
                      const Theme& theme, double turn);
    // The card drawn off screen at `scale` device pixels per point.
    static QImage render(const ToastModel::State& state, bool dark, double scale = 2);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void follow();

    ToastModel& model_;
    QTimer spin_;
    double turn_ = 0;
};

} // namespace tramix
