#include "ShelfView.h"

#include "Design/StatusGlyphs.h"
#include "Design/SymbolIcons.h"
#include "FileKind.h"
#include "Settings/UILanguage.h"
#include "ShelfThumbnails.h"

#include <QApplication>
#include <QCursor>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFontMetricsF>
#include <QIcon>
#include <QKeyEvent>
#include <QLocale>
#include <QMimeData>
#include <QMimeDatabase>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <QUrl>
#include <QWheelEvent>
#include <QWindow>
#include <algorithm>
#include <cmath>

namespace tramix {

namespace {

using Row = ShelfView::Row;

constexpr qreal pad = 12;
constexpr qreal headerHeight = 50;
constexpr qreal rowHeight = 48;
constexpr qreal listPad = 6;
constexpr qreal emptyHeight = 108;
constexpr qreal thumbSize = 36;
constexpr qreal buttonHeight = 36;
constexpr qreal clearHeight = 28;
constexpr qreal removeSize = 22;

QFont titleFont() {
    return Theme::font(11.5, QFont::Bold);
}
QFont countFont() {
    return Theme::font(8, QFont::Bold);
}
QFont nameFont() {
    return Theme::font(9.5, QFont::DemiBold);
}
QFont detailFont() {
    return Theme::font(8.5);
}
QFont emptyFont() {
    return Theme::font(9.5, QFont::Medium);
}
QFont buttonFont() {
    return Theme::font(9.5, QFont::DemiBold);
}
QFont clearFont() {
    return Theme::font(9, QFont::Medium);
}
QFont badgeFont(qreal size) {
    QFont font = Theme::font(size, QFont::Bold);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0.3);
    return font;
}

QString shelfTitle() {
    return UILanguage::text(QStringLiteral("Ablage"), QStringLiteral("Shelf"));
}

QColor withAlpha(QColor color, int alpha) {
    color.setAlpha(alpha);
    return color;
}

// Every rectangle of the shelf for a number of rows, in view coordinates.
struct Geometry {
    QRectF card, header, close, list, empty, dragAll, clear;
    qreal footerTop = 0;
    QList<QRectF> rows; // the rows in view, from firstRow on
    int firstRow = 0;
    QSize size;

    Geometry(qsizetype count, int first, qreal m) {
        const int shown = int(std::min<qsizetype>(count, ShelfView::visibleRows));
        firstRow = std::clamp(first, 0, int(std::max<qsizetype>(count - shown, 0)));
        const qreal width = ShelfView::cardWidth;
        qreal y = m;
        header = QRectF(m, y, width, headerHeight);
        close = QRectF(m + width - pad - 26 + 4, y + (headerHeight - 26) / 2, 26, 26);
        y += headerHeight;
        if (count == 0) {
            empty = QRectF(m + pad, y + pad - 2, width - 2 * pad, emptyHeight);
            list = empty;
            y = empty.bottom() + pad - 2;
        } else {
            list = QRectF(m, y, width, shown * rowHeight + 2 * listPad);
            for (int i = 0; i < shown; ++i)
                rows.append(QRectF(m + pad - 6, y + listPad + i * rowHeight, width - 2 * pad + 12,
                                   rowHeight));
            y = list.bottom();
        }
        footerTop = y;
        dragAll = QRectF(m + pad, y + pad, width - 2 * pad, buttonHeight);
        y = dragAll.bottom() + 4;
        clear = QRectF(m + pad, y, width - 2 * pad, clearHeight);
        y = clear.bottom() + 8;
        card = QRectF(m, m, width, y - m);
        size = QSize(int(std::ceil(width + 2 * m)), int(std::ceil(y + m)));
    }

