#include "SettingsView.h"

#include "ActionButton.h"
#include "Design/AppIcon.h"
#include "LevelSlider.h"
#include "PermissionCard.h"
#include "PreferenceGroup.h"
#include "SegmentedControl.h"
#include "Settings/AppSettings.h"
#include "ThemedLabel.h"
#include "ToggleSwitch.h"
#include "WindowPlace.h"

#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPainter>
#include <QShortcut>
#include <QVBoxLayout>
#include <cmath>

namespace tramix {

namespace {

constexpr int windowWidth = 620;
constexpr int margin = 24;
constexpr int qualityMinimum = 10; // percent; below it no result is worth having
constexpr int qualityMaximum = 100;
constexpr int folderTextWidth = 360;
const QString geometryName = QStringLiteral("settings");

QString pick(bool german, const char* de, const char* en) {
    return QString::fromUtf8(german ? de : en);
}

QString wheelDetail(WheelMode mode, bool german) {
    switch (mode) {
    case WheelMode::convert:
        return pick(german, "In ein anderes Format umwandeln", "Convert into another format");
    case WheelMode::tools:
        return pick(german, "Verkleinern, Text erkennen …", "Shrink, recognize text …");
    case WheelMode::actions:
        return pick(german, "Teilen, kopieren, packen …", "Share, copy, pack …");
    }
    return {};
}

QString percent(int value, bool german) {
    return german ? QStringLiteral("%1 %").arg(value) : QStringLiteral("%1%").arg(value);
}

QString activationDetail(WheelActivation activation, bool german) {
    return activation == WheelActivation::toggle
               ? pick(german, "Einmal antippen: Das Rad bleibt offen, bis du die Datei loslässt.",
                      "Tap once: the wheel stays open until you let go of the file.")
               : pick(german, "Das Rad ist offen, solange du die Taste hältst.",
                      "The wheel is open while you hold the key.");
}

} // namespace

SettingsView::SettingsView(AppSettings& settings, Permissions& permissions, bool german,
                           QWidget* parent)
    : QWidget(parent, Qt::Window)
    , settings_(settings)
    , permissions_(permissions)
    , german_(german) {
    chooseFolder = [this](const QString& start) -> std::optional<QString> {
        const QString folder = QFileDialog::getExistingDirectory(
            this, pick(german_, "Ordner für die Ergebnisse", "Folder for the results"), start,
            QFileDialog::ShowDirsOnly);
        return folder.isEmpty() ? std::nullopt : std::optional<QString>(folder);
    };
    setWindowTitle(title(german));
    setAccessibleName(title(german));
    build();
    for (auto signal : {&AppSettings::keysChanged, &AppSettings::activationChanged,
                        &AppSettings::writeNextToOriginalChanged, &AppSettings::outputFolderChanged,
                        &AppSettings::qualityChanged, &AppSettings::playSoundChanged,
                        &AppSettings::appearanceChanged, &AppSettings::launchAtLoginChanged})
        connect(&settings_, signal, this, &SettingsView::sync);
    connect(&permissions_, &Permissions::changed, this, [this] {
        card_->setVisible(PermissionCard::level(permissions_.session()) !=
                          PermissionCard::Level::ready);
        fitHeight();
    });
    // The usual ways to close a window from the keyboard.
    for (const QKeySequence& keys :
         {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);
    sync();
    restyle();
    fitHeight();
}

// Quitting with the window open keeps its place, too.
SettingsView::~SettingsView() {
    if (isVisible())
        settings_.setWindowGeometry(geometryName, saveGeometry());
}

QString SettingsView::title(bool german) {
    return pick(german, "Tramix – Einstellungen", "Tramix – Settings");
}

const std::array<ModifierKey, 4>& SettingsView::keyOrder() {
    static const std::array<ModifierKey, 4> order = {ModifierKey::shift, ModifierKey::control,
                                                     ModifierKey::option, ModifierKey::command};
    return order;
}

void SettingsView::build() {
    setFixedWidth(windowWidth);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(18);

    // The header: the mark, the title and what the window is for.
    auto* header = new QHBoxLayout;
    header->setSpacing(14);
    auto* icon = new QLabel(this);
    // Drawn for the finest screen it may meet, so it stays sharp on every one.
    icon->setPixmap(appIcon().pixmap(QSize(44, 44), 2.0));
    icon->setFixedSize(44, 44);
    header->addWidget(icon, 0, Qt::AlignTop);
    auto* headings = new QVBoxLayout;
    headings->setSpacing(2);
    headings->addWidget(new ThemedLabel(pick(german_, "Einstellungen", "Settings"),
                                        ThemedLabel::Role::display, this));
    headings->addWidget(new ThemedLabel(
        pick(german_,
             "Welche Taste welches Rad öffnet, wohin die Ergebnisse gehen und wie Tramix "
             "aussieht.",
             "Which key opens which wheel, where results go and how Tramix looks."),
        ThemedLabel::Role::lead, this));
    header->addLayout(headings, 1);
    layout->addLayout(header);

    card_ = new PermissionCard(permissions_, true, german_, this);
    card_->setVisible(PermissionCard::level(permissions_.session()) !=
                      PermissionCard::Level::ready);
    layout->addWidget(card_);

    // The wheel: how it opens, and the key of each of the three.
    auto* wheel = new PreferenceGroup(pick(german_, "Rad", "Wheel"), this);
    activation_ = new SegmentedControl(
        {pick(german_, "Antippen", "Tap"), pick(german_, "Halten", "Hold")}, this);
    activation_->setSelectionFollowsFocus(true);
    activation_->setAccessibleName(pick(german_, "Rad öffnen durch", "Wheel opens by"));
    activationDetail_ = wheel
                            ->addRow(pick(german_, "Öffnen durch", "Opens by"),
                                     activationDetail(settings_.activation(), german_), activation_)
                            .detail;
    connect(activation_, &SegmentedControl::chosen, this, [this](int index) {
        settings_.setActivation(index == 0 ? WheelActivation::toggle : WheelActivation::hold);
    });
    QStringList keyNames;
    for (ModifierKey key : keyOrder())
        keyNames.append(key.name(german_));
    for (WheelMode mode : WheelMode::allCases()) {
        auto* choice = new SegmentedControl(keyNames, this);
        const QString wheelName = mode.title(german_ ? Language::german : Language::english);
        choice->setAccessibleName(
            (german_ ? QStringLiteral("Taste für %1") : QStringLiteral("Key for %1"))
                .arg(wheelName));
        wheel->addRow(wheelName, wheelDetail(mode, german_), choice);
        // The setting keeps keys unique by swapping; the other row follows through `sync`.
        connect(choice, &SegmentedControl::chosen, this, [this, mode](int index) {
            settings_.assign(keyOrder()[std::size_t(index)], mode);
        });
        keys_.emplace(mode, choice);
    }
    wheel->setFooter(pick(german_,
                          "Jede Taste öffnet ein Rad. Wählst du eine, die schon ein anderes Rad "
                          "öffnet, tauschen die beiden ihre Tasten.",
                          "Each key opens one wheel. Choose a key that another wheel has, and "
                          "the two swap their keys."));
    layout->addWidget(wheel);

    // Where the results go and how good they are.
    auto* results = new PreferenceGroup(pick(german_, "Ergebnisse", "Results"), this);
    destination_ =
        new SegmentedControl({pick(german_, "Neben dem Original", "Next to the original"),
                              pick(german_, "In einem Ordner", "In a folder")},
                             this);
    destination_->setAccessibleName(pick(german_, "Ergebnisse speichern", "Save results"));
    results->addRow(pick(german_, "Speichern", "Save"),
                    pick(german_, "Nichts wird überschrieben: Ein belegter Name bekommt eine Zahl.",
                         "Nothing is overwritten: a name in use gets a number."),
                    destination_);
    connect(destination_, &SegmentedControl::chosen, this, &SettingsView::chooseWhereResultsGo);

    auto* folderLine = new QWidget(this);
    auto* folderLayout = new QHBoxLayout(folderLine);
    folderLayout->setContentsMargins(0, 0, 0, 0);
    folderLayout->setSpacing(12);
    auto* folderTexts = new QVBoxLayout;
    folderTexts->setSpacing(2);
    folderTexts->addWidget(
        new ThemedLabel(pick(german_, "Ordner", "Folder"), ThemedLabel::Role::title, folderLine));
    folder_ = new ThemedLabel({}, ThemedLabel::Role::secondary, folderLine);
    folder_->setWordWrap(false);
    folder_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    folderTexts->addWidget(folder_);
    folderLayout->addLayout(folderTexts, 1);
    changeFolder_ = new ActionButton(pick(german_, "Ändern …", "Change …"),
                                     ActionButton::Kind::secondary, folderLine);
    changeFolder_->setAccessibleName(
        pick(german_, "Ordner für die Ergebnisse wählen", "Choose the folder for the results"));
    connect(changeFolder_, &QPushButton::clicked, this, &SettingsView::changeFolder);
    folderLayout->addWidget(changeFolder_, 0, Qt::AlignVCenter);
    folderRow_ = results->addRow(folderLine);

    auto* qualityControl = new QWidget(this);
    auto* qualityLayout = new QHBoxLayout(qualityControl);
    qualityLayout->setContentsMargins(0, 0, 0, 0);
    qualityLayout->setSpacing(10);
    quality_ = new LevelSlider(qualityControl);
    quality_->setRange(qualityMinimum, qualityMaximum);
    quality_->setSingleStep(1);
    quality_->setPageStep(10);
    quality_->setFixedWidth(150);
    quality_->setAccessibleName(pick(german_, "Qualität", "Quality"));
    qualityValue_ = new ThemedLabel({}, ThemedLabel::Role::title, qualityControl);
    qualityValue_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    qualityValue_->setFixedWidth(44);
    qualityLayout->addWidget(quality_);
    qualityLayout->addWidget(qualityValue_);
    results->addRow(pick(german_, "Qualität", "Quality"),
                    pick(german_, "Für JPG, WEBP, HEIC und AVIF: weniger gibt kleinere Dateien.",
                         "For JPG, WEBP, HEIC and AVIF: less gives smaller files."),
                    qualityControl);
    quality_->setAccessibleDescription(
        pick(german_, "Für JPG, WEBP, HEIC und AVIF", "For JPG, WEBP, HEIC and AVIF"));
    connect(quality_, &QSlider::valueChanged, this, [this](int value) {
        qualityValue_->setText(percent(value, german_));
        // The stored quality changes only when the user moves the slider, never by rounding.
        if (std::lround(settings_.quality() * 100) != value)
            settings_.setQuality(value / 100.0);
    });
    layout->addWidget(results);

    // Everything else.
    auto* general = new PreferenceGroup(pick(german_, "Allgemein", "General"), this);
    appearance_ =
        new SegmentedControl({pick(german_, "System", "System"), pick(german_, "Hell", "Light"),
                              pick(german_, "Dunkel", "Dark")},
                             this);
    appearance_->setSelectionFollowsFocus(true);
    general->addRow(pick(german_, "Erscheinungsbild", "Appearance"), {}, appearance_);
    connect(appearance_, &SegmentedControl::chosen, this, [this](int index) {
        settings_.setAppearance(AppearanceMode::allCases()[std::size_t(index)]);
    });
    sound_ = new ToggleSwitch(this);
    general->addRow(
        pick(german_, "Ton, wenn etwas fertig ist", "Sound when a job is done"),
        pick(german_, "Der Klang „Fertig“ deines Desktops.", "Your desktop's “complete” sound."),
        sound_);
    connect(sound_, &QAbstractButton::toggled, this,
            [this](bool on) { settings_.setPlaySound(on); });
    login_ = new ToggleSwitch(this);
    general->addRow(pick(german_, "Bei der Anmeldung starten", "Start at login"),
                    pick(german_, "Tramix wartet dann gleich nach der Anmeldung in der Leiste.",
                         "Tramix then waits in the panel right after you log in."),
                    login_);
    connect(login_, &QAbstractButton::toggled, this,
            [this](bool on) { settings_.setLaunchAtLogin(on); });
    layout->addWidget(general);
}

// The width is fixed; the height is what the rows need at it, and follows a row shown or hidden.
void SettingsView::fitHeight() {
    // The layouts keep the sizes they measured; a row that came or went makes them stale.
    for (QWidget* child : findChildren<QWidget*>())
        child->updateGeometry();
    layout()->activate();
    setFixedHeight(layout()->totalHeightForWidth(windowWidth));
}

// Shows what the settings hold now; signals from here back to the settings change nothing, as
// the values already agree.
void SettingsView::sync() {
    activation_->setCurrent(settings_.activation() == WheelActivation::toggle ? 0 : 1);
    activationDetail_->setText(activationDetail(settings_.activation(), german_));
    for (const auto& [mode, control] : keys_) {
        const auto key = settings_.keys().find(mode);
        std::optional<int> index;
        if (key != settings_.keys().end())
            for (std::size_t i = 0; i < keyOrder().size(); ++i)
                if (keyOrder()[i] == key->second)
                    index = int(i);
        control->setCurrent(index);
    }
    const bool nextToOriginal = settings_.writeNextToOriginal() || !settings_.outputFolder();
    destination_->setCurrent(nextToOriginal ? 0 : 1);
    if (folderRow_->isVisibleTo(this) == nextToOriginal) {
        folderRow_->setVisible(!nextToOriginal);
        fitHeight();
    }
    const QString folder = settings_.outputFolder().value_or(QString());
    folder_->setText(
        QFontMetrics(folder_->font())
            .elidedText(QDir::toNativeSeparators(folder), Qt::ElideMiddle, folderTextWidth));
    folder_->setToolTip(folder);
    const int percentValue = int(std::lround(settings_.quality() * 100));
    {
        const QSignalBlocker quiet(quality_);
        quality_->setValue(percentValue);
    }
    qualityValue_->setText(percent(percentValue, german_));
    appearance_->setCurrent(int(settings_.appearance()));
    {
        const QSignalBlocker quiet(sound_);
        sound_->setChecked(settings_.playSound());
    }
    {
        const QSignalBlocker quiet(login_);
        login_->setChecked(settings_.launchAtLogin());
    }
}

void SettingsView::chooseWhereResultsGo(int index) {
    if (index == 0) {
        settings_.setWriteNextToOriginal(true);
        return;
    }
    if (!settings_.outputFolder())
        changeFolder();
    if (settings_.outputFolder())
        settings_.setWriteNextToOriginal(false);
    // A cancelled choice leaves the results where they were.
    sync();
}

void SettingsView::changeFolder() {
    const QString start = settings_.outputFolder().value_or(QDir::homePath());
    const std::optional<QString> folder = chooseFolder ? chooseFolder(start) : std::nullopt;
    // The keys come back here, where they were, even where no window manager hands them back.
    if (isVisible())
        activateWindow();
    if (folder)
        settings_.setOutputFolder(QDir::cleanPath(*folder));
}

void SettingsView::present() {
    WindowPlace::present(this, settings_.windowGeometry(geometryName));
    if (!focusWidget())
        activation_->setFocus(Qt::ActiveWindowFocusReason);
}

void SettingsView::hideEvent(QHideEvent* event) {
    settings_.setWindowGeometry(geometryName, saveGeometry());
    QWidget::hideEvent(event);
}

void SettingsView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange)
        restyle();
    QWidget::changeEvent(event);
}

void SettingsView::restyle() {
    ThemedLabel::restyleAll(this, Theme::of(Theme::isDark(palette())));
    update();
}

void SettingsView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Theme::of(Theme::isDark(palette())).card);
}

} // namespace tramix
