#include "PDFEditorView.h"

#include "EditorChrome.h"
#include "PDFMergeList.h"
#include "PageGrid.h"
#include "PageThumbnails.h"
#include "Settings/UILanguage.h"

#include <QComboBox>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QShowEvent>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace tramix {

namespace {

constexpr int sidePanelWidth = 268;
constexpr int mostEvery = 999;

QString text(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

void setRole(QWidget* widget, const char* role) {
    if (widget->property("role").toString() == QLatin1String(role))
        return;
    widget->setProperty("role", QString::fromLatin1(role));
    widget->style()->unpolish(widget);
    widget->style()->polish(widget);
}

QSize scaled(QSize size, qreal ratio) {
    return QSize(qRound(size.width() * ratio), qRound(size.height() * ratio));
}

// "~/Dokumente" rather than the whole home path.
QString shortFolder(const QString& folder) {
    const QString home = QDir::homePath();
    if (folder == home || folder.startsWith(home + u'/'))
        return u'~' + folder.mid(home.size());
    return folder;
}

} // namespace

PDFEditorView::PDFEditorView(const QStringList& paths, std::function<OutputContext()> context,
                             Tab tab, std::optional<bool> dark, std::optional<qreal> pixelRatio,
                             QWidget* parent)
    : QWidget(parent)
    , paths_(paths)
    , context_(std::move(context))
    , tab_(tab) {
    const qreal ratio = pixelRatio.value_or(qApp->devicePixelRatio());
    pages_ = std::make_unique<PageThumbnails>(scaled(PageGrid::thumbnailBox, ratio));
    firstPages_ = std::make_unique<PageThumbnails>(scaled(PDFMergeList::thumbnailBox, ratio));
    merge_ = std::make_unique<PDFMergeModel>(paths_, context_);
    setObjectName(QStringLiteral("editor"));
    setAttribute(Qt::WA_StyledBackground);

    auto* header = new QHBoxLayout;
    header->addWidget(EditorChrome::segmented(
        {text("Zusammenführen", "Merge"), text("Aufteilen", "Split")}, tabs_, this));
    header->addStretch(1);
    stack_ = new QStackedWidget(this);
    stack_->addWidget(buildMerge());
    stack_->addWidget(buildSplit());

    status_ = new QLabel(this);
    status_->setWordWrap(true);
    cancel_ = new QPushButton(text("Abbrechen", "Cancel"), this);
    cancel_->setToolTip(text("Schließen, ohne zu speichern (Esc)", "Close without saving (Esc)"));
    action_ = new QPushButton(this);
    action_->setProperty("role", QStringLiteral("primary"));
    action_->setDefault(true);
    auto* footer = new QHBoxLayout;
    footer->addWidget(status_, 1);
    footer->addWidget(cancel_);
    footer->addWidget(action_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 14, 18, 16);
    layout->setSpacing(12);
    layout->addLayout(header);
    layout->addWidget(stack_, 1);
    layout->addLayout(footer);

    connect(&tabs_, &QButtonGroup::idClicked, this,
            [this](int id) { setTab(id == 0 ? Tab::merge : Tab::split); });
    connect(cancel_, &QPushButton::clicked, this, &PDFEditorView::cancelled);
    connect(action_, &QPushButton::clicked, this, &PDFEditorView::run);
    const auto key = [this](QKeySequence keys, auto action) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
    };
    key(QKeySequence(Qt::Key_Return), [this] { action_->click(); });
    key(QKeySequence(Qt::Key_Enter), [this] { action_->click(); });
    key(QKeySequence(Qt::Key_Escape), [this] { Q_EMIT cancelled(); });
    key(QKeySequence(Qt::CTRL | Qt::Key_Tab),
        [this] { setTab(tab_ == Tab::merge ? Tab::split : Tab::merge); });
    for (int mode = 0; mode < 4; ++mode)
        key(QKeySequence(Qt::ALT | (Qt::Key_1 + mode)), [this, mode] {
            if (tab_ == Tab::split)
                modes_.button(mode)->click();
        });
    connect(merge_.get(), &PDFMergeModel::changed, this, &PDFEditorView::refresh);
    merge_->onFinish = [this](const QStringList& outputs) { Q_EMIT merged(outputs); };