    QRectF removeButton(const QRectF& row) const {
        return QRectF(row.right() - 8 - removeSize, row.center().y() - removeSize / 2, removeSize,
                      removeSize);
    }
};

void drawText(QPainter& painter, const QRectF& box, const QString& text, const QFont& font,
              const QColor& color, int flags, Qt::TextElideMode elide = Qt::ElideRight) {
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(box, flags, QFontMetricsF(font).elidedText(text, elide, box.width()));
}

void drawCross(QPainter& painter, QPointF center, qreal half, const QColor& color, qreal width) {
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(center + QPointF(-half, -half), center + QPointF(half, half));
    painter.drawLine(center + QPointF(-half, half), center + QPointF(half, -half));
}

void drawShadow(QPainter& painter, const QRectF& card, qreal margin, const Theme& theme) {
    painter.setPen(Qt::NoPen);
    const int layers = int(margin * 0.6);
    for (int i = layers; i >= 1; --i) {
        const qreal spread = i * (margin * 0.8) / layers;
        painter.setBrush(QColor(0, 0, 0, theme.dark ? 12 : 7));
        painter.drawRoundedRect(card.adjusted(-spread, -spread * 0.6, spread, spread * 1.1),
                                ShelfView::cornerRadius + spread, ShelfView::cornerRadius + spread);
    }
}

// The colour of a file type's badge.
QColor kindColor(const QString& path, const Theme& theme) {
    switch (FileKind::of(path)) {
    case FileKind::pdf:
        return theme.danger;
    case FileKind::image:
        return theme.dark ? QColor(0x4c, 0xc9, 0xc0) : QColor(0x1f, 0xa3, 0x9a);
    case FileKind::document:
        return theme.accent;
    case FileKind::spreadsheet:
        return theme.success;
    case FileKind::archive:
        return theme.warning;
    case FileKind::audio:
        return theme.dark ? QColor(0xff, 0x6f, 0xb5) : QColor(0xe0, 0x3e, 0x8c);
    case FileKind::video:
        return theme.dark ? QColor(0xb1, 0x8c, 0xff) : QColor(0x8e, 0x5c, 0xe8);
    default:
        return theme.secondaryText;
    }
}

// A page with a folded corner and the file's extension on a band, drawn when the icon theme
// has nothing for the type.
void drawDocumentIcon(QPainter& painter, const QRectF& box, const QString& path,
                      const Theme& theme) {
    const qreal h = box.height() - 2;
    const qreal w = std::round(h * 0.78);
    const QRectF page(box.center().x() - w / 2, box.top() + 1, w, h);
    const qreal fold = w * 0.3;
    QPainterPath sheet(page.topLeft() + QPointF(3, 0));
    sheet.lineTo(page.right() - fold, page.top());
    sheet.lineTo(page.right(), page.top() + fold);
    sheet.lineTo(page.right(), page.bottom() - 3);
    sheet.quadTo(page.bottomRight(), page.bottomRight() - QPointF(3, 0));
    sheet.lineTo(page.left() + 3, page.bottom());
    sheet.quadTo(page.bottomLeft(), page.bottomLeft() - QPointF(0, 3));
    sheet.lineTo(page.left(), page.top() + 3);
    sheet.quadTo(page.topLeft(), page.topLeft() + QPointF(3, 0));
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(theme.dark ? QColor(0x3b, 0x3b, 0x41) : Qt::white);
    painter.drawPath(sheet);
    QPainterPath corner(QPointF(page.right() - fold, page.top()));
    corner.lineTo(page.right() - fold, page.top() + fold - 2);
    corner.quadTo(page.right() - fold, page.top() + fold, page.right() - fold + 2,
                  page.top() + fold);
    corner.lineTo(page.right(), page.top() + fold);
    corner.closeSubpath();
    painter.setBrush(theme.dark ? QColor(0x55, 0x55, 0x5c) : QColor(0xe4, 0xe4, 0xea));
    painter.drawPath(corner);

    // A few lines of text above the band.
    painter.setPen(QPen(theme.dark ? QColor(255, 255, 255, 40) : QColor(0, 0, 0, 28), 1.4,
                        Qt::SolidLine, Qt::RoundCap));
    for (int i = 0; i < 2; ++i) {
        const qreal y = page.top() + fold + 3 + i * 3.5;
        painter.drawLine(QPointF(page.left() + 4, y), QPointF(page.right() - (i == 0 ? 4 : 8), y));
    }

    QString ext = pathExtension(path).toUpper();
    if (ext.size() > 4)
        ext = ext.left(4);
    const QRectF band(page.left() - 2, page.top() + h * 0.56, w + 4, h * 0.27);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kindColor(path, theme));
    painter.drawRoundedRect(band, 2.5, 2.5);
    if (!ext.isEmpty()) {
        QFont font = badgeFont(ext.size() > 3 ? 5.5 : 6.5);
        drawText(painter, band, ext, font, Qt::white, Qt::AlignCenter);
    }
}

void drawFolderIcon(QPainter& painter, const QRectF& box, const Theme& theme) {
    const QRectF body(box.left() + 2, box.top() + box.height() * 0.26, box.width() - 4,
                      box.height() * 0.62);
    QPainterPath tab;
    tab.addRoundedRect(QRectF(body.left(), body.top() - 5, body.width() * 0.42, 10), 2.5, 2.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.accent.darker(theme.dark ? 130 : 115));
    painter.drawPath(tab);
    QLinearGradient fill(body.topLeft(), body.bottomLeft());
    fill.setColorAt(0, theme.accent.lighter(118));
    fill.setColorAt(1, theme.accent);
    painter.setBrush(fill);
    painter.drawRoundedRect(body, 3.5, 3.5);
}

