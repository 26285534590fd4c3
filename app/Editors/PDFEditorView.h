// The PDF editor's window content, with two tabs. Merge: the list of PDFs, each with its page
// range, the output's name and folder. Split: the pages of one PDF as thumbnails beside the four
// ways to cut it, and how many files that writes. Enter runs the tab's action, Escape cancels,
// Ctrl+Tab switches tabs, Alt+1 … Alt+4 choose how to split.
#pragma once

#include "PDFMergeModel.h"
#include "PDFSplitModel.h"

#include <QButtonGroup>
#include <QList>
#include <QWidget>
#include <memory>
#include <optional>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QStackedWidget;

namespace tramix {

class PageGrid;
class PageThumbnails;
class PDFMergeList;

class PDFEditorView : public QWidget {
    Q_OBJECT
public:
    enum class Tab { merge, split };

    // The PDFs at `paths`, merged in their order or the first of them split. Light or dark as
    // `dark` says, else following the application; thumbnails for `pixelRatio`, else the
    // screen's.
    PDFEditorView(const QStringList& paths, std::function<OutputContext()> context, Tab tab,
                  std::optional<bool> dark = std::nullopt,
                  std::optional<qreal> pixelRatio = std::nullopt, QWidget* parent = nullptr);
    ~PDFEditorView() override;

    Tab tab() const { return tab_; }
    void setTab(Tab tab);
    // The window title for the tab shown.
    QString title() const;

    PDFMergeModel& mergeModel() { return *merge_; }
    // None until the split tab was shown.
    PDFSplitModel* splitModel() { return split_.get(); }
    PageThumbnails& thumbnails() { return *pages_; }
    PageThumbnails& firstPages() { return *firstPages_; }

Q_SIGNALS:
    void cancelled();
    void titleChanged(const QString& title);
    void merged(const QStringList& outputs);
    void splitInto(const QStringList& outputs);

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QWidget* buildMerge();
    QWidget* buildSplit();
    void openForSplit(const QString& path);
    void refresh();
    void refreshMerge();
    void refreshSplit();
    void applyTheme(bool dark);
    void run();
    // The keyboard to where the tab's work starts: the first range field, or the pages.
    void focusTab();

    QStringList paths_;
    std::function<OutputContext()> context_;
    Tab tab_;
    std::unique_ptr<PageThumbnails> pages_;
    std::unique_ptr<PageThumbnails> firstPages_;
    std::unique_ptr<PDFMergeModel> merge_;
    std::unique_ptr<PDFSplitModel> split_;

    QButtonGroup tabs_;
    QButtonGroup modes_;
    QStackedWidget* stack_ = nullptr;
    PDFMergeList* list_ = nullptr;
    QLineEdit* name_ = nullptr;
    QLabel* folder_ = nullptr;
    QStackedWidget* pageArea_ = nullptr;
    PageGrid* grid_ = nullptr;
    QLabel* documentError_ = nullptr;
    QComboBox* file_ = nullptr;
    QLabel* fileName_ = nullptr;
    QSpinBox* every_ = nullptr;
    QLineEdit* ranges_ = nullptr;
    QLabel* modeHint_ = nullptr;
    QLabel* rangeError_ = nullptr;
    QLabel* status_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QPushButton* action_ = nullptr;
    QList<QLabel*> captions_;
    bool fixedScheme_ = false;
};

} // namespace tramix
