// A row of choices of which one is chosen, drawn as one pill. The arrow keys move the focus
// between the choices; Space or Return chooses the focused one. Where a choice has nothing to
// undo, the choice may follow the focus as with radio buttons.
#pragma once

#include <QStringList>
#include <QWidget>
#include <optional>

namespace tramix {

class SegmentedControl : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedControl(const QStringList& options, QWidget* parent = nullptr);

    const QStringList& options() const { return options_; }
    std::optional<int> current() const { return current_; }
    // Shows `index` as chosen without telling anyone; none shows no choice.
    void setCurrent(std::optional<int> index);
    // The choice that Space would make now.
    int focusIndex() const { return focus_; }

    // Arrow keys choose at once instead of only moving the focus.
    void setSelectionFollowsFocus(bool follows) { followsFocus_ = follows; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    // The user chose `index` (a click, Space or Return); also when it was chosen already.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QRectF segment(int index) const;
    std::optional<int> indexAt(QPointF point) const;
    void choose(int index);
    void moveFocus(int index);
    void describe();

    QStringList options_;
    std::optional<int> current_;
    int focus_ = 0;
    std::optional<int> hovered_;
    bool followsFocus_ = false;
};

} // namespace tramix