// The icon theme's picture of the type, if the desktop has one.
QIcon themeIcon(const Row& row) {
    static QMimeDatabase types;
    if (row.folder)
        return QIcon::fromTheme(QStringLiteral("folder"));
    const QMimeType type = types.mimeTypeForFile(row.path, QMimeDatabase::MatchExtension);
    for (const QString& name : {type.iconName(), type.genericIconName()}) {
        if (!name.isEmpty() && QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    }
    return {};
}

void drawTypeIcon(QPainter& painter, const QRectF& box, const Row& row, const Theme& theme) {
    if (const QIcon icon = themeIcon(row); !icon.isNull()) {
        const QRectF inner = box.adjusted(1, 1, -1, -1);
        painter.drawPixmap(inner.toRect(), icon.pixmap(inner.size().toSize(),
                                                       painter.device()->devicePixelRatioF()));
        return;
    }
    if (row.folder)
        drawFolderIcon(painter, box, theme);
    else
        drawDocumentIcon(painter, box, row.path, theme);
}

void drawThumbnail(QPainter& painter, const QRectF& box, const Row& row, const Theme& theme) {
    painter.save();
    if (row.missing)
        painter.setOpacity(0.4);
    if (row.thumbnail.isNull()) {
        drawTypeIcon(painter, box, row, theme);
        painter.restore();
        return;
    }
    const QSizeF image = row.thumbnail.size();
    if (FileKind::of(row.path) == FileKind::pdf && image.height() > image.width()) {
        // A page stays whole, standing in the box like a sheet of paper.
        const qreal scale = box.height() / image.height();
        const QSizeF size = image * scale;
        const QRectF page(box.center().x() - size.width() / 2, box.top(), size.width(),
                          size.height());
        QPainterPath clip;
        clip.addRoundedRect(page, 3, 3);
        painter.setClipPath(clip);
        painter.drawImage(page, row.thumbnail);
        painter.setClipping(false);
        painter.setPen(QPen(theme.cardEdge, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(page.adjusted(0.5, 0.5, -0.5, -0.5), 2.5, 2.5);
        painter.restore();
        return;
    }
    // Filled to the square, cut round; the middle of the picture shows.
    const qreal scale = std::max(box.width() / image.width(), box.height() / image.height());
    const QSizeF shown = box.size() / scale;
    const QRectF source((image.width() - shown.width()) / 2, (image.height() - shown.height()) / 2,
                        shown.width(), shown.height());
    QPainterPath clip;
    clip.addRoundedRect(box, 7, 7);
    painter.setClipPath(clip);
    painter.drawImage(box, row.thumbnail, source);
    painter.setClipping(false);
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), 6.5, 6.5);
    painter.restore();
}

void drawHeader(QPainter& painter, const Geometry& g, qsizetype count, const Theme& theme,
                const ShelfView::Look& look) {
    const QRectF tile(g.header.left() + pad, g.header.center().y() - 15, 30, 30);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withAlpha(theme.accent, theme.dark ? 52 : 30));
    painter.drawRoundedRect(tile, 8, 8);
    SymbolIcons::draw(painter, QStringLiteral("tray.and.arrow.down"), tile.adjusted(6, 6, -6, -6),
                      theme.accent);

    const QString title = shelfTitle();
    const qreal titleLeft = tile.right() + 10;
    const qreal titleWidth = QFontMetricsF(titleFont()).horizontalAdvance(title);
    drawText(painter, QRectF(titleLeft, g.header.top(), titleWidth + 2, g.header.height()), title,
             titleFont(), theme.text, Qt::AlignLeft | Qt::AlignVCenter);
    if (count > 0) {
        const QString number = QLocale().toString(count);
        const qreal numberWidth = QFontMetricsF(countFont()).horizontalAdvance(number);
        const QRectF pill(titleLeft + titleWidth + 8, g.header.center().y() - 9,
                          std::max<qreal>(20, numberWidth + 12), 18);
        painter.setPen(Qt::NoPen);
        painter.setBrush(withAlpha(theme.accent, theme.dark ? 52 : 30));
        painter.drawRoundedRect(pill, 9, 9);
        drawText(painter, pill, number, countFont(), theme.accent, Qt::AlignCenter);
    }

    const bool hovered = look.hovered && look.hovered->kind == ShelfView::Spot::close;
    if (hovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.fill);
        painter.drawEllipse(g.close);
    }
    drawCross(painter, g.close.center(), 4, hovered ? theme.text : theme.secondaryText, 1.6);

    painter.setPen(QPen(theme.cardEdge, 1));
    painter.drawLine(QPointF(g.card.left() + 1, g.header.bottom() - 0.5),
                     QPointF(g.card.right() - 1, g.header.bottom() - 0.5));
}

