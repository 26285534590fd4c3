#include "BackdropEditorView.h"

#include "Design/StatusGlyphs.h"
#include "EditorChrome.h"
#include "Settings/UILanguage.h"

#include <QEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QShortcut>
#include <QSlider>
#include <QStyle>
#include <QVBoxLayout>
#include <cmath>

namespace tramix {

namespace {

// Slider steps per unit of the style's fractions.
constexpr int steps = 1000;
constexpr double mostPadding = 0.3;
constexpr double mostCornerRadius = 0.2;
constexpr double mostShadow = 1;
constexpr int swatchSize = 30;
constexpr int swatchColumns = 5;
constexpr int sidePanelWidth = 268;

QString text(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

QColor qColor(const RGBA& colour) {
    return QColor::fromRgbF(float(colour.r), float(colour.g), float(colour.b), float(colour.a));
}

// Grey and white squares: what shows where the result is transparent.
void paintChecks(QPainter& painter, const QRectF& area, bool dark) {
    constexpr qreal cell = 8;
    painter.save();
    painter.setClipRect(area);
    painter.fillRect(area, dark ? QColor(0x3a, 0x3a, 0x3e) : QColor(0xff, 0xff, 0xff));
    const QColor other = dark ? QColor(0x2e, 0x2e, 0x32) : QColor(0xe6, 0xe6, 0xea);
    for (qreal y = area.top(); y < area.bottom(); y += cell) {
        for (qreal x = area.left(); x < area.right(); x += cell) {
            if (int((x - area.left()) / cell + (y - area.top()) / cell) % 2)
                painter.fillRect(QRectF(x, y, cell, cell), other);
        }
    }
    painter.restore();
}

// The English names of the presets, by id; the German ones are the presets' own.
QString presetName(const GradientPreset& preset) {
    static const QHash<QString, QString> english = {
        {"sunrise", "Sunrise"}, {"meadow", "Meadow"},     {"sky", "Summer sky"},
        {"peach", "Peach"},     {"lavender", "Lavender"}, {"mint", "Mint"},
        {"dusk", "Dusk"},       {"graphite", "Graphite"}};
    return UILanguage::text(preset.name, english.value(preset.id, preset.name));
}

QString fillName(const BackdropStyle::Fill& fill) {
    if (const auto* preset = std::get_if<GradientPreset>(&fill))
        return presetName(*preset);
    if (const auto* colour = std::get_if<RGBA>(&fill))
        return text("Farbe %1", "Colour %1").arg(qColor(*colour).name().toUpper());
    return text("Ohne Hintergrund", "No background");
}

QIcon swatchIcon(const BackdropStyle::Fill& fill, bool dark) {
    constexpr int scale = 2;
    QPixmap pixmap(swatchSize * scale, swatchSize * scale);
    pixmap.fill(Qt::transparent);
    pixmap.setDevicePixelRatio(scale);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box(1, 1, swatchSize - 2, swatchSize - 2);
    QPainterPath circle;
    circle.addEllipse(box);
    painter.setClipPath(circle);
    if (const auto* preset = std::get_if<GradientPreset>(&fill)) {
        const double theta = preset->angle * M_PI / 180;
        const QPointF centre = box.center();
        const QPointF along(std::cos(theta) * box.width() / 2, std::sin(theta) * box.height() / 2);
        QLinearGradient gradient(centre - along, centre + along);
        for (qsizetype i = 0; i < preset->colors.size(); ++i)
            gradient.setColorAt(double(i) / std::max<qsizetype>(preset->colors.size() - 1, 1),
                                qColor(preset->colors[i]));
        painter.fillRect(box, gradient);
    } else if (const auto* colour = std::get_if<RGBA>(&fill)) {
        painter.fillRect(box, qColor(*colour));
    } else {
        paintChecks(painter, box, dark);
        painter.setClipping(false);
        painter.setPen(QPen(QColor(0xd9, 0x3b, 0x30), 2));
        painter.drawLine(QPointF(box.left() + 6, box.bottom() - 6),
                         QPointF(box.right() - 6, box.top() + 6));
    }
    painter.setClipping(false);
    painter.setPen(QPen(dark ? QColor(255, 255, 255, 60) : QColor(0, 0, 0, 40), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(box);
    return QIcon(pixmap);
}

} // namespace

// The preview: the rendered image fitted to the widget over checks, a spinner while loading.
class PreviewArea : public QWidget {
public:
    explicit PreviewArea(BackdropModel& model, QWidget* parent)
        : QWidget(parent)
        , model_(model) {
        setMinimumSize(320, 240);
        connect(&model_, &BackdropModel::changed, this, qOverload<>(&QWidget::update));
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        const bool dark = dark_;
        const Theme theme = Theme::of(dark);
        const QImage& image = model_.preview();
        if (image.isNull()) {
            if (model_.loading() || !model_.error())
                StatusGlyphs::spinner(painter,
                                      QRectF(rect().center() - QPointF(14, 14), QSizeF(28, 28)),
                                      theme.accent, 0.1);
            return;
        }
        const QRectF area = QRectF(rect()).adjusted(8, 8, -8, -8);
        const QSizeF fitted = QSizeF(image.size()).scaled(area.size(), Qt::KeepAspectRatio);
        const QRectF target(area.center() - QPointF(fitted.width(), fitted.height()) / 2, fitted);
        paintChecks(painter, target, dark);
        painter.drawImage(target, image);
        painter.setPen(QPen(theme.cardEdge, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(target.adjusted(-0.5, -0.5, 0.5, 0.5));
    }

public:
    void setDark(bool dark) {
        dark_ = dark;
        update();
    }

private:
    BackdropModel& model_;
    bool dark_ = false;
};

namespace {

// A round colour swatch: a ring in the accent colour when chosen, a fainter one with focus.
class Swatch : public QAbstractButton {
public:
    explicit Swatch(QWidget* parent)
        : QAbstractButton(parent) {
        setCheckable(true);
        setFocusPolicy(Qt::StrongFocus);
        setFixedSize(swatchSize + 10, swatchSize + 10);
        setCursor(Qt::PointingHandCursor);
    }
    void setLook(const QIcon& icon, const Theme& theme) {
        setIcon(icon);
        ring_ = theme.accent;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF box = QRectF(rect()).adjusted(5, 5, -5, -5);
        icon().paint(&painter, box.toAlignedRect());
        QColor ring = ring_;
        if (!isChecked())
            ring.setAlpha(hasFocus() ? 110 : underMouse() ? 60 : 0);
        if (ring.alpha() > 0) {
            painter.setPen(QPen(ring, 2.5));
            painter.setBrush(Qt::NoBrush);
            painter.drawEllipse(QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5));
        }
    }
    void enterEvent(QEnterEvent*) override { update(); }
    void leaveEvent(QEvent*) override { update(); }

private:
    QColor ring_;
};

} // namespace

QList<BackdropStyle::Fill> BackdropEditorView::fills() {
    QList<BackdropStyle::Fill> fills;
    for (const GradientPreset& preset : GradientPreset::all())
        fills.append(preset);
    for (const quint32 colour : {0xFFFFFFu, 0xF2F2F7u, 0x1C1C1Eu, 0x4F6CF0u})
        fills.append(RGBA::hex(colour));
    fills.append(std::monostate{});
    return fills;
}

QList<std::optional<double>> BackdropEditorView::aspects() {
    return {std::nullopt, 1.0, 4.0 / 3, 16.0 / 9, 9.0 / 16};
}

QSlider* BackdropEditorView::slider(int most, const QString& name) {
    auto* slider = new QSlider(Qt::Horizontal, this);
    slider->setRange(0, most);
    slider->setSingleStep(most / 50);
    slider->setPageStep(most / 10);
    slider->setAccessibleName(name);
    return slider;
}

BackdropEditorView::BackdropEditorView(BackdropModel& model, std::optional<bool> dark,
                                       QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , preview_(new PreviewArea(model, this))
    , padding_(slider(int(mostPadding * steps), text("Rand", "Margin")))
    , corners_(slider(int(mostCornerRadius * steps), text("Ecken", "Corners")))
    , shadow_(slider(int(mostShadow * steps), text("Schatten", "Shadow")))
    , name_(new QLabel(this))
    , progress_(new QLabel(this))
    , error_(new QLabel(this))
    , skip_(new QPushButton(text("Überspringen", "Skip"), this))
    , cancel_(new QPushButton(text("Abbrechen", "Cancel"), this))
    , all_(new QPushButton(text("Auf alle anwenden", "Apply to all"), this))
    , save_(new QPushButton(text("Speichern", "Save"), this)) {
    setObjectName(QStringLiteral("editor"));
    setAttribute(Qt::WA_StyledBackground);
    name_->setProperty("role", QStringLiteral("title"));
    progress_->setProperty("role", QStringLiteral("secondary"));
    error_->setProperty("role", QStringLiteral("error"));
    error_->setWordWrap(true);
    save_->setProperty("role", QStringLiteral("primary"));
    save_->setDefault(true);
    save_->setToolTip(text("Dieses Bild speichern (Eingabetaste)", "Save this image (Enter)"));
    all_->setToolTip(text("Alle übrigen Bilder mit diesem Stil speichern (Strg+Eingabetaste)",
                          "Save all remaining images with this style (Ctrl+Enter)"));
    skip_->setToolTip(text("Dieses Bild auslassen (Strg+→)", "Leave this image out (Ctrl+→)"));
    cancel_->setToolTip(text("Schließen, ohne zu speichern (Esc)", "Close without saving (Esc)"));

    auto* panel = new QWidget(this);
    panel->setProperty("role", QStringLiteral("panel"));
    panel->setAttribute(Qt::WA_StyledBackground);
    panel->setFixedWidth(sidePanelWidth);
    auto* side = new QVBoxLayout(panel);
    side->setContentsMargins(16, 14, 16, 16);
    side->setSpacing(8);
    const auto caption = [this, side](const QString& label) {
        auto* title = new QLabel(label.toUpper(), this);
        title->setProperty("role", QStringLiteral("caption"));
        captions_.append(title);
        side->addSpacing(captions_.size() > 1 ? 8 : 0);
        side->addWidget(title);
    };
    caption(text("Hintergrund", "Background"));
    auto* grid = new QGridLayout;
    grid->setSpacing(6);
    const QList<BackdropStyle::Fill> all = fills();
    for (int i = 0; i < all.size(); ++i) {
        auto* swatch = new Swatch(panel);
        swatch->setToolTip(i < GradientPreset::all().size()
                               ? QStringLiteral("%1 (%2)").arg(fillName(all[i])).arg(i + 1)
                               : fillName(all[i]));
        swatch->setAccessibleName(fillName(all[i]));
        swatches_.addButton(swatch, i);
        grid->addWidget(swatch, i / swatchColumns, i % swatchColumns);
    }
    side->addLayout(grid);
    caption(text("Rand", "Margin"));
    side->addWidget(padding_);
    caption(text("Ecken", "Corners"));
    side->addWidget(corners_);
    caption(text("Schatten", "Shadow"));
    side->addWidget(shadow_);
    caption(text("Format", "Format"));
    side->addWidget(
        EditorChrome::segmented({text("Frei", "Free"), QStringLiteral("1:1"), QStringLiteral("4:3"),
                                 QStringLiteral("16:9"), QStringLiteral("9:16")},
                                formats_, panel));
    side->addStretch(1);

    auto* header = new QHBoxLayout;
    header->addWidget(name_, 1);
    header->addWidget(progress_);
    auto* left = new QVBoxLayout;
    left->setSpacing(10);
    left->addLayout(header);
    left->addWidget(preview_, 1);
    auto* body = new QHBoxLayout;
    body->setSpacing(16);
    body->addLayout(left, 1);
    body->addWidget(panel);
    auto* footer = new QHBoxLayout;
    footer->addWidget(error_, 1);
    footer->addWidget(skip_);
    footer->addWidget(cancel_);
    footer->addWidget(all_);
    footer->addWidget(save_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 14, 18, 16);
    layout->setSpacing(12);
    layout->addLayout(body, 1);
    layout->addLayout(footer);

    connect(&swatches_, &QButtonGroup::idClicked, this, [this](int id) {
        choose([id](BackdropStyle& style) { style.fill = fills().at(id); });
    });
    connect(&formats_, &QButtonGroup::idClicked, this, [this](int id) {
        choose([id](BackdropStyle& style) { style.aspect = aspects().at(id); });
    });
    connect(padding_, &QSlider::valueChanged, this, [this](int value) {
        choose([value](BackdropStyle& style) { style.padding = double(value) / steps; });
    });
    connect(corners_, &QSlider::valueChanged, this, [this](int value) {
        choose([value](BackdropStyle& style) { style.cornerRadius = double(value) / steps; });
    });
    connect(shadow_, &QSlider::valueChanged, this, [this](int value) {
        choose([value](BackdropStyle& style) { style.shadow = double(value) / steps; });
    });
    connect(skip_, &QPushButton::clicked, this, [this] { model_.next(); });
    connect(cancel_, &QPushButton::clicked, this, &BackdropEditorView::cancelled);
    connect(all_, &QPushButton::clicked, this, [this] { model_.saveAll(); });
    connect(save_, &QPushButton::clicked, this, [this] { model_.save(); });
    // Keys act like a click on their button, so they do nothing while it is disabled.
    const auto key = [this](QKeySequence keys, QAbstractButton* button) {
        connect(new QShortcut(keys, this), &QShortcut::activated, button, &QAbstractButton::click);
    };
    key(QKeySequence(Qt::Key_Return), save_);
    key(QKeySequence(Qt::Key_Enter), save_);
    key(QKeySequence(Qt::CTRL | Qt::Key_Return), all_);
    key(QKeySequence(Qt::CTRL | Qt::Key_Enter), all_);
    key(QKeySequence(Qt::CTRL | Qt::Key_Right), skip_);
    for (int i = 0; i < int(GradientPreset::all().size()); ++i)
        key(QKeySequence(Qt::Key_1 + i), swatches_.button(i));
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
            &BackdropEditorView::cancelled);
    connect(&model_, &BackdropModel::changed, this, &BackdropEditorView::refresh);
    fixedScheme_ = dark.has_value();
    applyTheme(dark.value_or(Theme::isDark(QGuiApplication::palette())));
    refresh();
}

void BackdropEditorView::choose(const std::function<void(BackdropStyle&)>& change) {
    BackdropStyle style = model_.style();
    change(style);
    model_.setStyle(style);
}

void BackdropEditorView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && !fixedScheme_)
        applyTheme(Theme::isDark(QGuiApplication::palette()));
    QWidget::changeEvent(event);
}

void BackdropEditorView::applyTheme(bool dark) {
    const Theme theme = Theme::of(dark);
    preview_->setDark(dark);
    setStyleSheet(EditorChrome::styleSheet(theme));
    const QList<BackdropStyle::Fill> all = fills();
    for (int i = 0; i < all.size(); ++i)
        static_cast<Swatch*>(swatches_.button(i))->setLook(swatchIcon(all[i], theme.dark), theme);
}

void BackdropEditorView::refresh() {
    const BackdropStyle& style = model_.style();
    const int fill = int(fills().indexOf(style.fill));
    if (fill >= 0 && swatches_.checkedId() != fill)
        swatches_.button(fill)->setChecked(true);
    const int format = int(aspects().indexOf(style.aspect));
    if (format >= 0 && formats_.checkedId() != format)
        formats_.button(format)->setChecked(true);
    for (const auto& [slider, value] :
         {std::pair{padding_, style.padding}, std::pair{corners_, style.cornerRadius},
          std::pair{shadow_, style.shadow}}) {
        const QSignalBlocker quiet(slider);
        slider->setValue(int(std::lround(value * steps)));
    }
    const bool open = !model_.finished();
    name_->setText(open ? QFileInfo(model_.urls().value(model_.index())).fileName() : QString());
    progress_->setText(model_.progress().value_or(QString()));
    progress_->setVisible(model_.progress().has_value());
    if (model_.saving())
        error_->setProperty("role", QStringLiteral("secondary"));
    else
        error_->setProperty("role", QStringLiteral("error"));
    error_->style()->unpolish(error_);
    error_->style()->polish(error_);
    error_->setText(model_.saving() ? text("Wird gespeichert …", "Saving …")
                                    : model_.error().value_or(QString()));
    const bool ready = open && !model_.saving() && !model_.loading();
    save_->setEnabled(ready && !model_.preview().isNull());
    const bool several = model_.urls().size() - model_.index() > 1;
    all_->setVisible(model_.urls().size() > 1);
    all_->setEnabled(ready && several);
    skip_->setVisible(model_.urls().size() > 1);
    skip_->setEnabled(open && !model_.saving());
}

} // namespace tramix
