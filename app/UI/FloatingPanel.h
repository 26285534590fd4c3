// The borderless surface every floating part of the app uses: it stays above other windows,
// never takes the keyboard focus from the app the user works in when it appears, and is blended
// where a compositor runs or cut to a shape where none does.
#pragma once

#include <QRegion>
#include <QWidget>
#include <optional>

namespace tramix {

class FloatingPanel : public QWidget {
    Q_OBJECT
public:
    // A `passing` panel (wheel, toast) is up for a moment and passes the window manager by; a
    // `lasting` one (the shelf) stays up while the user works elsewhere: the window manager keeps
    // it above other windows, and a click on it may give it the keyboard.
    enum class Lifetime { passing, lasting };

    explicit FloatingPanel(QSize size, QWidget* parent = nullptr,
                           Lifetime lifetime = Lifetime::passing);

    // Whether clear parts are blended; otherwise they must be cut away with `setShape`.
    bool translucent() const { return translucent_; }
    void setShape(const QRegion& region);

    // Shows the panel at `origin` and raises it: without a window manager nothing else keeps it
    // on top.
    void showAt(QPoint origin);

    // The free area of the screen under `point` (the primary screen where none is); none without
    // a screen.
    static std::optional<QRect> availableAt(QPoint point);
    // The top-left corner of a panel of `size` centred on `near`, moved inside `available` where
    // it would stick out (to its top-left where it is larger).
    static QPoint originCentredOn(QPoint near, QSize size, const std::optional<QRect>& available);

private:
    bool translucent_ = false;
};

} // namespace tramix