void drawEmpty(QPainter& painter, const Geometry& g, const Theme& theme, bool dropping) {
    const QColor color = dropping ? theme.accent : theme.secondaryText;
    QPen dashed(withAlpha(color, dropping ? 255 : 150), 1.3, Qt::DashLine);
    dashed.setDashPattern({4, 3});
    painter.setPen(dashed);
    painter.setBrush(dropping ? theme.hover : Qt::transparent);
    painter.drawRoundedRect(g.empty.adjusted(0.65, 0.65, -0.65, -0.65), 10, 10);
    const QRectF icon(g.empty.center().x() - 14, g.empty.center().y() - 24, 28, 28);
    SymbolIcons::draw(painter, QStringLiteral("tray.and.arrow.down"), icon, color);
    const QString label =
        UILanguage::text(QStringLiteral("Dateien hier ablegen"), QStringLiteral("Drop files here"));
    drawText(painter, QRectF(g.empty.left() + 8, icon.bottom() + 6, g.empty.width() - 16, 20),
             label, emptyFont(), color, Qt::AlignHCenter | Qt::AlignTop);
}

void drawRows(QPainter& painter, const Geometry& g, const QList<ShelfView::Row>& rows,
              const Theme& theme, const ShelfView::Look& look) {
    painter.save();
    painter.setClipRect(g.list);
    for (qsizetype shown = 0; shown < g.rows.size(); ++shown) {
        const int index = g.firstRow + int(shown);
        const ShelfView::Row& row = rows[index];
        const QRectF box = g.rows[shown];
        const bool hovered = look.hovered && look.hovered->index == index &&
                             (look.hovered->kind == ShelfView::Spot::row ||
                              look.hovered->kind == ShelfView::Spot::removeRow);
        const bool selected = look.selected == index;
        if (selected || hovered) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(selected ? withAlpha(theme.accent, theme.dark ? 84 : 48)
                                      : theme.hover);
            painter.drawRoundedRect(box, 9, 9);
        }
        const QRectF thumb(box.left() + 6, box.center().y() - thumbSize / 2, thumbSize, thumbSize);
        drawThumbnail(painter, thumb, row, theme);

        const QRectF remove = g.removeButton(box);
        const bool showRemove = hovered || selected;
        const qreal textLeft = thumb.right() + 10;
        const qreal textRight = (showRemove ? remove.left() - 6 : box.right() - 10);
        const QRectF text(textLeft, box.top() + 7, textRight - textLeft, box.height() - 14);
        drawText(painter, text.adjusted(0, 0, 0, -text.height() / 2 - 1), row.name, nameFont(),
                 row.missing ? theme.secondaryText : theme.text, Qt::AlignLeft | Qt::AlignBottom,
                 Qt::ElideMiddle);
        QRectF detail = text.adjusted(0, text.height() / 2 + 2, 0, 0);
        if (row.missing) {
            const qreal mark = 11;
            StatusGlyphs::exclamationCircle(
                painter, QRectF(detail.left(), detail.top() + 1.5, mark, mark), theme.warning);
            detail.setLeft(detail.left() + mark + 4);
        }
        drawText(painter, detail, row.detail, detailFont(),
                 row.missing ? theme.warning : theme.secondaryText, Qt::AlignLeft | Qt::AlignTop);

        if (showRemove) {
            const bool over = look.hovered && look.hovered->kind == ShelfView::Spot::removeRow &&
                              look.hovered->index == index;
            painter.setPen(Qt::NoPen);
            painter.setBrush(over ? theme.fill : Qt::transparent);
            painter.drawEllipse(remove);
            drawCross(painter, remove.center(), 3.5, over ? theme.text : theme.secondaryText, 1.4);
        }
    }
    painter.restore();

    // Where there are more rows than room, a thin bar says how far down the list is.
    if (rows.size() > g.rows.size()) {
        const QRectF track(g.card.right() - 5, g.list.top() + listPad + 2, 3,
                           g.list.height() - 2 * listPad - 4);
        const qreal part = qreal(g.rows.size()) / qreal(rows.size());
        const qreal offset = qreal(g.firstRow) / qreal(rows.size());
        painter.setPen(Qt::NoPen);
        painter.setBrush(withAlpha(theme.secondaryText, 110));
        painter.drawRoundedRect(
            QRectF(track.left(), track.top() + offset * track.height(), 3, part * track.height()),
            1.5, 1.5);
    }

    if (look.dropping) {
        QPen dashed(theme.accent, 1.3, Qt::DashLine);
        dashed.setDashPattern({4, 3});
        painter.setPen(dashed);
        painter.setBrush(withAlpha(theme.accent, theme.dark ? 28 : 16));
        painter.drawRoundedRect(g.list.adjusted(pad - 6.5, 2.5, -pad + 6.5, -2.5), 10, 10);
    }
}

