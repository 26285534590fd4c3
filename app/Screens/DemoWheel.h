// The welcome window's illustration: a formats wheel for a sample photo that opens by itself,
// while a dragged file glides over its segments one after the other, and closes again, in a
// loop. Nothing can be dropped on it.
#pragma once

#include "Drag/WheelGeometry.h"
#include "Drag/WheelModel.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>

namespace tramix {

class DemoWheel : public QWidget {
    Q_OBJECT
public:
    DemoWheel(ModifierKey key, bool german, QWidget* parent = nullptr);

    WheelModel& model() { return *model_; }
    void setKey(ModifierKey key) { model_->setKey(key); }

    // Stops the loop and shows the open wheel with `hovered` under the file (none: the file
    // rests in the centre), as for a still picture.
    void freeze(std::optional<int> hovered);

    // How many segments the file visits in one round.
    static constexpr int visits = 4;
    static constexpr int cycleMs = 900 + visits * 900 + 1300;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void advance();

    std::unique_ptr<WheelModel> model_;
    WheelGeometry geometry_;
    QElapsedTimer clock_;
    QTimer frames_;
    double appearance_ = 0;
    QPointF file_;           // where the dragged file is, in wheel coordinates
    double fileOpacity_ = 0; // 0 hides it
    bool frozen_ = false;
};

} // namespace tramix
