// The pages of one PDF as a grid of thumbnails labelled "S. {n}", drawn only as they scroll
// into view. Pages can be clicked (or chosen with the arrow keys and Space) when the grid is
// choosing pages; otherwise each page shows which file of the split it goes to.
#pragma once

#include "Design/Theme.h"
#include "PDF/PageRanges.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QSet>

namespace tramix {

class PageThumbnails;

class PageGrid : public QAbstractScrollArea {
    Q_OBJECT
public:
    // A page's cell in points: the thumbnail's box and the label under it.
    static constexpr QSize thumbnailBox{108, 140};

    PageGrid(PageThumbnails& thumbnails, QWidget* parent = nullptr);

    void setDocument(const QString& path, qint64 pageCount);
    void setTheme(const Theme& theme);
    // Choosing pages: a click or Space adds or removes the page from `chosen`.
    void setChoosing(bool choosing);
    void setChosen(const QSet<qint64>& pages);
    // The file each page goes to, shown as its number when not choosing.
    void setGroups(const QList<PageRanges::Group>& groups);
    qint64 currentPage() const { return current_; }

Q_SIGNALS:
    void toggled(qint64 page);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    int columns() const;
    QRect cellRect(qint64 page) const; // in viewport coordinates
    qint64 pageAt(QPoint point) const;
    void layoutScrollBar();
    void makeCurrent(qint64 page);

    PageThumbnails& thumbnails_;
    Theme theme_ = Theme::light();
    QString path_;
    qint64 pageCount_ = 0;
    qint64 current_ = 1;
    bool choosing_ = false;
    QSet<qint64> chosen_;
    QHash<qint64, int> groupOf_; // page → file number from 1
};

} // namespace tramix
