#include "PDFPageCopy.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "JobRunner.h"
#include "PDFDocument.h"
#include "ParallelPages.h"

#include <QDir>
#include <QFileInfo>
#include <mutex>
#include <utility>
#include <vector>

namespace tramix::PDFPageCopy {

namespace {

QString fileName(const QString& path) {
    return QFileInfo(path).fileName();
}

// Copies pages into a new document and writes it; qpdf failures on a broken source are the
// source's fault.
void writePages(const std::vector<QPDFPageObjectHelper>& pages, const PageRanges::Group& group,
                const QString& sourceName, const QString& path) {
    std::shared_ptr<QPDF> output = PDFDocument::empty();
    try {
        for (qint64 page : group)
            PDFDocument::appendCopy(*output, pages[size_t(page - 1)]);
    } catch (const std::exception&) {
        throw ConversionError::unreadable(sourceName);
    }
    PDFDocument::writeTo(*output, path);
}

void requirePages(const PageRanges::Group& group, qint64 count) {
    for (qint64 page : group) {
        if (page < 1 || page > count)
            throw ConversionError::failed(QStringLiteral("Seite %1 gibt es nicht.").arg(page));
    }
}

QString mergedName(const QString& name) {
    QString result = PageRanges::trimmedBlanks(name).replace(u'/', u'-');
    if (result.isEmpty())
        result = QStringLiteral("Zusammengeführt");
    if (!result.toLower().endsWith(u".pdf"))
        result += QStringLiteral(".pdf");
    return result;
}

std::vector<NameReservation> splitDestinations(const QString& input,
                                               const QList<PageRanges::Group>& chosen,
                                               const OutputContext& context) {
    std::vector<NameReservation> destinations;
    if (chosen.size() == 1) {
        destinations.push_back(
            context.destination(input, QStringLiteral("pdf"), PageRanges::label(chosen[0])));
        return destinations;
    }
    const QDir folder(context.makeFolder(input, QStringLiteral("aufgeteilt")));
    for (qsizetype i = 0; i < chosen.size(); ++i) {
        destinations.emplace_back(folder.filePath(
            QStringLiteral("Teil %1 – %2.pdf")
                .arg(PageRanges::zeroPadded(i + 1, chosen.size()), PageRanges::label(chosen[i]))));
    }
    return destinations;
}

} // namespace

qint64 pageCount(const QString& path) {
    std::shared_ptr<QPDF> document = PDFDocument::open(path);
    return qint64(PDFDocument::pages(*document, fileName(path)).size());
}

QStringList split(const QString& input, const QList<PageRanges::Group>& groups,
                  const OutputContext& context) {
    const QString name = fileName(input);
    // Reading the page tree costs about as much as copying the pages, so the reading that
    // checks the groups is handed on to the first thread instead of being done once more.
    std::shared_ptr<QPDF> opened = PDFDocument::open(input);
    auto openedPages =
        std::make_shared<std::vector<QPDFPageObjectHelper>>(PDFDocument::pages(*opened, name));
    const qint64 count = qint64(openedPages->size());
    QList<PageRanges::Group> chosen;
    for (const PageRanges::Group& group : groups) {
        if (!group.isEmpty())
            chosen.append(group);
    }
    if (chosen.isEmpty())
        throw ConversionError::failed(QStringLiteral("Keine Seiten ausgewählt."));
    for (const PageRanges::Group& group : chosen)
        requirePages(group, count);
    std::vector<NameReservation> destinations = splitDestinations(input, chosen, context);
    const QString folder = QFileInfo(destinations.front().path()).absolutePath();
    try {
        return AtomicFile::writeAll(std::move(destinations), [&](const QStringList& temporaries) {
            // Several files are written at once, each thread copying from its own reading of
            // the source.
            std::mutex handOver;
            ParallelPages::run(int(chosen.size()), JobRunner::width(), [&] {
                std::unique_lock lock(handOver);
                std::shared_ptr<QPDF> source = std::exchange(opened, nullptr);
                auto pages = std::exchange(openedPages, nullptr);
                lock.unlock();
                if (!source) {
                    source = PDFDocument::open(input);
                    pages = std::make_shared<std::vector<QPDFPageObjectHelper>>(
                        PDFDocument::pages(*source, name));
                }
                return [&, source, pages](int index) {
                    writePages(*pages, chosen[index], name, temporaries[index]);
                };
            });
        });
    } catch (...) {
        if (chosen.size() > 1)
            QDir().rmdir(folder); // only when empty
        throw;
    }
}

QString merge(const QList<MergePart>& parts, const QString& name, const OutputContext& context) {
    if (parts.isEmpty())
        throw ConversionError::failed(QStringLiteral("Keine Dateien."));
    std::vector<std::shared_ptr<QPDF>> sources; // copied pages read from them until written
    std::shared_ptr<QPDF> output = PDFDocument::empty();
    for (const MergePart& part : parts) {
        sources.push_back(PDFDocument::open(part.path));
        const auto pages = PDFDocument::pages(*sources.back(), fileName(part.path));
        try {
            if (!part.pages) {
                for (const QPDFPageObjectHelper& page : pages)
                    PDFDocument::appendCopy(*output, page);
                continue;
            }
            for (qint64 page : *part.pages) {
                if (page >= 1 && page <= qint64(pages.size()))
                    PDFDocument::appendCopy(*output, pages[size_t(page - 1)]);
            }
        } catch (const std::exception&) {
            throw ConversionError::unreadable(fileName(part.path));
        }
    }
    if (output->getAllPages().empty())
        throw ConversionError::failed(QStringLiteral("Keine Seiten zum Zusammenführen."));
    return PDFDocument::write(*output, context.destinationNamed(mergedName(name), parts[0].path));
}

} // namespace tramix::PDFPageCopy
