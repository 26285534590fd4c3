#include "KeyLegend.h"

#include "Design/KeyCap.h"
#include "Settings/AppSettings.h"

#include <QFontMetricsF>
#include <QPainter>
#include <cmath>

namespace tramix {

namespace {

constexpr qreal capGap = 7;    // between a cap and its wheel's name
constexpr qreal entryGap = 16; // between two entries
constexpr qreal lineGap = 8;

QFont wheelFont() {
    return Theme::font(9, QFont::Medium);
}

} // namespace

KeyLegend::KeyLegend(AppSettings& settings, bool german, QWidget* parent)
    : QWidget(parent)
    , settings_(settings)
    , german_(german) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    connect(&settings_, &AppSettings::keysChanged, this, [this] {
        setAccessibleName(entries().join(QStringLiteral(", ")));
        updateGeometry();
        update();
    });
    setAccessibleName(entries().join(QStringLiteral(", ")));
}

QList<KeyLegend::Entry> KeyLegend::items() const {
    QList<Entry> result;
    for (WheelMode mode : WheelMode::allCases()) {
        const auto key = settings_.keys().find(mode);
        result.append(
            {key == settings_.keys().end() ? QStringLiteral("–") : key->second.name(german_),
             mode.title(german_ ? Language::german : Language::english)});
    }
    return result;
}

QStringList KeyLegend::entries() const {
    QStringList result;
    for (const Entry& entry : items())
        result.append(entry.key + u' ' + entry.wheel);
    return result;
}

QList<QRectF> KeyLegend::place(int width, qreal* height) const {
    const QFontMetricsF metrics(wheelFont());
    QList<QRectF> caps;
    qreal x = 0, y = 0;
    for (const Entry& entry : items()) {
        const qreal capWidth = KeyCap::width(entry.key);
        const qreal total = capWidth + capGap + std::ceil(metrics.horizontalAdvance(entry.wheel));
        if (x > 0 && x + total > width) {
            x = 0;
            y += KeyCap::height + lineGap;
        }
        caps.append(QRectF(x, y, capWidth, KeyCap::height));
        x += total + entryGap;
    }
    *height = y + KeyCap::height;
    return caps;
}

int KeyLegend::heightForWidth(int width) const {
    qreal height = 0;
    place(width, &height);
    return int(std::ceil(height));
}

QSize KeyLegend::sizeHint() const {
    qreal height = 0;
    const QList<QRectF> caps = place(10000, &height);
    const QFontMetricsF metrics(wheelFont());
    const qreal width =
        caps.last().right() + capGap + std::ceil(metrics.horizontalAdvance(items().last().wheel));
    return {int(std::ceil(width)), int(std::ceil(height))};
}

void KeyLegend::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const Theme theme = Theme::of(Theme::isDark(palette()));
    qreal height = 0;
    const QList<QRectF> caps = place(width(), &height);
    const QList<Entry> entries = items();
    painter.setFont(wheelFont());
    for (qsizetype i = 0; i < entries.size(); ++i) {
        KeyCap::paint(painter, caps[i], entries[i].key, theme);
        painter.setFont(wheelFont());
        painter.setPen(theme.text);
        painter.drawText(QRectF(caps[i].right() + capGap, caps[i].top(), 400, KeyCap::height - 2),
                         Qt::AlignLeft | Qt::AlignVCenter, entries[i].wheel);
    }
}

} // namespace tramix
