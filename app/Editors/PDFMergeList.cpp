#include "PDFMergeList.h"

#include "EditorChrome.h"
#include "PageThumbnails.h"
#include "Settings/UILanguage.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QUrl>
#include <QVBoxLayout>

namespace tramix {

namespace {

const QString rowMime = QStringLiteral("application/x-tramix-merge-row");
constexpr int rowSpacing = 6;

QString text(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

void repolish(QWidget* widget, const char* role) {
    if (widget->property("role").toString() == QLatin1String(role))
        return;
    widget->setProperty("role", QString::fromLatin1(role));
    widget->style()->unpolish(widget);
    widget->style()->polish(widget);
}

QStringList droppedPaths(const QMimeData* mime) {
    QStringList paths;
    for (const QUrl& url : mime->urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}

// Six dots: the place to take a row by.
class Grip : public QWidget {
public:
    explicit Grip(QWidget* parent)
        : QWidget(parent) {
        setFixedSize(14, 24);
        setCursor(Qt::OpenHandCursor);
    }
    QColor colour;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 2; ++column)
                painter.drawEllipse(QPointF(4 + 6 * column, 6 + 6 * row), 1.6, 1.6);
        }
    }
};

// The first page, or a blank sheet until it is drawn.
class Thumbnail : public QWidget {
public:
    explicit Thumbnail(QWidget* parent)
        : QWidget(parent) {
        setFixedSize(PDFMergeList::thumbnailBox);
    }
    QImage image;
    Theme theme = Theme::light();

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        QRectF paper;
        if (image.isNull()) {
            const QSizeF sheet = QSizeF(210, 297).scaled(size(), Qt::KeepAspectRatio);
            paper = QRectF(QPointF((width() - sheet.width()) / 2, (height() - sheet.height()) / 2),
                           sheet);
            painter.fillRect(paper, theme.dark ? QColor(255, 255, 255, 20) : QColor(0, 0, 0, 10));
        } else {
            const QSizeF fitted = QSizeF(image.size()).scaled(size(), Qt::KeepAspectRatio);
            paper = QRectF(
                QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
            painter.drawImage(paper, image);
        }
        painter.setPen(QPen(theme.cardEdge, 1));
        painter.drawRect(paper.adjusted(0.5, 0.5, -0.5, -0.5));
    }
};

} // namespace

// One PDF of the list. Taken by anything but its field and button, it drags.
class MergeRow : public QWidget {
public:
    MergeRow(quint64 id, QWidget* parent)
        : QWidget(parent)
        , id(id)
        , grip(new Grip(this))
        , thumbnail(new Thumbnail(this))
        , name(new QLabel(this))
        , pages(new QLabel(this))
        , ranges(new QLineEdit(this))
        , error(new QLabel(this))
        , remove(new QPushButton(this)) {
        setProperty("role", QStringLiteral("panel"));
        setAttribute(Qt::WA_StyledBackground);
        name->setProperty("role", QStringLiteral("title"));
        pages->setProperty("role", QStringLiteral("secondary"));
        error->setProperty("role", QStringLiteral("error"));
        error->setWordWrap(true);
        error->hide();
        ranges->setPlaceholderText(text("Alle Seiten, z. B. 1-3, 5", "All pages, e.g. 1-3, 5"));
        ranges->setClearButtonEnabled(true);
        ranges->setAcceptDrops(false); // files dropped on it join the list
        ranges->setFixedWidth(210);
        remove->setProperty("role", QStringLiteral("symbol"));
        remove->setText(QStringLiteral("✕"));
        remove->setFocusPolicy(Qt::NoFocus);
        remove->setToolTip(
            text("Aus der Liste nehmen (Strg+Entf)", "Remove from the list (Ctrl+Del)"));
        remove->setAccessibleName(remove->toolTip());
        auto* titles = new QVBoxLayout;
        titles->setSpacing(1);
        titles->addWidget(name);
        titles->addWidget(pages);
        auto* field = new QVBoxLayout;
        field->setSpacing(3);
        field->addWidget(ranges);
        field->addWidget(error);
        auto* layout = new QHBoxLayout(this);
        layout->setContentsMargins(8, 7, 8, 7);
        layout->setSpacing(10);
        layout->addWidget(grip);
        layout->addWidget(thumbnail);
        layout->addLayout(titles, 1);
        layout->addLayout(field);
        layout->addWidget(remove, 0, Qt::AlignTop);
    }

