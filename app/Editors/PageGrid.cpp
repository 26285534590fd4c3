#include "PageGrid.h"

#include "PageThumbnails.h"
#include "Settings/UILanguage.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>

namespace tramix {

namespace {

constexpr int labelHeight = 22;
constexpr int spacing = 14;
constexpr int margin = 12;
constexpr QSize cellSize{PageGrid::thumbnailBox.width(),
                         PageGrid::thumbnailBox.height() + labelHeight};

} // namespace

PageGrid::PageGrid(PageThumbnails& thumbnails, QWidget* parent)
    : QAbstractScrollArea(parent)
    , thumbnails_(thumbnails) {
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    verticalScrollBar()->setSingleStep(cellSize.height() / 3);
    connect(&thumbnails_, &PageThumbnails::ready, viewport(), [this](const QString& path, int) {
        if (path == path_)
            viewport()->update();
    });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, viewport(),
            qOverload<>(&QWidget::update));
    setAccessibleName(UILanguage::text(QStringLiteral("Seiten"), QStringLiteral("Pages")));
}

void PageGrid::setDocument(const QString& path, qint64 pageCount) {
    path_ = path;
    pageCount_ = pageCount;
    current_ = 1;
    layoutScrollBar();
    viewport()->update();
}

void PageGrid::setTheme(const Theme& theme) {
    theme_ = theme;
    viewport()->update();
}

void PageGrid::setChoosing(bool choosing) {
    choosing_ = choosing;
    viewport()->setCursor(choosing ? Qt::PointingHandCursor : Qt::ArrowCursor);
    viewport()->update();
}

void PageGrid::setChosen(const QSet<qint64>& pages) {
    chosen_ = pages;
    viewport()->update();
}

void PageGrid::setGroups(const QList<PageRanges::Group>& groups) {
    groupOf_.clear();
    for (int i = 0; i < groups.size(); ++i) {
        for (qint64 page : groups[i]) {
            if (!groupOf_.contains(page))
                groupOf_.insert(page, i + 1);
        }
    }
    viewport()->update();
}

int PageGrid::columns() const {
    return std::max(1, (viewport()->width() - 2 * margin + spacing) / (cellSize.width() + spacing));
}

QRect PageGrid::cellRect(qint64 page) const {
    const int columnCount = columns();
    // Spread the spare width evenly, so the grid sits centred.
    const int used = columnCount * cellSize.width() + (columnCount - 1) * spacing;
    const int left = std::max(margin, (viewport()->width() - used) / 2);
    const int index = int(page - 1);
    return QRect(QPoint(left + index % columnCount * (cellSize.width() + spacing),
                        margin + index / columnCount * (cellSize.height() + spacing) -
                            verticalScrollBar()->value()),
                 cellSize);
}

qint64 PageGrid::pageAt(QPoint point) const {
    for (qint64 page = 1; page <= pageCount_; ++page) {
        const QRect cell = cellRect(page);
        if (cell.top() > point.y())
            break;
        if (cell.contains(point))
            return page;
    }
    return 0;
}

void PageGrid::layoutScrollBar() {
    const qint64 rows = (pageCount_ + columns() - 1) / columns();
    const int height =
        int(2 * margin + rows * cellSize.height() + std::max<qint64>(rows - 1, 0) * spacing);
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, std::max(0, height - viewport()->height()));
}

void PageGrid::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    layoutScrollBar();
}

