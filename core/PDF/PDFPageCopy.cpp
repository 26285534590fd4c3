#include "PDFPageCopy.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "JobRunner.h"
#include "PDFDocument.h"
#include "ParallelPages.h"

#include <QFile>
#include <QFileInfo>
#include <mutex>
#include <utility>
#include <vector>

namespace tramix::PDFPageCopy {

namespace {

QString fileName(const QString& path) {
    return QFileInfo(path).fileName();
}

// Copies pages into a new document and writes it to `path`, known as `name`; qpdf failures on
// a broken source are the source's fault.
void writePages(const std::vector<QPDFPageObjectHelper>& pages, const PageRanges::Group& group,
                const QString& sourceName, const QString& path, const QString& name) {
    std::shared_ptr<QPDF> output = PDFDocument::empty();
    try {
        for (qint64 page : group)
            PDFDocument::appendCopy(*output, pages[size_t(page - 1)]);
    } catch (const std::exception&) {
        throw ConversionError::unreadable(sourceName);
    }
    PDFDocument::writeTo(*output, path, name, {.source = sourceName, .configure = {}});
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

// File systems take names of up to 255 bytes; a long list of pages gives way, not the number.
constexpr qsizetype longestName = 255;

// "Teil {i} – {label}.pdf" for part `index` (from 0) of `count`.
QString partName(qsizetype index, qsizetype count, const PageRanges::Group& group) {
    const QString number = PageRanges::zeroPadded(index + 1, count);
    QString label = PageRanges::label(group);
    auto name = [&](const QString& shown) {
        return QStringLiteral("Teil %1 – %2.pdf").arg(number, shown);
    };
    if (QFile::encodeName(name(label)).size() <= longestName)
        return name(label);
    while (!label.isEmpty() && QFile::encodeName(name(label + u'…')).size() > longestName)
        label.chop(label.back().isLowSurrogate() ? 2 : 1);
    return name(label + u'…');
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
    if (chosen.size() == 1) {
        NameReservation destination =
            context.destination(input, QStringLiteral("pdf"), PageRanges::label(chosen[0]));
        const QString shown = destination.path();
        return {AtomicFile::write(std::move(destination), [&](const QString& temporary) {
            writePages(*openedPages, chosen[0], name, temporary, shown);
        })};
    }
    QStringList parts;
    for (qsizetype i = 0; i < chosen.size(); ++i)
        parts.append(partName(i, chosen.size(), chosen[i]));
    // Staged and named whole: a failing part or a kill leaves no half folder. Several files are
    // written at once, each thread copying from its own reading of the source.
    const QString folder = AtomicFile::writeFolder(
        context.destinationNamed(outputStem(input) + QStringLiteral(" aufgeteilt"), input),
        [&](const QString& staging) {
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
                    writePages(*pages, chosen[index], name, staging + u'/' + parts[index],
                               parts[index]);
                };
            });
        });
    for (QString& part : parts)
        part = folder + u'/' + part;
    return parts;
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
