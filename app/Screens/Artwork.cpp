#include "Artwork.h"

#include "DemoWheel.h"
#include "Design/AppIcon.h"
#include "Design/Theme.h"
#include "Settings/UILanguage.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QRandomGenerator>

namespace tramix::Artwork {

namespace {

// The same meadow in every picture: the grass and flowers come from a fixed seed.
constexpr quint32 meadowSeed = 412;
constexpr int grassBlades = 900;
constexpr int flowers = 140;

const QColor skyTop(0x7f, 0xbd, 0xef);
const QColor skyHorizon(0xe6, 0xf3, 0xfb);
const QColor farHill(0xa4, 0xd3, 0x8c);
const QColor nearHill(0x84, 0xc0, 0x67);
const QColor grassFar(0x74, 0xb5, 0x55);
const QColor grassNear(0x4c, 0x93, 0x37);

// A gentle hill line across `area` at `level` (0 top, 1 bottom), rising and falling `waves` times.
QPainterPath hills(const QRectF& area, double level, double height, int waves, double phase) {
    QPainterPath path;
    const double y = area.top() + area.height() * level;
    path.moveTo(area.left(), area.bottom());
    path.lineTo(area.left(), y);
    const double step = area.width() / waves;
    for (int i = 0; i < waves; ++i) {
        const double x = area.left() + i * step;
        const double lift = height * (i % 2 == 0 ? 1.0 : 0.55) * (1 + 0.3 * std::sin(phase + i));
        path.cubicTo(QPointF(x + step * 0.3, y - lift), QPointF(x + step * 0.7, y - lift),
                     QPointF(x + step, y));
    }
    path.lineTo(area.right(), area.bottom());
    path.closeSubpath();
    return path;
}

void paintSky(QPainter& p, const QRectF& area, double horizon) {
    QLinearGradient sky(area.topLeft(), QPointF(area.left(), area.top() + area.height() * horizon));
    sky.setColorAt(0, skyTop);
    sky.setColorAt(1, skyHorizon);
    p.fillRect(area, sky);
    const QPointF sun(area.left() + area.width() * 0.82, area.top() + area.height() * 0.16);
    const double glow = area.height() * 0.32;
    QRadialGradient light(sun, glow);
    light.setColorAt(0, QColor(255, 250, 225, 255));
    light.setColorAt(0.18, QColor(255, 246, 205, 235));
    light.setColorAt(0.2, QColor(255, 240, 200, 120));
    light.setColorAt(1, QColor(255, 240, 200, 0));
    p.setPen(Qt::NoPen);
    p.setBrush(light);
    p.drawEllipse(sun, glow, glow);
    // Two soft clouds.
    p.setBrush(QColor(255, 255, 255, 170));
    for (const QPointF& at : {QPointF(0.18, 0.14), QPointF(0.5, 0.09)}) {
        const QPointF c(area.left() + area.width() * at.x(), area.top() + area.height() * at.y());
        const double r = area.height() * 0.045;
        p.drawEllipse(c, r * 2.2, r);
        p.drawEllipse(c + QPointF(-r * 1.1, r * 0.25), r * 1.3, r * 0.8);
        p.drawEllipse(c + QPointF(r * 0.9, -r * 0.35), r * 1.2, r * 0.9);
    }
}

void paintMeadow(QPainter& p, const QRectF& area, double horizon) {
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setClipRect(area);
    paintSky(p, area, horizon);
    p.setPen(Qt::NoPen);
    p.setBrush(farHill);
    p.drawPath(hills(area, horizon - 0.02, area.height() * 0.07, 5, 0.4));
    p.setBrush(nearHill);
    p.drawPath(hills(area, horizon + 0.04, area.height() * 0.05, 3, 1.7));
    const double grassTop = area.top() + area.height() * (horizon + 0.08);
    QLinearGradient grass(QPointF(area.left(), grassTop), area.bottomLeft());
    grass.setColorAt(0, grassFar);
    grass.setColorAt(1, grassNear);
    p.setBrush(grass);
    p.drawPath(hills(area, horizon + 0.1, area.height() * 0.03, 2, 2.9));

    // Blades and flowers get larger towards the viewer.
    QRandomGenerator random(meadowSeed);
    const double depth = area.bottom() - grassTop;
    for (int i = 0; i < grassBlades; ++i) {
        const double near = std::pow(random.generateDouble(), 0.6);
        const QPointF root(area.left() + random.generateDouble() * area.width(),
                           grassTop + near * depth);
        const double length = (4 + near * 22) * area.height() / 1000;
        const double lean = (random.generateDouble() - 0.5) * length * 0.8;
        const int shade = random.bounded(3);
        const QColor colour = shade == 0   ? grassNear.darker(115)
                              : shade == 1 ? grassFar.lighter(112)
                                           : QColor(0x5f, 0xa8, 0x44);
        p.setPen(QPen(colour, 0.6 + near * 1.6, Qt::SolidLine, Qt::RoundCap));
        QPainterPath blade(root);
        blade.quadTo(root + QPointF(lean * 0.2, -length * 0.6), root + QPointF(lean, -length));
        p.drawPath(blade);
    }
    const QColor petals[] = {QColor(255, 255, 255), QColor(255, 226, 92), QColor(246, 168, 196),
                             QColor(190, 170, 250)};
    p.setPen(Qt::NoPen);
    for (int i = 0; i < flowers; ++i) {
        const double near = std::pow(random.generateDouble(), 0.7);
        const QPointF at(area.left() + random.generateDouble() * area.width(),
                         grassTop + (0.1 + 0.9 * near) * depth);
        const double r = (1.2 + near * 4.5) * area.height() / 1000;
        p.setBrush(petals[random.bounded(4)]);
        p.drawEllipse(at, r, r);
        p.setBrush(QColor(250, 200, 60));
        p.drawEllipse(at, r * 0.38, r * 0.38);
    }
    p.restore();
}

// The welcome window's wheel, open with a dragged file resting on its second format, at
// `scale` times its size, on transparency.
QImage wheel(double scale) {
    DemoWheel demo(ModifierKey::shift, UILanguage::german());
    QPalette palette = demo.palette();
    palette.setColor(QPalette::Window, Theme::light().card);
    palette.setColor(QPalette::WindowText, Theme::light().text);
    demo.setPalette(palette);
    demo.setAttribute(Qt::WA_DontShowOnScreen);
    demo.show();
    demo.freeze(1);
    QImage image(demo.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    demo.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    painter.end();
    demo.hide();
    image.setDevicePixelRatio(1);
    return image;
}

// The wheel standing on the grass: a soft shadow beneath it, then the wheel centred on `centre`.
void paintWheel(QPainter& p, const QImage& picture, QPointF centre) {
    const QRectF box(centre - QPointF(picture.width() / 2.0, picture.height() / 2.0),
                     QSizeF(picture.size()));
    const double radius = box.width() * 0.42;
    const QPointF below(centre.x(), box.bottom() - box.height() * 0.06);
    QRadialGradient shadow(below, radius);
    shadow.setColorAt(0, QColor(20, 60, 20, 90));
    shadow.setColorAt(1, QColor(20, 60, 20, 0));
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(shadow);
    p.drawEllipse(below, radius, radius * 0.16);
    p.drawImage(box.topLeft(), picture);
    p.restore();
}

QString tagline() {
    return UILanguage::text(QStringLiteral("Dateien umwandeln, während du sie ziehst."),
                            QStringLiteral("Convert files while you drag them."));
}

QString subline() {
    return UILanguage::text(QStringLiteral("Lokal auf deinem Rechner, ohne Upload."),
                            QStringLiteral("Locally on your computer, with no upload."));
}

// The icon, the name and the two lines on a frosted card whose left edge is at `left`, centred
// on `middle`; `unit` scales everything.
void paintTitle(QPainter& p, double left, double middle, double unit) {
    const Theme theme = Theme::light();
    QFont name = Theme::font(unit * 44, QFont::Bold);
    QFont lead = Theme::font(unit * 17, QFont::DemiBold);
    QFont small = Theme::font(unit * 14);
    const QFontMetricsF nameMetrics(name), leadMetrics(lead), smallMetrics(small);
    const double icon = unit * 112;
    const double pad = unit * 34;
    const double textWidth = std::max({nameMetrics.horizontalAdvance(QStringLiteral("Tramix")),
                                       leadMetrics.horizontalAdvance(tagline()),
                                       smallMetrics.horizontalAdvance(subline())});
    const double height = icon + unit * 18 + nameMetrics.height() + unit * 4 +
                          leadMetrics.height() + unit * 10 + smallMetrics.height() + 2 * pad;
    const QRectF card(left, middle - height / 2, textWidth + 2 * pad, height);

    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0, 40, 0, 28));
    p.drawRoundedRect(card.translated(0, unit * 6), unit * 26, unit * 26);
    p.setBrush(QColor(255, 255, 255, 228));
    p.drawRoundedRect(card, unit * 26, unit * 26);

