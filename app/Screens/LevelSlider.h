// A horizontal slider in the product's look: a thin track, filled in the accent colour up to a
// round knob. Keys and the mouse work as with any slider.
#pragma once

#include <QSlider>

namespace tramix {

class LevelSlider : public QSlider {
    Q_OBJECT
public:
    explicit LevelSlider(QWidget* parent = nullptr);

    QSize sizeHint() const override { return {200, 24}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    int valueAt(qreal x) const;
    qreal knobCentre() const;
};

} // namespace tramix