    fixedScheme_ = dark.has_value();
    applyTheme(dark.value_or(Theme::isDark(QGuiApplication::palette())));
    setTab(tab);
}

// The widgets go before the models and thumbnails they show.
PDFEditorView::~PDFEditorView() {
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
}

QWidget* PDFEditorView::buildMerge() {
    auto* pane = new QWidget(this);
    list_ = new PDFMergeList(*merge_, *firstPages_, pane);
    auto* hint = new QLabel(text("PDFs in die Liste ziehen, um sie anzufügen. Reihenfolge: Zeilen "
                                 "ziehen oder Alt+↑/↓.",
                                 "Drag PDFs into the list to add them. Order: drag rows or "
                                 "Alt+↑/↓."),
                            pane);
    hint->setProperty("role", QStringLiteral("secondary"));
    hint->setWordWrap(true);
    auto* add = new QPushButton(text("Hinzufügen …", "Add …"), pane);
    connect(add, &QPushButton::clicked, this, [this] {
        const QStringList chosen = QFileDialog::getOpenFileNames(
            this, text("PDFs hinzufügen", "Add PDFs"), QFileInfo(paths_.value(0)).path(),
            text("PDF-Dokumente (*.pdf *.PDF)", "PDF documents (*.pdf *.PDF)"));
        merge_->add(chosen);
    });
    auto* hints = new QHBoxLayout;
    hints->addWidget(hint, 1);
    hints->addWidget(add);

    auto* output = new QWidget(pane);
    output->setProperty("role", QStringLiteral("panel"));
    output->setAttribute(Qt::WA_StyledBackground);
    auto* nameCaption = new QLabel(text("Name", "Name").toUpper(), output);
    auto* folderCaption = new QLabel(text("Ordner", "Folder").toUpper(), output);
    for (QLabel* caption : {nameCaption, folderCaption}) {
        caption->setProperty("role", QStringLiteral("caption"));
        captions_.append(caption);
    }
    name_ = new QLineEdit(merge_->name(), output);
    name_->setAccessibleName(text("Name der neuen PDF", "Name of the new PDF"));
    name_->setPlaceholderText(PDFMergeModel::defaultName);
    connect(name_, &QLineEdit::textEdited, merge_.get(), &PDFMergeModel::setName);
    auto* extension = new QLabel(QStringLiteral(".pdf"), output);
    extension->setProperty("role", QStringLiteral("secondary"));
    folder_ = new QLabel(output);
    folder_->setProperty("role", QStringLiteral("secondary"));
    folder_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* chooseFolder = new QPushButton(text("Ordner wählen …", "Choose folder …"), output);
    connect(chooseFolder, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            this, text("Ordner für die neue PDF", "Folder for the new PDF"),
            merge_->outputFolder());
        if (!folder.isEmpty())
            merge_->setFolder(folder);
    });
    auto* fields = new QGridLayout(output);
    fields->setContentsMargins(14, 10, 14, 12);
    fields->setHorizontalSpacing(10);
    fields->setVerticalSpacing(4);
    fields->addWidget(nameCaption, 0, 0, 1, 2);
    fields->addWidget(folderCaption, 0, 2, 1, 2);
    fields->addWidget(name_, 1, 0);
    fields->addWidget(extension, 1, 1);
    fields->addWidget(folder_, 1, 2);
    fields->addWidget(chooseFolder, 1, 3);
    fields->setColumnStretch(0, 2);
    fields->setColumnStretch(2, 3);

    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(list_, 1);
    layout->addLayout(hints);
    layout->addWidget(output);
    return pane;
}