    const quint64 id;
    Grip* grip;
    Thumbnail* thumbnail;
    QLabel* name;
    QLabel* pages;
    QLineEdit* ranges;
    QLabel* error;
    QPushButton* remove;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) {
            pressedAt_ = event->position().toPoint();
            pressedAtX_ = pressedAt_->x();
        }
        QWidget::mousePressEvent(event);
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (!(event->buttons() & Qt::LeftButton) || !pressedAt_ ||
            (event->position().toPoint() - *pressedAt_).manhattanLength() <
                QApplication::startDragDistance())
            return QWidget::mouseMoveEvent(event);
        pressedAt_.reset();
        auto* drag = new QDrag(this);
        auto* mime = new QMimeData;
        mime->setData(rowMime, QByteArray::number(id));
        drag->setMimeData(mime);
        drag->setPixmap(grab().scaledToWidth(std::min(width(), 360), Qt::SmoothTransformation));
        drag->setHotSpot(QPoint(std::min(pressedAtX_, 359), 16));
        drag->exec(Qt::MoveAction);
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        pressedAt_.reset();
        QWidget::mouseReleaseEvent(event);
    }

private:
    std::optional<QPoint> pressedAt_;
    int pressedAtX_ = 16;
};

PDFMergeList::PDFMergeList(PDFMergeModel& model, PageThumbnails& thumbnails, QWidget* parent)
    : QScrollArea(parent)
    , model_(model)
    , thumbnails_(thumbnails)
    , content_(new QWidget)
    , rows_(new QVBoxLayout(content_))
    , marker_(new QWidget(content_)) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAcceptDrops(true);
    // The window's colour shows between the rows.
    setObjectName(QStringLiteral("mergeList"));
    viewport()->setObjectName(QStringLiteral("mergeViewport"));
    content_->setObjectName(QStringLiteral("mergeRows"));
    setStyleSheet(QStringLiteral("#mergeList, #mergeViewport, #mergeRows { background: "
                                 "transparent; }"));
    rows_->setContentsMargins(0, 0, 6, 0);
    rows_->setSpacing(rowSpacing);
    rows_->addStretch(1);
    setWidget(content_);
    marker_->setFixedHeight(3);
    marker_->hide();
    connect(&model_, &PDFMergeModel::changed, this, &PDFMergeList::sync);
    connect(&thumbnails_, &PageThumbnails::ready, this, [this](const QString& path, int page) {
        if (page == 1)
            for (MergeRow* row : std::as_const(widgets_)) {
                const int at = rowOf(row->id);
                if (at >= 0 && model_.rows()[at].path == path) {
                    row->thumbnail->image = thumbnails_.thumbnail(path, 1);
                    row->thumbnail->update();
                }
            }
    });
    sync();
}

void PDFMergeList::setTheme(const Theme& theme) {
    theme_ = theme;
    marker_->setStyleSheet(
        QStringLiteral("background: %1; border-radius: 1px;").arg(theme.accent.name()));
    for (MergeRow* row : std::as_const(widgets_)) {
        row->grip->colour = theme.secondaryText;
        row->thumbnail->theme = theme;
        row->update();
    }
}

int PDFMergeList::rowOf(quint64 id) const {
    const QList<PDFMergeModel::Row>& rows = model_.rows();
    for (int i = 0; i < rows.size(); ++i) {
        if (rows[i].id == id)
            return i;
    }
    return -1;
}

void PDFMergeList::focusRow(int row) {
    if (row < 0 || row >= model_.rows().size())
        return;
    MergeRow* widget = widgets_.value(model_.rows()[row].id);
    widget->ranges->setFocus(Qt::TabFocusReason);
    ensureWidgetVisible(widget, 0, 8);
}

