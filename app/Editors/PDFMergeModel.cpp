#include "PDFMergeModel.h"

#include "BackgroundWork.h"
#include "ConversionError.h"
#include "FileKind.h"
#include "PDF/PDFConverter.h"
#include "Settings/DebugLog.h"
#include "Settings/UILanguage.h"

#include <QFileInfo>

namespace tramix {

namespace {

QString text(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

} // namespace

PDFMergeModel::PDFMergeModel(const QStringList& paths, std::function<OutputContext()> context,
                             QObject* parent)
    : QObject(parent)
    , context_(std::move(context)) {
    add(paths);
}

int PDFMergeModel::add(const QStringList& paths, int at) {
    if (at < 0 || at > rows_.size())
        at = int(rows_.size());
    QStringList refused;
    int added = 0;
    for (const QString& path : paths) {
        if (FileKind::of(path) != FileKind::pdf) {
            refused.append(QFileInfo(path).fileName());
            continue;
        }
        Row row{nextId_++, path, std::nullopt, std::nullopt, {}};
        rows_.insert(at + added, row);
        ++added;
        count(row);
    }
    notice_.reset();
    if (!refused.isEmpty())
        notice_ = text("Kein PDF, nicht aufgenommen: %1", "Not a PDF, left out: %1")
                      .arg(refused.join(QStringLiteral(", ")));
    Q_EMIT changed();
    return added;
}

void PDFMergeModel::count(const Row& row) {
    runInBackground(
        this, [path = row.path] { return PDFConverter::pageCount(path); },
        [this, id = row.id](const Outcome<qint64>& outcome) {
            for (Row& row : rows_) {
                if (row.id != id)
                    continue;
                if (outcome.value && *outcome.value < 1)
                    row.failure =
                        describeError(ConversionError::unreadable(QFileInfo(row.path).fileName()));
                else if (outcome.value)
                    row.pageCount = outcome.value;
                else
                    row.failure = outcome.error;
                if (row.pageCount)
                    DebugLog::write(QStringLiteral("Editor: „%1“ bereit, %2 Seiten")
                                        .arg(QFileInfo(row.path).fileName())
                                        .arg(*row.pageCount));
                Q_EMIT changed();
            }
        });
}

void PDFMergeModel::remove(int row) {
    if (saving_ || row < 0 || row >= rows_.size())
        return;
    rows_.removeAt(row);
    Q_EMIT changed();
}

void PDFMergeModel::move(int from, int to) {
    if (saving_ || from < 0 || from >= rows_.size())
        return;
    to = std::clamp(to, 0, int(rows_.size()) - 1);
    if (from == to)
        return;
    rows_.move(from, to);
    Q_EMIT changed();
}

void PDFMergeModel::setRanges(int row, const QString& text) {
    if (row < 0 || row >= rows_.size() || rows_[row].ranges == text)
        return;
    rows_[row].ranges = text;
    error_.reset();
    Q_EMIT changed();
}

std::optional<QString> PDFMergeModel::rangeError(int row) const {
    const Row& entry = rows_.at(row);
    if (PageRanges::trimmedBlanks(entry.ranges).isEmpty() || !entry.pageCount)
        return std::nullopt;
    try {
        PageRanges::parse(entry.ranges, *entry.pageCount);
        return std::nullopt;
    } catch (const std::exception& error) {
        return describeError(error);
    }
}

std::optional<qint64> PDFMergeModel::pagesOf(int row) const {
    const Row& entry = rows_.at(row);
    if (!entry.pageCount)
        return std::nullopt;
    if (PageRanges::trimmedBlanks(entry.ranges).isEmpty())
        return entry.pageCount;
    try {
        qint64 pages = 0;
        for (const PageRanges::Group& group : PageRanges::parse(entry.ranges, *entry.pageCount))
            pages += group.size();
        return pages;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void PDFMergeModel::setName(const QString& name) {
    if (name == name_)
        return;
    name_ = name;
    Q_EMIT changed();
}

void PDFMergeModel::setFolder(const std::optional<QString>& folder) {
    if (folder == folder_)
        return;
    folder_ = folder;
    Q_EMIT changed();
}

OutputContext PDFMergeModel::outputContext() const {
    OutputContext context = context_ ? context_() : OutputContext();
    if (folder_)
        context.folder = folder_;
    return context;
}

QString PDFMergeModel::outputFolder() const {
    if (rows_.isEmpty())
        return folder_.value_or(QString());
    return outputContext().directory(rows_.first().path);
}

std::optional<QString> PDFMergeModel::problem() const {
    if (rows_.isEmpty())
        return text("Keine Dateien.", "No files.");
    for (int i = 0; i < rows_.size(); ++i) {
        const Row& row = rows_[i];
        const QString name = QFileInfo(row.path).fileName();
        if (row.failure)
            return *row.failure;
        if (!row.pageCount)
            return text("„%1“ wird gelesen …", "Reading “%1” …").arg(name);
        if (const std::optional<QString> error = rangeError(i))
            return QStringLiteral("%1: %2").arg(name, *error);
    }
    return std::nullopt;
}

QString PDFMergeModel::summary() const {
    qint64 pages = 0;
    for (int i = 0; i < rows_.size(); ++i)
        pages += pagesOf(i).value_or(0);
    const QString pageText =
        pages == 1 ? text("1 Seite", "1 page") : text("%1 Seiten", "%1 pages").arg(pages);
    return rows_.size() == 1
               ? text("%1 aus 1 PDF", "%1 from 1 PDF").arg(pageText)
               : text("%1 aus %2 PDFs", "%1 from %2 PDFs").arg(pageText).arg(rows_.size());
}

void PDFMergeModel::merge() {
    if (saving_ || problem())
        return;
    QList<PDFConverter::MergePart> parts;
    for (const Row& row : rows_) {
        PDFConverter::MergePart part{row.path, std::nullopt};
        if (!PageRanges::trimmedBlanks(row.ranges).isEmpty()) {
            QList<qint64> pages;
            for (const PageRanges::Group& group : PageRanges::parse(row.ranges, *row.pageCount))
                pages.append(group);
            part.pages = pages;
        }
        parts.append(part);
    }
    saving_ = true;
    error_.reset();
    Q_EMIT changed();
    runInBackground(
        this,
        [parts, name = name_, context = outputContext()] {
            return PDFConverter::merge(parts, name, context);
        },
        [this](const Outcome<QString>& outcome) {
            saving_ = false;
            if (!outcome.value) {
                error_ = outcome.error;
                Q_EMIT changed();
                return;
            }
            DebugLog::write(QStringLiteral("Editor: „%1“ geschrieben")
                                .arg(QFileInfo(*outcome.value).fileName()));
            Q_EMIT changed();
            if (onFinish)
                onFinish({*outcome.value});
        });
}

} // namespace tramix
