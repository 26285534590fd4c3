#include "WelcomeView.h"

#include "ActionButton.h"
#include "DemoWheel.h"
#include "KeyLegend.h"
#include "PermissionCard.h"
#include "Settings/AppSettings.h"
#include "ThemedLabel.h"
#include "WindowPlace.h"

#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QPainter>
#include <QShortcut>
#include <QVBoxLayout>

namespace tramix {

namespace {

constexpr int stageWidth = 356;
constexpr int columnWidth = 500;
constexpr int margin = 32;
constexpr int badgeSize = 24;

QString pick(bool german, const char* de, const char* en) {
    return QString::fromUtf8(german ? de : en);
}

// The number of a step in an accent-coloured circle.
class StepBadge : public QWidget {
public:
    StepBadge(int number, QWidget* parent)
        : QWidget(parent)
        , number_(number) {
        setFixedSize(badgeSize, badgeSize);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const Theme theme = Theme::of(Theme::isDark(palette()));
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.accent);
        painter.drawEllipse(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
        painter.setPen(Qt::white);
        painter.setFont(Theme::font(9, QFont::Bold));
        painter.drawText(rect(), Qt::AlignCenter, QString::number(number_));
    }

private:
    int number_;
};

// The soft backdrop the demo wheel stands on.
class Stage : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const Theme theme = Theme::of(Theme::isDark(palette()));
        QLinearGradient wash(0, 0, 0, height());
        QColor top = theme.accent;
        top.setAlpha(theme.dark ? 46 : 30);
        QColor bottom = theme.accent;
        bottom.setAlpha(theme.dark ? 14 : 8);
        wash.setColorAt(0, top);
        wash.setColorAt(1, bottom);
        painter.fillRect(rect(), theme.card);
        painter.fillRect(rect(), wash);
        QRadialGradient glow(QPointF(width() / 2.0, height() * 0.42), width() * 0.55);
        QColor light = theme.dark ? QColor(255, 255, 255, 14) : QColor(255, 255, 255, 150);
        glow.setColorAt(0, light);
        light.setAlpha(0);
        glow.setColorAt(1, light);
        painter.fillRect(rect(), glow);
        painter.setPen(QPen(theme.cardEdge, 1));
        painter.drawLine(QPointF(width() - 0.5, 0), QPointF(width() - 0.5, height()));
    }
};

} // namespace

WelcomeView::WelcomeView(AppSettings& settings, Permissions& permissions, bool german,
                         QWidget* parent)
    : QWidget(parent, Qt::Window)
    , settings_(settings)
    , permissions_(permissions)
    , german_(german) {
    setWindowTitle(title(german));
    setAccessibleName(title(german));
    build();
    for (auto signal :
         {&AppSettings::keysChanged, &AppSettings::activationChanged,
          &AppSettings::writeNextToOriginalChanged, &AppSettings::outputFolderChanged})
        connect(&settings_, signal, this, &WelcomeView::sync);
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
            &QWidget::close);
    sync();
    restyle();
    layout()->activate();
    setFixedHeight(layout()->totalHeightForWidth(stageWidth + columnWidth));
}

QString WelcomeView::title(bool german) {
    return pick(german, "Willkommen bei Tramix", "Welcome to Tramix");
}