void drawFooter(QPainter& painter, const Geometry& g, bool anyPresent, const Theme& theme,
                const ShelfView::Look& look) {
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.drawLine(QPointF(g.card.left() + 1, g.footerTop + 0.5),
                     QPointF(g.card.right() - 1, g.footerTop + 0.5));

    const auto isHovered = [&](ShelfView::Spot::Kind kind) {
        return look.hovered && look.hovered->kind == kind;
    };
    // The handle that drags every file out: the shelf's one strong colour, in its deep form in
    // both schemes so that its white label reads well.
    QColor fill = anyPresent ? Theme::light().accent : theme.fill;
    if (anyPresent && isHovered(ShelfView::Spot::dragAll))
        fill = theme.dark ? fill.lighter(110) : fill.darker(108);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(g.dragAll, 9, 9);
    const QColor ink = anyPresent ? QColor(Qt::white) : theme.secondaryText;
    const QString label = UILanguage::text(QStringLiteral("Alle Dateien auf einmal herausziehen"),
                                           QStringLiteral("Drag all files out at once"));
    const qreal iconSize = 16;
    const qreal room = g.dragAll.width() - 24 - iconSize - 8;
    // A wide interface font gets a slightly smaller label rather than a cut one.
    QFont font = buttonFont();
    while (QFontMetricsF(font).horizontalAdvance(label) > room && font.pointSizeF() > 8)
        font.setPointSizeF(font.pointSizeF() - 0.25);
    const qreal labelWidth = std::min(room, QFontMetricsF(font).horizontalAdvance(label) + 1);
    const qreal left = g.dragAll.center().x() - (iconSize + 8 + labelWidth) / 2;
    SymbolIcons::draw(painter, QStringLiteral("doc.on.doc"),
                      QRectF(left, g.dragAll.center().y() - iconSize / 2, iconSize, iconSize), ink);
    drawText(painter, QRectF(left + iconSize + 8, g.dragAll.top(), labelWidth, g.dragAll.height()),
             label, font, ink, Qt::AlignLeft | Qt::AlignVCenter);

    const bool clearHovered = isHovered(ShelfView::Spot::clear);
    if (clearHovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withAlpha(theme.danger, theme.dark ? 40 : 22));
        painter.drawRoundedRect(g.clear, 8, 8);
    }
    drawText(painter, g.clear,
             UILanguage::text(QStringLiteral("Ablage leeren und schließen"),
                              QStringLiteral("Clear shelf and close")),
             clearFont(), clearHovered ? theme.danger : theme.secondaryText, Qt::AlignCenter);
}

// The parked files of a text/uri-list: local files only.
QStringList localFiles(const QMimeData* data) {
    QStringList paths;
    if (!data || !data->hasUrls())
        return paths;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile() && !url.toLocalFile().isEmpty())
            paths.append(url.toLocalFile());
    }
    return paths;
}

// Parking never moves anything: copy when the source offers it, else what it proposes unless
// that is a move.
Qt::DropAction safeAction(Qt::DropActions offered, Qt::DropAction proposed) {
    if (offered & Qt::CopyAction)
        return Qt::CopyAction;
    if (offered & Qt::LinkAction)
        return Qt::LinkAction;
    return proposed == Qt::MoveAction ? Qt::IgnoreAction : proposed;
}

} // namespace

QSize ShelfView::sizeFor(qsizetype rowCount, qreal margin) {
    return Geometry(rowCount, 0, margin).size;
}

QList<std::pair<ShelfView::Spot, QRectF>> ShelfView::spots(qsizetype rowCount, int firstRow,
                                                           qreal margin) {
    const Geometry g(rowCount, firstRow, margin);
    QList<std::pair<Spot, QRectF>> found;
    found.append({{Spot::close}, g.close});
    found.append({{Spot::header}, g.header});
    for (qsizetype shown = 0; shown < g.rows.size(); ++shown) {
        const int index = g.firstRow + int(shown);
        found.append({{Spot::removeRow, index}, g.removeButton(g.rows[shown])});
        found.append({{Spot::row, index}, g.rows[shown]});
    }
    found.append({{Spot::dragAll}, g.dragAll});
    found.append({{Spot::clear}, g.clear});
    return found;
}

