#include "WheelView.h"

#include "CenterText.h"
#include "Design/SymbolIcons.h"
#include "Settings/UILanguage.h"

#include <QEasingCurve>
#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace tramix {

namespace {

constexpr double hoverScale = 1.04;
// Kept free between the centre circle's edge and its text.
constexpr double centerMargin = 5;

// Sizes are given in the interface's points; one point is one device-independent pixel.
QFont font(const QPaintDevice* device, double size, QFont::Weight weight, double spacing = 0) {
    QFont f;
    f.setPointSizeF(size * 72.0 / std::max(device ? device->logicalDpiY() : 96, 1));
    f.setWeight(weight);
    if (spacing != 0)
        f.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
    return f;
}

void drawText(QPainter& p, const QRectF& box, const QString& text, const QFont& f,
              const QColor& color, int flags = Qt::AlignCenter) {
    p.setFont(f);
    p.setPen(color);
    p.drawText(box, flags, text);
}

void paintPlate(QPainter& p, QPointF c, double radius, const WheelPalette& palette, bool opaque) {
    if (!opaque) {
        // A soft shadow, only where the window is blended by a compositor.
        for (int i = 6; i >= 1; --i) {
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(0, 0, 0, 6));
            p.drawEllipse(c + QPointF(0, 2), radius + i, radius + i);
        }
    }
    QColor plate = palette.plate;
    if (opaque)
        plate.setAlpha(255);
    p.setBrush(plate);
    p.setPen(QPen(palette.plateEdge, 1));
    p.drawEllipse(c, radius - 0.5, radius - 0.5);
}

void paintSegments(QPainter& p, const WheelModel& model, const WheelGeometry& g, QPointF c,
                   const WheelPalette& palette) {
    const QList<FileOperation> ops = model.pageOperations();
    const int slots = model.slots();
    const std::optional<int> hovered = model.hoveredOperation() ? model.hovered() : std::nullopt;
    const QRectF square(0, 0, g.size, g.size);
    for (int i = 0; i < slots; ++i) {
        const bool isHovered = hovered == i;
        const QPainterPath path =
            SegmentShape{i, slots, g.innerRadius, g.outerRadius, g.gap}.path(square);
        p.save();
        if (isHovered) {
            p.translate(c);
            p.scale(hoverScale, hoverScale);
            p.translate(-c);
        }
        p.setPen(QPen(palette.segmentEdge, 1));
        p.setBrush(i < ops.size() ? palette.segment : palette.emptySegment);
        p.drawPath(path);
        if (isHovered) {
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(0, 0, 0, 18)); // black at 7 %
            p.drawPath(path);
            p.setBrush(Qt::NoBrush);
            p.setPen(QPen(palette.accent, 1.6));
            p.drawPath(path);
        }
        if (i < ops.size())
            SegmentLabel{ops[i], model.mode(), isHovered}.paint(p, g.labelCenter(i, slots),
                                                                palette);
        p.restore();
    }
}

void drawCenterText(QPainter& p, QPointF c, double radius, const QString& text, const QFont& font,
                    const QColor& color) {
    const CenterText fitted = CenterText::fit(text, font, radius);
    p.setFont(fitted.font);
    p.setPen(color);
    double top = c.y() - fitted.lines.size() * fitted.lineHeight / 2;
    for (const QString& line : fitted.lines) {
        p.drawText(QRectF(c.x() - radius, top, 2 * radius, fitted.lineHeight), Qt::AlignCenter,
                   line);
        top += fitted.lineHeight;
    }
}

void paintCenter(QPainter& p, const WheelModel& model, const WheelGeometry& g, QPointF c,
                 const WheelPalette& palette) {
    p.setPen(QPen(palette.segmentEdge, 1));
    p.setBrush(palette.center);
    p.drawEllipse(c, g.centerRadius, g.centerRadius);

    const QPaintDevice* device = p.device();
    const double width = g.centerRadius * 1.8;
    const QRectF inner(c.x() - width / 2, c.y() - g.centerRadius * 0.7, width,
                       g.centerRadius * 1.4);
    if (const auto op = model.hoveredOperation()) {
        drawCenterText(p, c, g.centerRadius - centerMargin, op->detail,
                       font(device, 10.5, QFont::DemiBold), palette.text);
        return;
    }
    if (model.pageOperations().isEmpty()) {
        drawText(p, inner,
                 UILanguage::text(QStringLiteral("Keine Optionen"), QStringLiteral("No options")),
                 font(device, 10.5, QFont::DemiBold), palette.secondaryText,
                 Qt::AlignCenter | Qt::TextWordWrap);
        return;
    }
    // The mode on top; below the file, the key that opened it, or the page while there are more.
    const QString header = model.mode().title(UILanguage::current()).toUpper();
    drawText(p, QRectF(inner.left(), c.y() - 24, width, 14), header,
             font(device, 8.5, QFont::Bold, 0.6), palette.secondaryText);
    const QFont labelFont = font(device, 10.5, QFont::DemiBold);
    const QString label =
        QFontMetricsF(labelFont).elidedText(model.fileLabel(), Qt::ElideMiddle, width);
    drawText(p, QRectF(inner.left(), c.y() - 8, width, 18), label, labelFont, palette.text);
    const QRectF footer(inner.left(), c.y() + 14, width, 14);
    if (model.pageCount() >= 2) {
        const QString hint =
            UILanguage::text(QStringLiteral("MEHR %1/%2"), QStringLiteral("MORE %1/%2"))
                .arg(model.page() + 1)
                .arg(model.pageCount());
        drawText(p, footer, hint, font(device, 8.5, QFont::Bold, 0.4), palette.accent);
    } else {
        drawText(p, footer, model.key().name(UILanguage::german()).toUpper(),
                 font(device, 8, QFont::Bold, 0.6), palette.secondaryText);
    }
}

} // namespace

