// A push button in the product's look: the accent colour for the one main action of a window,
// a quiet fill for the others. Keys, focus and default-button handling are QPushButton's.
#pragma once

#include <QPushButton>

namespace tramix {

class ActionButton : public QPushButton {
    Q_OBJECT
public:
    enum class Kind { primary, secondary };

    ActionButton(const QString& text, Kind kind, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    Kind kind_;
    bool hovered_ = false;
};

} // namespace tramix