void ShelfView::paint(QPainter& painter, const QList<Row>& rows, const Theme& theme,
                      const Look& look, qreal margin, bool opaque) {
    const Geometry g(rows.size(), look.firstRow, margin);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (opaque)
        painter.fillRect(QRectF(QPointF(0, 0), g.size), theme.card);
    else if (margin > 0)
        drawShadow(painter, g.card, margin, theme);
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(theme.card);
    painter.drawRoundedRect(g.card.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);

    drawHeader(painter, g, rows.size(), theme, look);
    if (rows.isEmpty())
        drawEmpty(painter, g, theme, look.dropping);
    else
        drawRows(painter, g, rows, theme, {look.hovered, look.selected, look.dropping, g.firstRow});
    const bool anyPresent =
        std::any_of(rows.begin(), rows.end(), [](const Row& row) { return !row.missing; });
    drawFooter(painter, g, anyPresent, theme, look);
    painter.restore();
}

QImage ShelfView::render(const QList<Row>& rows, bool dark, double scale) {
    const qreal margin = shadowMargin(true);
    const QSize size = sizeFor(rows.size(), margin);
    QImage image(size * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, rows, Theme::of(dark), {}, margin, false);
    painter.end();
    return image;
}

QString ShelfView::sizeText(qint64 bytes, bool german) {
    static const char* const units[] = {"Bytes", "KB", "MB", "GB", "TB"};
    double value = double(std::max<qint64>(bytes, 0));
    int unit = 0;
    while (value >= 1000 && unit < 4)
        value /= 1000, ++unit;
    const QLocale locale = german ? QLocale(QLocale::German, QLocale::Germany)
                                  : QLocale(QLocale::English, QLocale::UnitedStates);
    const int decimals = unit > 0 && value < 10 ? 1 : 0;
    QString unitName = QLatin1String(units[unit]);
    if (unit == 0 && bytes == 1)
        unitName = QStringLiteral("Byte");
    return locale.toString(value, 'f', decimals) + u' ' + unitName;
}

ShelfView::Row ShelfView::rowFor(const ShelfModel::Item& item, const QImage& thumbnail) {
    Row row;
    row.path = item.path;
    row.name = item.name();
    row.missing = !item.present;
    row.folder = item.folder;
    row.thumbnail = item.present ? thumbnail : QImage();
    if (row.missing)
        row.detail = UILanguage::text(QStringLiteral("fehlt"), QStringLiteral("missing"));
    else if (item.folder)
        row.detail = UILanguage::text(QStringLiteral("Ordner"), QStringLiteral("Folder"));
    else
        row.detail = sizeText(item.size, UILanguage::german());
    return row;
}

