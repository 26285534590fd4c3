// An on/off switch: a pill whose knob slides to the right when on. Space and a click flip it.
#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace tramix {

class ToggleSwitch : public QAbstractButton {
    Q_OBJECT
public:
    explicit ToggleSwitch(QWidget* parent = nullptr);

    QSize sizeHint() const override { return {40, 24}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void checkStateSet() override;
    void nextCheckState() override;

private:
    void slide(double from);

    double position_ = 0; // of the knob, 0 (off) to 1 (on)
    QVariantAnimation animation_;
};

} // namespace tramix