// Row widgets live as long as their row, so a row keeps its field's focus and text as it moves.
void PDFMergeList::sync() {
    const QList<PDFMergeModel::Row>& rows = model_.rows();
    QSet<quint64> alive;
    for (const PDFMergeModel::Row& row : rows)
        alive.insert(row.id);
    for (auto it = widgets_.begin(); it != widgets_.end();) {
        if (alive.contains(it.key())) {
            ++it;
            continue;
        }
        it.value()->deleteLater();
        it = widgets_.erase(it);
    }
    for (int i = 0; i < rows.size(); ++i) {
        const PDFMergeModel::Row& row = rows[i];
        MergeRow* widget = widgets_.value(row.id);
        if (!widget) {
            widget = new MergeRow(row.id, content_);
            widget->grip->colour = theme_.secondaryText;
            widget->thumbnail->theme = theme_;
            widget->ranges->installEventFilter(this);
            widget->ranges->setProperty("row", row.id);
            const quint64 id = row.id;
            connect(widget->ranges, &QLineEdit::textEdited, this,
                    [this, id](const QString& text) { model_.setRanges(rowOf(id), text); });
            connect(widget->remove, &QPushButton::clicked, this,
                    [this, id] { model_.remove(rowOf(id)); });
            widgets_.insert(row.id, widget);
        }
        if (rows_->indexOf(widget) != i) {
            rows_->removeWidget(widget);
            rows_->insertWidget(i, widget);
        }
        const QString name = QFileInfo(row.path).fileName();
        widget->name->setText(name);
        widget->name->setToolTip(row.path);
        widget->ranges->setAccessibleName(text("Seiten aus „%1“", "Pages of “%1”").arg(name));
        if (widget->ranges->text() != row.ranges)
            widget->ranges->setText(row.ranges);
        widget->ranges->setReadOnly(model_.saving());
        widget->remove->setEnabled(!model_.saving());
        if (row.failure) {
            widget->pages->setText(*row.failure);
            repolish(widget->pages, "error");
        } else {
            repolish(widget->pages, "secondary");
            if (!row.pageCount) {
                widget->pages->setText(text("Wird gelesen …", "Reading …"));
            } else {
                const qint64 count = *row.pageCount;
                QString pages = count == 1 ? text("1 Seite", "1 page")
                                           : text("%1 Seiten", "%1 pages").arg(count);
                const std::optional<qint64> used = model_.pagesOf(i);
                if (used && *used != count)
                    pages = text("%1 von %2 Seiten", "%1 of %2 pages").arg(*used).arg(count);
                widget->pages->setText(pages);
            }
        }
        const std::optional<QString> error = model_.rangeError(i);
        widget->error->setText(error.value_or(QString()));
        widget->error->setVisible(error.has_value());
        if (!row.failure && widget->thumbnail->image.isNull()) {
            widget->thumbnail->image = thumbnails_.thumbnail(row.path, 1);
            widget->thumbnail->update();
        }
    }
}

bool PDFMergeList::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress)
        return QScrollArea::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const int row = rowOf(watched->property("row").toULongLong());
    if (row < 0)
        return false;
    const bool alt = key->modifiers() & Qt::AltModifier;
    const bool control = key->modifiers() & Qt::ControlModifier;
    switch (key->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down: {
        const int step = key->key() == Qt::Key_Up ? -1 : 1;
        if (alt)
            model_.move(row, row + step);
        focusRow(rowOf(watched->property("row").toULongLong()) + (alt ? 0 : step));
        return true;
    }
    case Qt::Key_Delete:
        if (!control)
            return false;
        model_.remove(row);
        focusRow(std::min(row, int(model_.rows().size()) - 1));
        return true;
    default:
        return false;
    }
}

int PDFMergeList::insertionAt(int y) const {
    const QPoint inContent = content_->mapFrom(this, QPoint(0, y));
    const QList<PDFMergeModel::Row>& rows = model_.rows();
    for (int i = 0; i < rows.size(); ++i) {
        const QWidget* widget = widgets_.value(rows[i].id);
        if (widget && inContent.y() < widget->geometry().center().y())
            return i;
    }
    return int(rows.size());
}

void PDFMergeList::showInsertion(int at) {
    const QList<PDFMergeModel::Row>& rows = model_.rows();
    int y = 0;
    if (at < rows.size())
        y = widgets_.value(rows[at].id)->geometry().top() - rowSpacing / 2 - 1;
    else if (!rows.isEmpty())
        y = widgets_.value(rows.last().id)->geometry().bottom() + rowSpacing / 2 - 1;
    marker_->setGeometry(4, std::max(0, y), content_->width() - 14, 3);
    marker_->raise();
    marker_->show();
}

void PDFMergeList::dragEnterEvent(QDragEnterEvent* event) {
    if (model_.saving() ||
        !(event->mimeData()->hasFormat(rowMime) || !droppedPaths(event->mimeData()).isEmpty()))
        return event->ignore();
    event->setDropAction(event->mimeData()->hasFormat(rowMime) ? Qt::MoveAction : Qt::CopyAction);
    event->accept();
    showInsertion(insertionAt(event->position().toPoint().y()));
}

void PDFMergeList::dragMoveEvent(QDragMoveEvent* event) {
    event->setDropAction(event->mimeData()->hasFormat(rowMime) ? Qt::MoveAction : Qt::CopyAction);
    event->accept();
    showInsertion(insertionAt(event->position().toPoint().y()));
}

void PDFMergeList::dragLeaveEvent(QDragLeaveEvent* event) {
    marker_->hide();
    QScrollArea::dragLeaveEvent(event);
}

void PDFMergeList::dropEvent(QDropEvent* event) {
    marker_->hide();
    const int at = insertionAt(event->position().toPoint().y());
    if (event->mimeData()->hasFormat(rowMime)) {
        const int from = rowOf(event->mimeData()->data(rowMime).toULongLong());
        if (from >= 0)
            model_.move(from, at > from ? at - 1 : at);
        event->setDropAction(Qt::MoveAction);
    } else {
        model_.add(droppedPaths(event->mimeData()), at);
        event->setDropAction(Qt::CopyAction);
    }
    event->accept();
}

} // namespace tramix