ShelfView::ShelfView(ShelfModel& model, ThumbnailLoader& thumbnails, bool translucent,
                     QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , thumbnails_(thumbnails)
    , margin_(shadowMargin(translucent))
    , opaque_(!translucent) {
    setMouseTracking(true);
    setAcceptDrops(true);
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    connect(&model_, &ShelfModel::changed, this, &ShelfView::follow);
    connect(&thumbnails_, &ThumbnailLoader::loaded, this, [this] { update(); });
    wanted_ = sizeFor(model_.count(), margin_);
    setFixedSize(wanted_);
}

ShelfView::~ShelfView() = default;

QSize ShelfView::sizeHint() const {
    return wanted_;
}

void ShelfView::follow() {
    look_.selected.reset();
    if (!selectedPath_.isEmpty()) {
        const qsizetype index = model_.indexOf(selectedPath_);
        if (index >= 0)
            look_.selected = int(index);
        else
            selectedPath_.clear();
    }
    look_.hovered.reset();
    scrollTo(look_.firstRow);
    const QSize now = sizeFor(model_.count(), margin_);
    if (now != wanted_) {
        wanted_ = now;
        setFixedSize(wanted_);
        Q_EMIT sizeChanged();
    }
    if (underMouse())
        setHovered(spotAt(mapFromGlobal(QCursor::pos())));
    update();
}

QList<ShelfView::Row> ShelfView::rows() {
    QList<Row> list;
    for (const ShelfModel::Item& item : model_.items()) {
        const QImage thumbnail = item.present && !item.folder
                                     ? thumbnails_.thumbnail(item.path, item.modified)
                                     : QImage();
        list.append(rowFor(item, thumbnail));
    }
    return list;
}

QRect ShelfView::rowRect(int index) const {
    for (const auto& [spot, rect] : spots(model_.count(), look_.firstRow, margin_)) {
        if (spot.kind == Spot::row && spot.index == index)
            return rect.toAlignedRect();
    }
    return {};
}

QRect ShelfView::spotRect(Spot::Kind kind, int index) const {
    for (const auto& [spot, rect] : spots(model_.count(), look_.firstRow, margin_)) {
        if (spot.kind == kind && spot.index == index)
            return rect.toAlignedRect();
    }
    return {};
}

std::optional<int> ShelfView::selected() const {
    return look_.selected;
}

void ShelfView::select(std::optional<int> index) {
    if (index && (*index < 0 || *index >= model_.count()))
        index.reset();
    look_.selected = index;
    selectedPath_ = index ? model_.items()[*index].path : QString();
    if (index)
        reveal(*index);
    update();
}

void ShelfView::reveal(int index) {
    if (index < look_.firstRow)
        scrollTo(index);
    else if (index >= look_.firstRow + visibleRows)
        scrollTo(index - visibleRows + 1);
}

void ShelfView::scrollTo(int firstRow) {
    const int most = int(std::max<qsizetype>(model_.count() - visibleRows, 0));
    const int now = std::clamp(firstRow, 0, most);
    if (now != look_.firstRow) {
        look_.firstRow = now;
        update();
    }
}

std::optional<ShelfView::Spot> ShelfView::spotAt(QPointF point) const {
    for (const auto& [spot, rect] : spots(model_.count(), look_.firstRow, margin_)) {
        if (rect.contains(point))
            return spot;
    }
    return std::nullopt;
}

void ShelfView::setHovered(std::optional<Spot> spot) {
    if (spot == look_.hovered)
        return;
    look_.hovered = spot;
    // What is dragged shows an open hand; what is clicked, a pointing one.
    const bool dragged = spot && (spot->kind == Spot::header || spot->kind == Spot::dragAll);
    const bool clicked = spot && spot->kind != Spot::row && !dragged;
    setCursor(dragged ? Qt::OpenHandCursor : clicked ? Qt::PointingHandCursor : Qt::ArrowCursor);
    update();
}

void ShelfView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paint(painter, rows(), Theme::of(Theme::isDark(palette())), look_, margin_, opaque_);
}

void ShelfView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    // The shelf takes the keyboard only when the user turns to it.
    if (!window()->isActiveWindow())
        window()->activateWindow();
    setFocus(Qt::MouseFocusReason);
    pressAt_ = event->globalPosition().toPoint();
    pressed_ = spotAt(event->position());
    if (!pressed_)
        return;
    switch (pressed_->kind) {
    case Spot::row:
    case Spot::removeRow:
        select(pressed_->index);
        break;
    case Spot::header:
        // The window manager moves it where there is one; without, the panel follows the
        // pointer itself.
        setCursor(Qt::ClosedHandCursor);
        if (QWindow* handle = window()->windowHandle(); handle && handle->startSystemMove())
            pressed_.reset();
        else
            movingFrom_ = event->globalPosition().toPoint() - window()->pos();
        break;
    default:
        break;
    }
}

void ShelfView::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton) || !pressed_) {
        setHovered(spotAt(event->position()));
        return;
    }
    const QPoint global = event->globalPosition().toPoint();
    if (movingFrom_) {
        window()->move(global - *movingFrom_);
        return;
    }
    if ((global - pressAt_).manhattanLength() < QApplication::startDragDistance())
        return;
    const Spot spot = *pressed_;
    if (spot.kind == Spot::row || spot.kind == Spot::removeRow) {
        pressed_.reset();
        model_.refresh();
        if (spot.index < model_.count() && model_.items()[spot.index].present)
            dragOut({model_.items()[spot.index].path});
    } else if (spot.kind == Spot::dragAll) {
        pressed_.reset();
        const QStringList paths = model_.presentPaths();
        if (!paths.isEmpty())
            dragOut(paths);
    }
}

void ShelfView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const std::optional<Spot> pressed = pressed_;
    pressed_.reset();
    if (movingFrom_) {
        movingFrom_.reset();
        setHovered(spotAt(event->position()));
        setCursor(Qt::OpenHandCursor);
        return;
    }
    if (!pressed || spotAt(event->position()) != pressed)
        return;
    switch (pressed->kind) {
    case Spot::close:
        if (onClose)
            onClose();
        break;
    case Spot::removeRow:
        model_.removeAt(pressed->index);
        break;
    case Spot::clear:
        if (onClear)
            onClear();
        break;
    default:
        break;
    }
}

void ShelfView::leaveEvent(QEvent*) {
    setHovered(std::nullopt);
}

void ShelfView::wheelEvent(QWheelEvent* event) {
    const int steps = event->angleDelta().y() / 120;
    if (steps != 0)
        scrollTo(look_.firstRow - steps);
    setHovered(spotAt(event->position()));
}