QWidget* PDFEditorView::buildSplit() {
    auto* pane = new QWidget(this);
    pageArea_ = new QStackedWidget(pane);
    grid_ = new PageGrid(*pages_, pageArea_);
    documentError_ = new QLabel(pageArea_);
    documentError_->setProperty("role", QStringLiteral("error"));
    documentError_->setAlignment(Qt::AlignCenter);
    documentError_->setWordWrap(true);
    pageArea_->addWidget(grid_);
    pageArea_->addWidget(documentError_);
    auto* pageCard = new QWidget(pane);
    pageCard->setProperty("role", QStringLiteral("panel"));
    pageCard->setAttribute(Qt::WA_StyledBackground);
    auto* cardLayout = new QVBoxLayout(pageCard);
    cardLayout->setContentsMargins(2, 2, 2, 2);
    cardLayout->addWidget(pageArea_);

    auto* panel = new QWidget(pane);
    panel->setProperty("role", QStringLiteral("panel"));
    panel->setAttribute(Qt::WA_StyledBackground);
    panel->setFixedWidth(sidePanelWidth);
    auto* side = new QVBoxLayout(panel);
    side->setContentsMargins(16, 14, 16, 16);
    side->setSpacing(8);
    const auto caption = [this, side, panel](const QString& label) {
        auto* title = new QLabel(label.toUpper(), panel);
        title->setProperty("role", QStringLiteral("caption"));
        captions_.append(title);
        side->addWidget(title);
    };
    caption(text("Dokument", "Document"));
    fileName_ = new QLabel(panel);
    fileName_->setProperty("role", QStringLiteral("title"));
    fileName_->setWordWrap(true);
    side->addWidget(fileName_);
    if (paths_.size() > 1) {
        file_ = new QComboBox(panel);
        for (const QString& path : paths_)
            file_->addItem(QFileInfo(path).fileName(), path);
        file_->setAccessibleName(text("Aufzuteilendes PDF", "PDF to split"));
        connect(file_, &QComboBox::currentIndexChanged, this,
                [this](int index) { openForSplit(paths_.value(index)); });
        side->addWidget(file_);
    }
    side->addSpacing(8);
    caption(text("Aufteilen", "Split"));
    auto* modes = new QWidget(panel);
    modes->setProperty("role", QStringLiteral("segments"));
    modes->setAttribute(Qt::WA_StyledBackground);
    auto* modeLayout = new QVBoxLayout(modes);
    modeLayout->setContentsMargins(3, 3, 3, 3);
    modeLayout->setSpacing(2);
    const QStringList labels = {text("Jede Seite einzeln", "Each page separately"),
                                text("Immer mehrere Seiten", "Every few pages"),
                                text("Nach Bereichen", "By ranges"),
                                text("Nur angeklickte Seiten", "Only clicked pages")};
    modes_.setExclusive(true);
    for (int i = 0; i < labels.size(); ++i) {
        auto* button = new QPushButton(labels[i], modes);
        button->setProperty("role", QStringLiteral("segment"));
        button->setCheckable(true);
        button->setToolTip(QStringLiteral("Alt+%1").arg(i + 1));
        button->setStyleSheet(QStringLiteral("text-align: left; padding-left: 10px;"));
        modes_.addButton(button, i);
        modeLayout->addWidget(button);
    }
    side->addWidget(modes);
    side->addSpacing(4);
    every_ = new QSpinBox(panel);
    every_->setRange(1, mostEvery);
    every_->setPrefix(text("je ", "every "));
    every_->setSuffix(text(" Seiten", " pages"));
    every_->setAccessibleName(text("Seiten je Datei", "Pages per file"));
    side->addWidget(every_);
    ranges_ = new QLineEdit(panel);
    ranges_->setPlaceholderText(PDFSplitModel::sampleRanges);
    ranges_->setAccessibleName(text("Seitenbereiche", "Page ranges"));
    side->addWidget(ranges_);
    modeHint_ = new QLabel(panel);
    modeHint_->setProperty("role", QStringLiteral("secondary"));
    modeHint_->setWordWrap(true);
    side->addWidget(modeHint_);
    rangeError_ = new QLabel(panel);
    rangeError_->setProperty("role", QStringLiteral("error"));
    rangeError_->setWordWrap(true);
    side->addWidget(rangeError_);
    side->addStretch(1);

    connect(&modes_, &QButtonGroup::idClicked, this, [this](int id) {
        split_->setMode(PDFSplitModel::Mode(id));
        if (id == int(PDFSplitModel::Mode::ranges))
            ranges_->setFocus();
        else if (id == int(PDFSplitModel::Mode::everyN))
            every_->setFocus();
        else if (id == int(PDFSplitModel::Mode::clicked))
            grid_->setFocus();
    });
    connect(every_, &QSpinBox::valueChanged, this, [this](int value) { split_->setEvery(value); });
    connect(ranges_, &QLineEdit::textEdited, this,
            [this](const QString& value) { split_->setRanges(value); });
    connect(grid_, &PageGrid::toggled, this, [this](qint64 page) { split_->toggle(page); });

    auto* layout = new QHBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(16);
    layout->addWidget(pageCard, 1);
    layout->addWidget(panel);
    return pane;
}

