#include "CropEditorView.h"

#include "CropCanvas.h"
#include "EditorChrome.h"
#include "Settings/UILanguage.h"

#include <QEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace tramix {

namespace {

QString tr2(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

} // namespace

CropEditorView::CropEditorView(CropModel& model, std::optional<bool> dark, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , canvas_(new CropCanvas(model, this))
    , name_(new QLabel(this))
    , progress_(new QLabel(this))
    , size_(new QLabel(this))
    , error_(new QLabel(this))
    , turnLeft_(new QPushButton(this))
    , turnRight_(new QPushButton(this))
    , skip_(new QPushButton(tr2("Überspringen", "Skip"), this))
    , cancel_(new QPushButton(tr2("Abbrechen", "Cancel"), this))
    , save_(new QPushButton(tr2("Speichern", "Save"), this)) {
    setObjectName(QStringLiteral("editor"));
    setAttribute(Qt::WA_StyledBackground);
    name_->setProperty("role", QStringLiteral("title"));
    progress_->setProperty("role", QStringLiteral("secondary"));
    size_->setProperty("role", QStringLiteral("secondary"));
    error_->setProperty("role", QStringLiteral("error"));
    error_->setWordWrap(true);
    save_->setProperty("role", QStringLiteral("primary"));
    save_->setDefault(true);
    for (QPushButton* turn : {turnLeft_, turnRight_})
        turn->setProperty("role", QStringLiteral("symbol"));
    turnLeft_->setToolTip(tr2("Nach links drehen (Umschalt+R)", "Rotate left (Shift+R)"));
    turnRight_->setToolTip(tr2("Nach rechts drehen (R)", "Rotate right (R)"));
    turnLeft_->setAccessibleName(tr2("Nach links drehen", "Rotate left"));
    turnRight_->setAccessibleName(tr2("Nach rechts drehen", "Rotate right"));
    save_->setToolTip(tr2("Speichern und weiter (Eingabetaste)", "Save and go on (Enter)"));
    cancel_->setToolTip(tr2("Schließen, ohne zu sichern (Esc)", "Close without saving (Esc)"));

    QStringList labels;
    for (CropAspect aspect : CropAspects::all())
        labels.append(CropAspects::label(aspect));
    QWidget* aspectStrip = EditorChrome::segmented(labels, aspects_, this);
    aspectStrip->setToolTip(tr2("Seitenverhältnis (Tasten 1 bis 7)", "Aspect ratio (keys 1 to 7)"));
    skip_->setToolTip(tr2("Dieses Bild auslassen (Strg+→)", "Leave this image out (Ctrl+→)"));

    auto* header = new QHBoxLayout;
    header->addWidget(name_, 1);
    header->addWidget(progress_);
    auto* controls = new QHBoxLayout;
    controls->addWidget(aspectStrip);
    controls->addStretch(1);
    controls->addWidget(turnLeft_);
    controls->addWidget(turnRight_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(size_);
    footer->addSpacing(12);
    footer->addWidget(error_, 1);
    footer->addWidget(skip_);
    footer->addWidget(cancel_);
    footer->addWidget(save_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 14, 18, 16);
    layout->setSpacing(10);
    layout->addLayout(header);
    layout->addWidget(canvas_, 1);
    layout->addLayout(controls);
    layout->addLayout(footer);

    connect(&aspects_, &QButtonGroup::idClicked, this,
            [this](int id) { model_.setAspect(CropAspects::all().at(id)); });
    connect(turnLeft_, &QPushButton::clicked, this, [this] { model_.turn(-1); });
    connect(turnRight_, &QPushButton::clicked, this, [this] { model_.turn(1); });
    connect(skip_, &QPushButton::clicked, this, [this] { model_.next(); });
    connect(cancel_, &QPushButton::clicked, this, &CropEditorView::cancelled);
    connect(save_, &QPushButton::clicked, this, [this] { model_.save(); });
    // Keys act like a click on their button, so they do nothing while it is disabled.
    const auto key = [this](QKeySequence keys, QAbstractButton* button) {
        connect(new QShortcut(keys, this), &QShortcut::activated, button, &QAbstractButton::click);
    };
    key(QKeySequence(Qt::Key_Return), save_);
    key(QKeySequence(Qt::Key_Enter), save_);
    key(QKeySequence(Qt::Key_R), turnRight_);
    key(QKeySequence(Qt::SHIFT | Qt::Key_R), turnLeft_);
    key(QKeySequence(Qt::CTRL | Qt::Key_Right), skip_);
    for (int i = 0; i < aspects_.buttons().size(); ++i)
        key(QKeySequence(Qt::Key_1 + i), aspects_.button(i));
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
            &CropEditorView::cancelled);
    connect(&model_, &CropModel::changed, this, &CropEditorView::refresh);
    fixedScheme_ = dark.has_value();
    applyTheme(dark.value_or(Theme::isDark(QGuiApplication::palette())));
    refresh();
}

void CropEditorView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && !fixedScheme_)
        applyTheme(Theme::isDark(QGuiApplication::palette()));
    QWidget::changeEvent(event);
}

void CropEditorView::applyTheme(bool dark) {
    const Theme theme = Theme::of(dark);
    setStyleSheet(EditorChrome::styleSheet(theme));
    canvas_->setDark(dark);
    turnLeft_->setIcon(EditorChrome::symbolIcon(QStringLiteral("rotate.left"), theme.text));
    turnRight_->setIcon(EditorChrome::symbolIcon(QStringLiteral("rotate.right"), theme.text));
}

void CropEditorView::refresh() {
    const bool busy = model_.busy();
    const bool open = !model_.finished();
    const QString url = open ? model_.urls().value(model_.index()) : QString();
    name_->setText(QFileInfo(url).fileName());
    progress_->setText(model_.progress().value_or(QString()));
    progress_->setVisible(model_.progress().has_value());
    const bool loaded = !model_.preview().isNull();
    if (busy && !loaded)
        size_->setText(tr2("Wird geladen …", "Loading …"));
    else if (busy)
        size_->setText(tr2("Wird gesichert …", "Saving …"));
    else if (loaded)
        size_->setText(QStringLiteral("%1 × %2 px")
                           .arg(model_.cropPixels().width())
                           .arg(model_.cropPixels().height()));
    else
        size_->clear();
    error_->setText(model_.error().value_or(QString()));
    const int checked = int(CropAspects::all().indexOf(model_.aspect()));
    if (aspects_.checkedId() != checked)
        aspects_.button(checked)->setChecked(true);
    for (QAbstractButton* button : aspects_.buttons())
        button->setEnabled(!busy && loaded);
    turnLeft_->setEnabled(!busy && loaded);
    turnRight_->setEnabled(!busy && loaded);
    save_->setEnabled(!busy && loaded && open);
    skip_->setVisible(model_.urls().size() > 1);
    skip_->setEnabled(!busy && open);
}

} // namespace tramix
