#include "EditorChrome.h"

#include "Design/SymbolIcons.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPixmap>

namespace tramix::EditorChrome {

namespace {

constexpr int iconPixels = 40; // drawn at twice the 20-point size, for sharp edges
constexpr int iconPoints = 20;

QString rgba(const QColor& color) {
    return QStringLiteral("rgba(%1, %2, %3, %4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alpha());
}

} // namespace

QString styleSheet(const Theme& t) {
    const QColor window = t.dark ? QColor(0x1f, 0x1f, 0x22) : QColor(0xf2, 0xf2, 0xf5);
    const QColor button = t.dark ? QColor(255, 255, 255, 22) : QColor(0, 0, 0, 14);
    const QColor pressed = t.dark ? QColor(255, 255, 255, 40) : QColor(0, 0, 0, 30);
    const QColor disabledText = t.dark ? QColor(255, 255, 255, 80) : QColor(0, 0, 0, 70);
    const QColor onAccent = Qt::white;
    return QStringLiteral(R"(
QWidget#editor { background: %1; }
QWidget { color: %2; font-size: 10pt; }
QLabel { background: transparent; }
QLabel[role="secondary"] { color: %3; }
QLabel[role="title"] { font-size: 10.5pt; font-weight: 600; }
QLabel[role="caption"] { color: %3; font-size: 8.5pt; font-weight: 600; letter-spacing: 0.5px; }
QLabel[role="error"] { color: %4; font-weight: 600; }
QWidget[role="panel"] { background: %5; border: 1px solid %6; border-radius: 12px; }
QPushButton {
    background: %7; border: none; border-radius: 8px; padding: 6px 14px; min-height: 18px;
}
QPushButton:hover { background: %8; }
QPushButton:pressed { background: %9; }
QPushButton:disabled { color: %10; }
QPushButton:focus { border: 2px solid %11; padding: 4px 12px; }
QPushButton[role="primary"] { background: %11; color: %12; font-weight: 600; }
QPushButton[role="primary"]:hover { background: %13; }
QPushButton[role="primary"]:disabled { background: %14; color: %12; }
QPushButton[role="segment"] {
    background: transparent; border-radius: 6px; padding: 4px 8px; min-width: 22px;
}
QPushButton[role="segment"]:hover { background: %8; }
QPushButton[role="segment"]:checked { background: %5; color: %2; }
QPushButton[role="segment"]:focus { border: 1px solid %11; padding: 3px 7px; }
QWidget[role="segments"] { background: %7; border-radius: 8px; }
QPushButton[role="symbol"] { padding: 6px; min-width: 20px; }
QSlider { min-height: 22px; }
QSlider::groove:horizontal { height: 4px; background: %7; border-radius: 2px; }
QSlider::sub-page:horizontal { height: 4px; background: %11; border-radius: 2px; }
QSlider::handle:horizontal {
    background: white; border: 1px solid %6; width: 14px; height: 14px; margin: -6px 0;
    border-radius: 8px;
}
QSlider:focus { outline: none; }
QSlider::handle:horizontal:focus { border: 2px solid %11; }
)")
        .arg(window.name(), t.text.name(), t.secondaryText.name(), t.danger.name(), t.card.name(),
             rgba(t.cardEdge), rgba(button), rgba(t.hover), rgba(pressed))
        .arg(rgba(disabledText), t.accent.name(), onAccent.name(), t.accent.lighter(112).name(),
             rgba(QColor(t.accent.red(), t.accent.green(), t.accent.blue(), 110)));
}

QWidget* segmented(const QStringList& labels, QButtonGroup& group, QWidget* parent) {
    auto* strip = new QWidget(parent);
    strip->setProperty("role", QStringLiteral("segments"));
    strip->setAttribute(Qt::WA_StyledBackground);
    auto* layout = new QHBoxLayout(strip);
    layout->setContentsMargins(3, 3, 3, 3);
    layout->setSpacing(2);
    group.setExclusive(true);
    for (int i = 0; i < labels.size(); ++i) {
        auto* button = new QPushButton(labels[i], strip);
        button->setProperty("role", QStringLiteral("segment"));
        button->setCheckable(true);
        button->setChecked(i == 0);
        group.addButton(button, i);
        layout->addWidget(button);
    }
    return strip;
}

QIcon symbolIcon(const QString& symbol, const QColor& color) {
    QPixmap pixmap(iconPixels, iconPixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    SymbolIcons::draw(painter, symbol, QRectF(0, 0, iconPixels, iconPixels), color);
    painter.end();
    pixmap.setDevicePixelRatio(double(iconPixels) / iconPoints);
    return QIcon(pixmap);
}

QPushButton* symbolButton(const QString& symbol, const QString& toolTip, const Theme& theme,
                          QWidget* parent) {
    auto* button = new QPushButton(parent);
    button->setProperty("role", QStringLiteral("symbol"));
    button->setIcon(symbolIcon(symbol, theme.text));
    button->setIconSize(QSize(iconPoints, iconPoints));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    return button;
}

} // namespace tramix::EditorChrome
