// The status menu's content: header, how to open the wheel, the keys of the three wheels, the
// figures, the recent jobs, the drop area and the footer. Drawn by hand, so the off-screen
// rendering and the live panel are the same picture.
#pragma once

#include "Design/Theme.h"
#include "MenuContent.h"

#include <QImage>
#include <QWidget>
#include <functional>
#include <optional>

namespace tramix {

class AppSettings;
class History;

class MenuView : public QWidget {
    Q_OBJECT
public:
    // What can be clicked, and where.
    struct Target {
        enum Kind { settings, notice, recentJob, dropArea, guide, quit };
        Kind kind;
        int index = 0; // of the recent job
        QRectF rect;
    };
    struct Layout {
        QList<Target> targets;
        qreal height = 0;
    };

    MenuView(AppSettings& settings, History& history, QWidget* parent = nullptr);

    std::function<void()> openSettings;
    std::function<void()> openWelcome;
    std::function<void()> openShelf;
    std::function<void()> openNotice;
    std::function<void(const QStringList& outputs)> openRecent;
    std::function<void()> quit;

    // A desktop where drags cannot be seen says why in the menu; `action` labels the way on.
    void setNotice(const std::optional<QString>& notice,
                   const std::optional<QString>& action = std::nullopt);
    const MenuContent& content() const { return content_; }

    QSize sizeHint() const override;
    // Clicks what sits under `point` (in view coordinates), as the mouse would.
    void activate(QPointF point);

    static constexpr int width = 320;
    static Layout layout(const MenuContent& content);
    // Draws the whole menu; `hovered` is a target index of `layout`.
    static void paint(QPainter& painter, const MenuContent& content, const Theme& theme,
                      std::optional<int> hovered, bool roundedCard);
    static QImage render(const MenuContent& content, bool dark, double scale = 2);

Q_SIGNALS:
    void contentResized();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void refresh();
    std::optional<int> targetAt(QPointF point) const;

    AppSettings& settings_;
    History& history_;
    MenuContent content_;
    Layout layout_;
    std::optional<QString> notice_;
    std::optional<QString> noticeAction_;
    std::optional<int> hovered_;
};

} // namespace tramix