void PDFEditorView::openForSplit(const QString& path) {
    std::optional<PDFSplitModel::Mode> mode;
    if (split_)
        mode = split_->mode();
    split_ = std::make_unique<PDFSplitModel>(path, context_);
    if (mode)
        split_->setMode(*mode);
    connect(split_.get(), &PDFSplitModel::changed, this, &PDFEditorView::refresh);
    split_->onFinish = [this](const QStringList& outputs) { Q_EMIT splitInto(outputs); };
    refresh();
}

void PDFEditorView::setTab(Tab tab) {
    const bool changed = tab != tab_;
    tab_ = tab;
    // The split tab reads its document only when it is first shown.
    if (tab == Tab::split && !split_)
        openForSplit(paths_.value(0));
    tabs_.button(tab == Tab::merge ? 0 : 1)->setChecked(true);
    stack_->setCurrentIndex(tab == Tab::merge ? 0 : 1);
    refresh();
    focusTab();
    if (changed)
        Q_EMIT titleChanged(title());
}

void PDFEditorView::focusTab() {
    if (tab_ == Tab::merge)
        list_->focusRow(0);
    else if (split_ && split_->mode() == PDFSplitModel::Mode::ranges)
        ranges_->setFocus();
    else
        grid_->setFocus();
}

void PDFEditorView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous())
        focusTab();
}

QString PDFEditorView::title() const {
    return tab_ == Tab::merge ? text("PDFs zusammenführen", "Merge PDFs")
                              : text("PDF aufteilen", "Split PDF");
}

void PDFEditorView::refresh() {
    refreshMerge();
    refreshSplit();
    const bool merging = tab_ == Tab::merge;
    std::optional<QString> problem;
    QString status;
    bool busy = false;
    if (merging) {
        busy = merge_->saving();
        problem = merge_->error() ? merge_->error() : merge_->notice();
        status = busy ? text("Wird zusammengeführt …", "Merging …") : merge_->summary();
        action_->setText(text("Zusammenführen", "Merge"));
        action_->setEnabled(!busy && !merge_->problem());
    } else {
        busy = split_->saving();
        // Without pages the document's sentence stands in the page area instead.
        if (split_->pageCount())
            problem = split_->error();
        status = busy ? text("Wird aufgeteilt …", "Splitting …") : split_->summary();
        action_->setText(text("Aufteilen", "Split"));
        action_->setEnabled(split_->canSplit());
    }
    if (problem && !busy) {
        setRole(status_, "error");
        status_->setText(*problem);
    } else {
        setRole(status_, "secondary");
        status_->setText(status);
    }
    cancel_->setEnabled(!busy);
}

