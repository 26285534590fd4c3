// The split tab's logic: one PDF, its page count read off the interface thread, one of four
// ways to cut it into groups of pages, how many files that makes, and the split itself.
#pragma once

#include "OutputContext.h"
#include "PDF/PageRanges.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <functional>
#include <optional>

namespace tramix {

class PDFSplitModel : public QObject {
    Q_OBJECT
public:
    enum class Mode { eachPage, everyN, ranges, clicked };

    // What the range field shows as an example.
    static inline const QString sampleRanges = QStringLiteral("1-2, 3-5, 6-");

    PDFSplitModel(QString path, std::function<OutputContext()> context, QObject* parent = nullptr);

    // The groups `mode` makes of a document of `pageCount` pages. Throws ConversionError with
    // the range parser's sentence, or "Keine Seiten ausgewählt." when no page is clicked.
    static QList<PageRanges::Group> groups(Mode mode, qint64 pageCount, int every,
                                           const QString& ranges, const QSet<qint64>& clicked);

    const QString& path() const { return path_; }
    // Known once the document is read; none while loading or when it cannot be split.
    std::optional<qint64> pageCount() const { return pageCount_; }
    bool loading() const { return loading_; }
    bool saving() const { return saving_; }
    // Why the document cannot be shown, or why the last split failed.
    const std::optional<QString>& error() const { return error_; }

    Mode mode() const { return mode_; }
    int every() const { return every_; }
    const QString& ranges() const { return ranges_; }
    const QSet<qint64>& clicked() const { return clicked_; }
    void setMode(Mode mode);
    void setEvery(int every);
    void setRanges(const QString& text);
    // Adds or removes `page` (from 1) from the clicked pages.
    void toggle(qint64 page);

    // What the current choice writes, or the sentence why it writes nothing.
    struct Plan {
        QList<PageRanges::Group> groups;
        QString problem;
    };
    Plan plan() const;
    // "3 Dateien werden in „Bericht aufgeteilt“ geschrieben." and the like.
    QString summary() const;
    bool canSplit() const;

    // Writes the files next to the document (or where the context says), then `onFinish`.
    void split();
    std::function<void(const QStringList& outputs)> onFinish;

Q_SIGNALS:
    void changed();

private:
    void changeChoice();

    QString path_;
    std::function<OutputContext()> context_;
    std::optional<qint64> pageCount_;
    bool loading_ = true;
    bool saving_ = false;
    std::optional<QString> error_;
    Mode mode_ = Mode::eachPage;
    int every_ = 2;
    QString ranges_;
    QSet<qint64> clicked_;
};

} // namespace tramix
