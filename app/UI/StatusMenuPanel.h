// The panel that drops down from the tray icon with the menu in it. It is a popup: a click
// anywhere else or Escape closes it.
#pragma once

#include <QRect>
#include <QWidget>
#include <functional>
#include <optional>

namespace tramix {

class MenuView;

class StatusMenuPanel : public QWidget {
    Q_OBJECT
public:
    // Takes `view` into the panel.
    explicit StatusMenuPanel(MenuView* view);

    MenuView& view() { return *view_; }

    // Opens under (or, for a tray at the bottom, above) `anchor`, the tray icon's area.
    void showFrom(const QRect& anchor);
    bool isOpen() const { return isVisible(); }

    // Told when the panel has closed, however it closed.
    std::function<void()> onClosed;
    // Told of the press outside the panel that closes it, with its place on the screen.
    std::function<void(QPoint)> onOutsidePress;

    // The panel's top-left corner for a panel of `size` by the icon at `anchor`, kept `margin`
    // inside `available` horizontally.
    static QPoint origin(const QRect& anchor, QSize size, const QRect& available);
    static constexpr int margin = 6;
    static constexpr int gap = 5;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void place();

    MenuView* view_;
    QRect anchor_;
};

} // namespace tramix