void PDFEditorView::refreshMerge() {
    folder_->setText(shortFolder(merge_->outputFolder()));
    folder_->setToolTip(merge_->outputFolder());
    if (name_->text() != merge_->name())
        name_->setText(merge_->name());
    name_->setReadOnly(merge_->saving());
}

void PDFEditorView::refreshSplit() {
    if (!split_)
        return;
    const PDFSplitModel& model = *split_;
    if (ranges_->text() != model.ranges())
        ranges_->setText(model.ranges());
    if (every_->value() != model.every())
        every_->setValue(model.every());
    const QString name = QFileInfo(model.path()).fileName();
    if (model.loading()) {
        fileName_->setText(name);
        pageArea_->setCurrentWidget(grid_);
    } else if (!model.pageCount()) {
        fileName_->setText(name);
        documentError_->setText(model.error().value_or(QString()));
        pageArea_->setCurrentWidget(documentError_);
    } else {
        const qint64 count = *model.pageCount();
        fileName_->setText(
            QStringLiteral("%1\n").arg(name) +
            (count == 1 ? text("1 Seite", "1 page") : text("%1 Seiten", "%1 pages").arg(count)));
        pageArea_->setCurrentWidget(grid_);
    }
    if (grid_->property("path").toString() != model.path() ||
        grid_->property("pages").toLongLong() != model.pageCount().value_or(0)) {
        grid_->setDocument(model.path(), model.pageCount().value_or(0));
        grid_->setProperty("path", model.path());
        grid_->setProperty("pages", model.pageCount().value_or(0));
    }
    const PDFSplitModel::Mode mode = model.mode();
    const PDFSplitModel::Plan plan = model.plan();
    modes_.button(int(mode))->setChecked(true);
    const bool choosing = mode == PDFSplitModel::Mode::clicked;
    grid_->setChoosing(choosing);
    grid_->setChosen(model.clicked());
    grid_->setGroups(plan.groups);
    every_->setVisible(mode == PDFSplitModel::Mode::everyN);
    ranges_->setVisible(mode == PDFSplitModel::Mode::ranges);
    switch (mode) {
    case PDFSplitModel::Mode::eachPage:
        modeHint_->setText(
            text("Jede Seite wird eine eigene Datei.", "Each page becomes its own file."));
        break;
    case PDFSplitModel::Mode::everyN:
        modeHint_->setText(text("Immer so viele Seiten kommen in eine Datei.",
                                "This many pages go into each file."));
        break;
    case PDFSplitModel::Mode::ranges:
        modeHint_->setText(
            text("Jeder Bereich wird eine eigene Datei.", "Each range becomes its own file."));
        break;
    case PDFSplitModel::Mode::clicked:
        modeHint_->setText(text("Seiten anklicken (oder Pfeiltasten und Leertaste); sie kommen "
                                "zusammen in eine Datei.",
                                "Click pages (or use the arrow keys and Space); they go "
                                "together into one file."));
        break;
    }
    const bool showError =
        model.pageCount() && !plan.problem.isEmpty() && !(choosing && model.clicked().isEmpty());
    rangeError_->setText(showError ? plan.problem : QString());
    rangeError_->setVisible(showError);
    for (QWidget* control : {static_cast<QWidget*>(every_), static_cast<QWidget*>(ranges_)})
        control->setEnabled(!model.saving());
}

void PDFEditorView::run() {
    if (tab_ == Tab::merge)
        merge_->merge();
    else
        split_->split();
}

void PDFEditorView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && !fixedScheme_)
        applyTheme(Theme::isDark(QGuiApplication::palette()));
    QWidget::changeEvent(event);
}

void PDFEditorView::applyTheme(bool dark) {
    const Theme theme = Theme::of(dark);
    setStyleSheet(EditorChrome::styleSheet(theme));
    grid_->setTheme(theme);
    list_->setTheme(theme);
}

} // namespace tramix