void PageGrid::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QString prefix = UILanguage::text(PageRanges::germanPrefix, PageRanges::englishPrefix);
    const bool anyGroups = !groupOf_.isEmpty();
    for (qint64 page = 1; page <= pageCount_; ++page) {
        const QRect cell = cellRect(page);
        if (cell.bottom() < 0)
            continue;
        if (cell.top() > viewport()->height())
            break;
        const QRectF box(cell.topLeft(), thumbnailBox);
        QImage image = thumbnails_.thumbnail(path_, int(page));
        QRectF paper;
        if (image.isNull()) {
            // A sheet of A4 proportions stands in until the page is drawn.
            const QSizeF sheet = QSizeF(210, 297).scaled(box.size(), Qt::KeepAspectRatio);
            paper = QRectF(box.center() - QPointF(sheet.width(), sheet.height()) / 2, sheet);
            painter.fillRect(paper, theme_.dark ? QColor(255, 255, 255, 18) : QColor(0, 0, 0, 10));
        } else {
            // Drawn for the screen's pixel ratio, shown at the box's size in points.
            const QSizeF shown = QSizeF(image.size()).scaled(box.size(), Qt::KeepAspectRatio);
            paper = QRectF(box.center() - QPointF(shown.width(), shown.height()) / 2, shown);
            const bool included = choosing_ ? true : !anyGroups || groupOf_.contains(page);
            painter.setOpacity(included ? 1 : 0.35);
            painter.drawImage(paper, image);
            painter.setOpacity(1);
        }
        const bool chosen = choosing_ && chosen_.contains(page);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(chosen ? theme_.accent : theme_.cardEdge, chosen ? 3 : 1));
        painter.drawRoundedRect(paper.adjusted(-0.5, -0.5, 0.5, 0.5), 2, 2);
        if (hasFocus() && page == current_) {
            QColor ring = theme_.accent;
            ring.setAlpha(140);
            painter.setPen(QPen(ring, 2, Qt::DashLine));
            painter.drawRoundedRect(paper.adjusted(-5, -5, 5, 5), 5, 5);
        }
        if (chosen) {
            const QRectF badge(paper.right() - 24, paper.top() + 6, 18, 18);
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme_.accent);
            painter.drawEllipse(badge);
            QPainterPath tick;
            tick.moveTo(badge.left() + 5, badge.center().y());
            tick.lineTo(badge.left() + 8, badge.bottom() - 5);
            tick.lineTo(badge.right() - 4.5, badge.top() + 5.5);
            painter.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.setBrush(Qt::NoBrush);
            painter.drawPath(tick);
        } else if (!choosing_ && groupOf_.contains(page)) {
            // Which file of the split the page goes to.
            const QString number = QString::number(groupOf_.value(page));
            QFont font = painter.font();
            font.setPointSizeF(7.5);
            font.setWeight(QFont::DemiBold);
            painter.setFont(font);
            const qreal width = std::max(18.0, QFontMetricsF(font).horizontalAdvance(number) + 10);
            const QRectF badge(paper.right() - width - 5, paper.top() + 5, width, 16);
            QColor fill = theme_.accent;
            fill.setAlpha(groupOf_.value(page) % 2 ? 230 : 150);
            painter.setPen(Qt::NoPen);
            painter.setBrush(fill);
            painter.drawRoundedRect(badge, 8, 8);
            painter.setPen(Qt::white);
            painter.drawText(badge, Qt::AlignCenter, number);
        }
        QFont font = this->font();
        font.setPointSizeF(8.5);
        font.setWeight(chosen ? QFont::DemiBold : QFont::Normal);
        painter.setFont(font);
        painter.setPen(chosen ? theme_.accent : theme_.secondaryText);
        painter.drawText(QRectF(cell.left(), box.bottom() + 2, cell.width(), labelHeight - 2),
                         Qt::AlignHCenter | Qt::AlignTop, prefix + QString::number(page));
    }
}

void PageGrid::makeCurrent(qint64 page) {
    if (pageCount_ < 1)
        return;
    current_ = std::clamp<qint64>(page, 1, pageCount_);
    const QRect cell = cellRect(current_);
    QScrollBar* bar = verticalScrollBar();
    if (cell.top() < margin)
        bar->setValue(bar->value() + cell.top() - margin);
    else if (cell.bottom() > viewport()->height() - margin)
        bar->setValue(bar->value() + cell.bottom() - viewport()->height() + margin);
    viewport()->update();
}

void PageGrid::mousePressEvent(QMouseEvent* event) {
    const qint64 page = pageAt(event->position().toPoint());
    if (page < 1 || event->button() != Qt::LeftButton)
        return QAbstractScrollArea::mousePressEvent(event);
    makeCurrent(page);
    if (choosing_)
        Q_EMIT toggled(page);
}

void PageGrid::keyPressEvent(QKeyEvent* event) {
    const int columnCount = columns();
    const int rowsShown = std::max(1, viewport()->height() / (cellSize.height() + spacing));
    switch (event->key()) {
    case Qt::Key_Left:
        return makeCurrent(current_ - 1);
    case Qt::Key_Right:
        return makeCurrent(current_ + 1);
    case Qt::Key_Up:
        return makeCurrent(current_ - columnCount);
    case Qt::Key_Down:
        return makeCurrent(current_ + columnCount);
    case Qt::Key_PageUp:
        return makeCurrent(current_ - columnCount * rowsShown);
    case Qt::Key_PageDown:
        return makeCurrent(current_ + columnCount * rowsShown);
    case Qt::Key_Home:
        return makeCurrent(1);
    case Qt::Key_End:
        return makeCurrent(pageCount_);
    case Qt::Key_Space:
        if (choosing_ && pageCount_ > 0)
            Q_EMIT toggled(current_);
        return;
    default:
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void PageGrid::focusInEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void PageGrid::focusOutEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

} // namespace tramix