WheelPalette WheelPalette::light() {
    return {QColor(246, 246, 248, 236), QColor(0, 0, 0, 28),        QColor(255, 255, 255),
            QColor(0, 0, 0, 22),        QColor(255, 255, 255, 110), QColor(28, 28, 30),
            QColor(110, 110, 118),      QColor(255, 255, 255),      QColor(10, 112, 235)};
}

WheelPalette WheelPalette::dark() {
    return {QColor(30, 30, 34, 236),   QColor(255, 255, 255, 30), QColor(58, 58, 64),
            QColor(255, 255, 255, 26), QColor(58, 58, 64, 100),   QColor(242, 242, 247),
            QColor(160, 160, 168),     QColor(44, 44, 50),        QColor(64, 156, 255)};
}

void SegmentLabel::paint(QPainter& p, QPointF center, const WheelPalette& palette) const {
    const QPaintDevice* device = p.device();
    const bool withSymbol = mode != WheelMode::convert && op.symbol && SymbolIcons::has(*op.symbol);
    const QColor color = highlighted ? palette.accent : palette.text;
    if (withSymbol) {
        SymbolIcons::draw(p, *op.symbol, QRectF(center.x() - 10, center.y() - 19, 20, 20), color);
        drawText(p, QRectF(center.x() - 40, center.y() + 3, 80, 14), op.title,
                 font(device, 8.5, QFont::DemiBold, 0.4), color);
        return;
    }
    const bool shortTitle = op.title.size() < 6;
    drawText(p, QRectF(center.x() - 42, center.y() - 10, 84, 20), op.title,
             font(device, shortTitle ? 12 : 9.5, QFont::Bold, 0.5), color);
}

QImage WheelView::render(const WheelModel& model, bool dark, double scale) {
    const WheelGeometry geometry;
    const int side = int(std::ceil(geometry.size * scale));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, model, geometry, dark ? WheelPalette::dark() : WheelPalette::light(), 1, false);
    painter.end();
    return image;
}

double WheelView::plateRadius(const WheelGeometry& geometry) {
    return geometry.outerRadius * hoverScale + 9;
}

void WheelView::paint(QPainter& p, const WheelModel& model, const WheelGeometry& g,
                      const WheelPalette& palette, double appearance, bool opaque) {
    const QPointF c(g.size / 2, g.size / 2);
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    const double a = std::clamp(appearance, 0.0, 1.0);
    const double scale = 0.82 + 0.18 * QEasingCurve(QEasingCurve::OutBack).valueForProgress(a);
    p.translate(c);
    p.scale(scale, scale);
    p.translate(-c);
    // Never fully clear, so the wheel shows in its very first frame.
    if (!opaque)
        p.setOpacity(0.35 + 0.65 * a);
    paintPlate(p, c, plateRadius(g), palette, opaque);
    paintSegments(p, model, g, c, palette);
    paintCenter(p, model, g, c, palette);
    p.restore();
}

WheelView::WheelView(WheelModel& model, const WheelGeometry& geometry, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , geometry_(geometry) {
    setFixedSize(int(geometry.size), int(geometry.size));
    animation_.setDuration(170);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        appearance_ = value.toDouble();
        update();
        Q_EMIT appearanceChanged(appearance_);
    });
    connect(&model_, &WheelModel::changed, this, [this] {
        followVisibility();
        update();
    });
}

void WheelView::setOpaque(bool opaque) {
    opaque_ = opaque;
    update();
}

void WheelView::followVisibility() {
    if (model_.visible() == shownVisible_)
        return;
    shownVisible_ = model_.visible();
    animation_.stop();
    animation_.setStartValue(appearance_);
    animation_.setEndValue(shownVisible_ ? 1.0 : 0.0);
    animation_.setDuration(shownVisible_ ? 170 : 140);
    animation_.start();
}

void WheelView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    paint(painter, model_, geometry_, dark ? WheelPalette::dark() : WheelPalette::light(),
          appearance_, opaque_);
}

} // namespace tramix