    double y = card.top() + pad;
    p.drawImage(QRectF(card.left() + pad, y, icon, icon), appIconImage(int(icon * 2)));
    y += icon + unit * 18;
    p.setPen(theme.text);
    p.setFont(name);
    p.drawText(QPointF(card.left() + pad, y + nameMetrics.ascent()), QStringLiteral("Tramix"));
    y += nameMetrics.height() + unit * 4;
    p.setFont(lead);
    p.drawText(QPointF(card.left() + pad, y + leadMetrics.ascent()), tagline());
    y += leadMetrics.height() + unit * 10;
    p.setFont(small);
    p.setPen(theme.secondaryText);
    p.drawText(QPointF(card.left() + pad, y + smallMetrics.ascent()), subline());
    p.restore();
}

// A meadow with the title card on the left and the wheel on the right, as links and software
// centres show it; positions are shares of the width.
struct TitledLayout {
    QSize size;
    double horizon;
    double titleLeft;
    double wheelScale;
    double wheelCentre;
};

QImage canvas(QSize size);

QImage titled(const TitledLayout& layout) {
    QImage image = canvas(layout.size);
    QPainter p(&image);
    paintMeadow(p, image.rect(), layout.horizon);
    const double middle = layout.size.height() * 0.5;
    paintTitle(p, layout.size.width() * layout.titleLeft, middle, 1.05);
    paintWheel(p, wheel(layout.wheelScale),
               QPointF(layout.size.width() * layout.wheelCentre, middle));
    return image;
}

QImage canvas(QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    return image;
}

} // namespace

QImage scene() {
    QImage image = canvas(sceneSize);
    QPainter p(&image);
    paintMeadow(p, image.rect(), 0.52);
    const QImage picture = wheel(2);
    paintWheel(p, picture, QPointF(sceneSize.width() / 2.0, sceneSize.height() * 0.53));
    return image;
}

QImage socialCard() {
    return titled({cardSize, 0.6, 0.06, 1.4, 0.77});
}

QImage banner() {
    return titled({bannerSize, 0.58, 0.08, 1.3, 0.72});
}

} // namespace tramix::Artwork