void WelcomeView::build() {
    auto* root = new QHBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);

    stage_ = new Stage(this);
    stage_->setFixedWidth(stageWidth);
    auto* stageLayout = new QVBoxLayout(stage_);
    stageLayout->setContentsMargins(24, 24, 24, 28);
    stageLayout->addStretch(1);
    const auto convertKey = settings_.keys().find(WheelMode::convert);
    demo_ = new DemoWheel(convertKey == settings_.keys().end() ? ModifierKey(ModifierKey::shift)
                                                               : convertKey->second,
                          german_, stage_);
    demo_->setAccessibleName(pick(german_, "Beispiel: das Rad der Formate für ein Foto",
                                  "Example: the formats wheel for a photo"));
    stageLayout->addWidget(demo_, 0, Qt::AlignHCenter);
    stageLayout->addStretch(1);
    auto* caption = new ThemedLabel(
        pick(german_,
             "Vorschau: So öffnet sich das Rad um den Mauszeiger, wenn du eine Datei "
             "ziehst.",
             "Preview: this is how the wheel opens around the pointer while you drag a file."),
        ThemedLabel::Role::secondary, stage_);
    caption->setAlignment(Qt::AlignHCenter);
    stageLayout->addWidget(caption);
    root->addWidget(stage_);

    auto* column = new QWidget(this);
    column->setFixedWidth(columnWidth);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(margin, margin, margin, 24);
    layout->setSpacing(6);
    layout->addWidget(new ThemedLabel(title(german_), ThemedLabel::Role::display, column));
    layout->addWidget(new ThemedLabel(
        pick(german_,
             "Dateien umwandeln, während du sie ziehst – lokal auf deinem Rechner, ohne Upload.",
             "Convert files while you drag them – locally on your computer, with no upload."),
        ThemedLabel::Role::lead, column));
    layout->addSpacing(18);

    const auto addStep = [&](int number, const QString& heading, ThemedLabel* text,
                             QWidget* extra) {
        auto* step = new QWidget(column);
        auto* line = new QHBoxLayout(step);
        line->setContentsMargins(0, 0, 0, 0);
        line->setSpacing(12);
        line->addWidget(new StepBadge(number, step), 0, Qt::AlignTop);
        auto* texts = new QVBoxLayout;
        texts->setSpacing(3);
        auto* title = new ThemedLabel(heading, ThemedLabel::Role::title, step);
        texts->addWidget(title);
        text->setParent(step);
        texts->addWidget(text);
        if (extra) {
            texts->addSpacing(5);
            extra->setParent(step);
            texts->addWidget(extra);
        }
        line->addLayout(texts, 1);
        layout->addWidget(step);
        layout->addSpacing(12);
        return title;
    };
    addStep(1, pick(german_, "Datei ziehen", "Drag a file"),
            new ThemedLabel(pick(german_,
                                 "Aus dem Dateimanager, vom Schreibtisch oder aus einem anderen "
                                 "Programm.",
                                 "From the file manager, the desktop or any other program."),
                            ThemedLabel::Role::secondary, column),
            nullptr);
    keysStep_ = new ThemedLabel({}, ThemedLabel::Role::secondary, column);
    keysTitle_ = addStep(2, {}, keysStep_, new KeyLegend(settings_, german_, column));
    dropStep_ = new ThemedLabel({}, ThemedLabel::Role::secondary, column);
    addStep(3, pick(german_, "Auf ein Feld ziehen, loslassen", "Drop it on a field"), dropStep_,
            nullptr);

    layout->addSpacing(4);
    layout->addWidget(new PermissionCard(permissions_, false, german_, column));
    layout->addStretch(1);
    layout->addSpacing(20);

    auto* footer = new QHBoxLayout;
    footer->setSpacing(16);
    auto* hint = new ThemedLabel(pick(german_,
                                      "Diese Anleitung öffnet sich wieder über "
                                      "„Anleitung“ im Menü.",
                                      "This guide opens again from “Guide” in the menu."),
                                 ThemedLabel::Role::secondary, column);
    footer->addWidget(hint, 1, Qt::AlignVCenter);
    done_ = new ActionButton(pick(german_, "Los geht's", "Get started"),
                             ActionButton::Kind::primary, column);
    done_->setDefault(true);
    done_->setAutoDefault(true);
    connect(done_, &QPushButton::clicked, this, [this] {
        if (onDone)
            onDone();
    });
    footer->addWidget(done_, 0, Qt::AlignVCenter);
    layout->addLayout(footer);
    root->addWidget(column);
    setFixedWidth(stageWidth + columnWidth);
}

// The steps name the keys and the place of the results as the settings have them now.
void WelcomeView::sync() {
    const bool toggle = settings_.activation() == WheelActivation::toggle;
    keysTitle_->setText(toggle ? pick(german_, "Taste antippen", "Tap a key")
                               : pick(german_, "Taste halten", "Hold a key"));
    keysStep_->setText(toggle ? pick(german_,
                                     "Noch während du ziehst, öffnet ein kurzer Tipp auf eine "
                                     "dieser Tasten ihr Rad:",
                                     "While you drag, a short tap on one of these keys opens its "
                                     "wheel:")
                              : pick(german_,
                                     "Noch während du ziehst, öffnet jede dieser Tasten ihr Rad, "
                                     "solange du sie hältst:",
                                     "While you drag, each of these keys opens its wheel for as "
                                     "long as you hold it:"));
    const auto convertKey = settings_.keys().find(WheelMode::convert);
    if (convertKey != settings_.keys().end())
        demo_->setKey(convertKey->second);
    const std::optional<QString> folder =
        settings_.writeNextToOriginal() ? std::nullopt : settings_.outputFolder();
    dropStep_->setText(
        folder ? (german_ ? QStringLiteral("Das Ergebnis landet im Ordner „%1“; nichts wird "
                                           "überschrieben.")
                          : QStringLiteral("The result goes into the folder “%1”; nothing is "
                                           "overwritten."))
                     .arg(QFileInfo(*folder).fileName())
               : pick(german_, "Das Ergebnis liegt neben dem Original; nichts wird überschrieben.",
                      "The result lands next to the original; nothing is overwritten."));
}

void WelcomeView::present() {
    WindowPlace::present(this);
    done_->setFocus(Qt::ActiveWindowFocusReason);
}

void WelcomeView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange)
        restyle();
    QWidget::changeEvent(event);
}

void WelcomeView::restyle() {
    ThemedLabel::restyleAll(this, Theme::of(Theme::isDark(palette())));
    update();
}

void WelcomeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Theme::of(Theme::isDark(palette())).card);
}

} // namespace tramix
