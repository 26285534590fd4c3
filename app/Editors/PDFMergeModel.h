// The merge tab's logic: the PDFs in the order they will be joined, each with its page count
// (read off the interface thread) and an optional page-range text checked as it is typed, the
// output's name and folder, and the merge itself.
#pragma once

#include "OutputContext.h"
#include "PDF/PageRanges.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <functional>
#include <optional>

namespace tramix {

class PDFMergeModel : public QObject {
    Q_OBJECT
public:
    static inline const QString defaultName = QStringLiteral("Zusammengeführt");

    struct Row {
        quint64 id = 0; // stays with the row when it moves
        QString path;
        std::optional<qint64> pageCount; // once read
        std::optional<QString> failure;  // why the file cannot be merged
        QString ranges;                  // empty: every page
    };

    PDFMergeModel(const QStringList& paths, std::function<OutputContext()> context,
                  QObject* parent = nullptr);

    const QList<Row>& rows() const { return rows_; }
    // Adds `paths` before row `at` (at the end when out of range); what is not a PDF is left
    // out and said in `notice`. Returns how many were added.
    int add(const QStringList& paths, int at = -1);
    void remove(int row);
    // Moves row `from` to position `to`, counted in the list without it.
    void move(int from, int to);
    void setRanges(int row, const QString& text);
    // The range parser's sentence for the row's text, none when it is empty or valid.
    std::optional<QString> rangeError(int row) const;
    // Pages the row contributes, once its page count is known.
    std::optional<qint64> pagesOf(int row) const;

    const QString& name() const { return name_; }
    void setName(const QString& name);
    // A folder chosen for the result; none: the context's, else next to the first PDF.
    const std::optional<QString>& folder() const { return folder_; }
    void setFolder(const std::optional<QString>& folder);
    // Where the result goes.
    QString outputFolder() const;

    bool saving() const { return saving_; }
    // Why the last merge failed, or which dropped files were left out.
    const std::optional<QString>& error() const { return error_; }
    const std::optional<QString>& notice() const { return notice_; }
    // Why merging is not possible now; none when it is.
    std::optional<QString> problem() const;
    // "12 Seiten aus 3 PDFs"
    QString summary() const;

    // Writes one PDF through the engine, then `onFinish` with it.
    void merge();
    std::function<void(const QStringList& outputs)> onFinish;

Q_SIGNALS:
    void changed();

private:
    void count(const Row& row);
    OutputContext outputContext() const;

    QList<Row> rows_;
    std::function<OutputContext()> context_;
    QString name_ = defaultName;
    std::optional<QString> folder_;
    bool saving_ = false;
    std::optional<QString> error_;
    std::optional<QString> notice_;
    quint64 nextId_ = 1;
};

} // namespace tramix