void ShelfView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        if (onClose)
            onClose();
        return;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (look_.selected) {
            const int index = *look_.selected;
            model_.removeAt(index);
            // The next file takes the place, so several can go in a row.
            if (model_.count() > 0)
                select(std::min<int>(index, int(model_.count()) - 1));
        }
        return;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (model_.count() > 0) {
            const int step = event->key() == Qt::Key_Up ? -1 : 1;
            const int from = look_.selected ? *look_.selected : (step > 0 ? -1 : 0);
            select(std::clamp<int>(from + step, 0, int(model_.count()) - 1));
        }
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void ShelfView::dragEnterEvent(QDragEnterEvent* event) {
    // The shelf's own drags pass over it without effect.
    if (event->source() == this || localFiles(event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    const Qt::DropAction action = safeAction(event->possibleActions(), event->proposedAction());
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
    look_.dropping = true;
    update();
}

void ShelfView::dragMoveEvent(QDragMoveEvent* event) {
    event->setDropAction(safeAction(event->possibleActions(), event->proposedAction()));
    event->accept();
}

void ShelfView::dragLeaveEvent(QDragLeaveEvent*) {
    look_.dropping = false;
    update();
}

void ShelfView::dropEvent(QDropEvent* event) {
    look_.dropping = false;
    update();
    const QStringList paths = localFiles(event->mimeData());
    const Qt::DropAction action = safeAction(event->possibleActions(), event->proposedAction());
    if (event->source() == this || paths.isEmpty() || action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
    // Answer the source first; parking reads the files on the next turn of the event loop.
    QTimer::singleShot(0, this, [this, paths] {
        model_.add(paths);
        if (const qsizetype last = model_.indexOf(paths.last()); last >= 0)
            reveal(int(last));
        if (onDropped)
            onDropped(paths);
    });
}

void ShelfView::dragOut(const QStringList& paths) {
    auto* data = new QMimeData;
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls.append(QUrl::fromLocalFile(path));
    data->setUrls(urls);
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    const QPixmap picture = dragPicture(paths);
    drag->setPixmap(picture);
    drag->setHotSpot(QPoint(int(picture.width() / picture.devicePixelRatio() / 2),
                            int(picture.height() / picture.devicePixelRatio() / 2)));
    // The receiver decides what to do with the files; the shelf itself never deletes any.
    const Qt::DropAction action =
        drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::CopyAction);
    // A receiver that moved files away leaves them missing here, as any other move would.
    model_.refresh();
    setHovered(spotAt(mapFromGlobal(QCursor::pos())));
    if (onDragged)
        onDragged(action, paths);
}

// The picture under the pointer while dragging: the first file's picture, with the number of
// files on a badge when there are more.
QPixmap ShelfView::dragPicture(const QStringList& paths) {
    const qreal ratio = devicePixelRatioF();
    const Theme theme = Theme::of(Theme::isDark(palette()));
    constexpr qreal tile = 56;
    const qreal extra = paths.size() > 1 ? 8 : 0;
    const QSizeF size(tile + extra + 10, tile + extra + 10);
    QPixmap pixmap((size * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const qsizetype first = model_.indexOf(paths.first());
    Row row;
    row.path = paths.first();
    if (first >= 0)
        row = rowFor(model_.items()[first]);
    if (first >= 0 && !row.folder)
        row.thumbnail = thumbnails_.thumbnail(row.path, model_.items()[first].modified);
    const QRectF front(4 + extra, 4, tile, tile);
    if (extra > 0) {
        painter.setPen(QPen(theme.cardEdge, 1));
        painter.setBrush(theme.card);
        painter.drawRoundedRect(front.translated(-extra, extra), 10, 10);
    }
    painter.setPen(QPen(theme.cardEdge, 1));
    painter.setBrush(theme.card);
    painter.drawRoundedRect(front, 10, 10);
    drawThumbnail(painter, front.adjusted(6, 6, -6, -6), row, theme);
    if (paths.size() > 1) {
        const QString number = QString::number(paths.size());
        const qreal width =
            std::max<qreal>(20, QFontMetricsF(countFont()).horizontalAdvance(number) + 12);
        const QRectF badge(front.right() - width + 4, front.top() - 2, width, 20);
        painter.setPen(QPen(Qt::white, 1.5));
        painter.setBrush(theme.accent);
        painter.drawRoundedRect(badge, 10, 10);
        drawText(painter, badge, number, countFont(), Qt::white, Qt::AlignCenter);
    }
    painter.end();
    return pixmap;
}

} // namespace tramix
