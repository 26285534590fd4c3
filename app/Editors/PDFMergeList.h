// The merge tab's list: one row per PDF with its first page, name, page count and page-range
// field, the range parser's sentence under a wrong text. Rows move by dragging or with Alt+↑ /
// Alt+↓ in their field (↑ and ↓ alone go to the neighbouring row); PDFs dropped on the list are
// added where they land.
#pragma once

#include "Design/Theme.h"
#include "PDFMergeModel.h"

#include <QHash>
#include <QScrollArea>

class QVBoxLayout;

namespace tramix {

class PageThumbnails;
class MergeRow;

class PDFMergeList : public QScrollArea {
    Q_OBJECT
public:
    static constexpr QSize thumbnailBox{34, 46};

    PDFMergeList(PDFMergeModel& model, PageThumbnails& thumbnails, QWidget* parent = nullptr);

    void setTheme(const Theme& theme);
    // Puts the keyboard into the range field of row `row`.
    void focusRow(int row);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void sync();
    int rowOf(quint64 id) const;
    // Where a drop at `y` (in this widget) goes, as a row position before which it lands.
    int insertionAt(int y) const;
    void showInsertion(int at);

    PDFMergeModel& model_;
    PageThumbnails& thumbnails_;
    Theme theme_ = Theme::light();
    QWidget* content_;
    QVBoxLayout* rows_;
    QWidget* marker_;
    QHash<quint64, MergeRow*> widgets_;
};

} // namespace tramix
