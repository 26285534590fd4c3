// The shelf's content: a header to hold and move it by (title, count, close button), the parked
// files with picture, name and size, each to be dragged out on its own, and at the foot one
// handle that drags all of them out at once and a button that clears the shelf and closes it.
// Files dropped on it from anywhere are parked. Drawn by hand, so the off-screen rendering and
// the live panel are the same picture.
#pragma once

#include "Design/Theme.h"
#include "ShelfModel.h"

#include <QImage>
#include <QPoint>
#include <QWidget>
#include <functional>
#include <optional>

namespace tramix {

class ThumbnailLoader;

class ShelfView : public QWidget {
    Q_OBJECT
public:
    // One parked file as it is shown.
    struct Row {
        QString path, name, detail;
        bool missing = false;
        bool folder = false;
        QImage thumbnail; // null: the file type's icon instead
    };
    // What can be pressed, and where.
    struct Spot {
        enum Kind { header, close, row, removeRow, dragAll, clear };
        Kind kind;
        int index = 0; // of the row, among all rows
        bool operator==(const Spot&) const = default;
    };
    struct Look {
        std::optional<Spot> hovered;
        std::optional<int> selected;
        bool dropping = false; // files are dragged over the shelf
        int firstRow = 0;      // scrolled this far
    };

    static constexpr int cardWidth = 320;
    static constexpr int visibleRows = 5;
    static constexpr qreal cornerRadius = 12;

    // Room around the card for its shadow, where a compositor blends it.
    static qreal shadowMargin(bool translucent) { return translucent ? 14 : 0; }
    static QSize sizeFor(qsizetype rowCount, qreal margin);
    // Every spot of a shelf with `rowCount` rows scrolled to `firstRow`, first match first.
    static QList<std::pair<Spot, QRectF>> spots(qsizetype rowCount, int firstRow, qreal margin);
    static void paint(QPainter& painter, const QList<Row>& rows, const Theme& theme,
                      const Look& look, qreal margin, bool opaque);
    static QImage render(const QList<Row>& rows, bool dark, double scale = 2);

    // How `item` reads on the shelf, in the interface language.
    static Row rowFor(const ShelfModel::Item& item, const QImage& thumbnail = {});
    // "1,2 MB", "340 KB", "12 Bytes": decimal units, one decimal below ten; German or English.
    static QString sizeText(qint64 bytes, bool german);

    ShelfView(ShelfModel& model, ThumbnailLoader& thumbnails, bool translucent,
              QWidget* parent = nullptr);
    ~ShelfView() override;

    // Escape or the close button: the panel goes, the files stay.
    std::function<void()> onClose;
    // "Clear shelf and close".
    std::function<void()> onClear;
    // A drag out of the shelf ended with `action`, offering `paths`.
    std::function<void(Qt::DropAction action, const QStringList& paths)> onDragged;
    // Files were dropped on the shelf (those already there included).
    std::function<void(const QStringList& paths)> onDropped;

    QSize sizeHint() const override;
    // Where things are, in view coordinates; a null rectangle for a row scrolled out of view.
    QRect rowRect(int index) const;
    QRect spotRect(Spot::Kind kind, int index = 0) const;
    std::optional<int> selected() const;
    void select(std::optional<int> index);
    // Scrolls so that `index` is in view.
    void reveal(int index);

Q_SIGNALS:
    // The number of rows changed the size the view wants.
    void sizeChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void follow();
    QList<Row> rows();
    std::optional<Spot> spotAt(QPointF point) const;
    void setHovered(std::optional<Spot> spot);
    void scrollTo(int firstRow);
    void dragOut(const QStringList& paths);
    QPixmap dragPicture(const QStringList& paths);

    ShelfModel& model_;
    ThumbnailLoader& thumbnails_;
    qreal margin_;
    bool opaque_;
    Look look_;
    QString selectedPath_;
    QSize wanted_;
    // A press, until it is released or becomes a drag or a move of the panel.
    std::optional<Spot> pressed_;
    QPoint pressAt_;
    std::optional<QPoint> movingFrom_; // the pointer's offset in the window while moving it
};

} // namespace tramix
