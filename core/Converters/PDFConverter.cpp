#include "PDFConverter.h"

#include "../AtomicFile.h"
#include "../ConversionError.h"
#include "../JobRunner.h"
#include "../NameReservations.h"
#include "../SizeCheck.h"
#include "ImageMetadata.h"
#include "ImagePipeline.h"
#include "PDFDocument.h"
#include "PDFImageCompressor.h"
#include "PDFRenderer.h"
#include "ParallelPages.h"
#include "VisionTools.h"

#include <QDir>
#include <QFileInfo>
#include <vector>

namespace tramix::PDFConverter {

namespace {

QString fileName(const QString& path) {
    return QFileInfo(path).fileName();
}

QString trimmedSpace(const QString& text) {
    qsizetype begin = 0, end = text.size();
    auto space = [](QChar c) {
        return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
    };
    while (begin < end && space(text[begin]))
        ++begin;
    while (end > begin && space(text[end - 1]))
        --end;
    return text.mid(begin, end - begin);
}

QString zeroPadded(qsizetype number, qsizetype count) {
    return QStringLiteral("%1").arg(number, int(QString::number(count).size()), 10, QChar(u'0'));
}

// Copies pages into a new document and writes it; qpdf failures on a broken source are the
// source's fault.
void writePages(const std::vector<QPDFPageObjectHelper>& pages, const PageRanges::Group& group,
                const QString& sourceName, const QString& destination) {
    std::shared_ptr<QPDF> output = PDFDocument::empty();
    try {
        for (qint64 page : group)
            PDFDocument::appendCopy(*output, pages[size_t(page - 1)]);
    } catch (const std::exception&) {
        NameReservations::release({destination});
        throw ConversionError::unreadable(sourceName);
    }
    PDFDocument::write(*output, destination);
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

} // namespace

qint64 pageCount(const QString& path) {
    std::shared_ptr<QPDF> document = PDFDocument::open(path);
    return qint64(PDFDocument::pages(*document, fileName(path)).size());
}

QStringList split(const QString& input, const QList<PageRanges::Group>& groups,
                  const OutputContext& context) {
    const QString name = fileName(input);
    const qint64 count = pageCount(input);
    QList<PageRanges::Group> chosen;
    for (const PageRanges::Group& group : groups) {
        if (!group.isEmpty())
            chosen.append(group);
    }
    if (chosen.isEmpty())
        throw ConversionError::failed(QStringLiteral("Keine Seiten ausgewählt."));
    for (const PageRanges::Group& group : chosen)
        requirePages(group, count);
    QStringList destinations;
    if (chosen.size() == 1) {
        destinations.append(context.destination(input, QStringLiteral("pdf"), label(chosen[0])));
    } else {
        const QDir folder(context.makeFolder(input, QStringLiteral("aufgeteilt")));
        for (qsizetype i = 0; i < chosen.size(); ++i) {
            destinations.append(
                folder.filePath(QStringLiteral("Teil %1 – %2.pdf")
                                    .arg(zeroPadded(i + 1, chosen.size()), label(chosen[i]))));
        }
    }
    // Writing many small files waits mostly on the disk, so several are written at once, each
    // thread copying from its own reading of the source.
    ParallelPages::run(int(chosen.size()), JobRunner::width(), [&] {
        auto source = PDFDocument::open(input);
        auto pages =
            std::make_shared<std::vector<QPDFPageObjectHelper>>(PDFDocument::pages(*source, name));
        return [&, source, pages](int index) {
            writePages(*pages, chosen[index], name, destinations[index]);
        };
    });
    return destinations;
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
    const QString destination = context.destinationNamed(mergedName(name), parts[0].path);
    PDFDocument::write(*output, destination);
    return destination;
}

QString compress(const QString& input, const OutputContext& context) {
    std::shared_ptr<QPDF> document = PDFDocument::open(input);
    if (PDFDocument::pages(*document, fileName(input)).empty())
        throw ConversionError::unreadable(fileName(input));
    const QString destination =
        context.destination(input, QStringLiteral("pdf"), QStringLiteral("komprimiert"));
    try {
        PDFImageCompressor::recompress(*document, context.quality, JobRunner::width());
    } catch (const std::exception&) {
        NameReservations::release({destination});
        throw ConversionError::unreadable(fileName(input));
    }
    PDFDocument::write(*document, destination, [](QPDFWriter& writer) {
        writer.setCompressStreams(true);
        writer.setDecodeLevel(qpdf_dl_generalized);
        writer.setObjectStreamMode(qpdf_o_generate);
    });
    SizeCheck::requireSmaller(destination, input, QStringLiteral("Das PDF"));
    return destination;
}

QString toImages(const QString& input, const ImageFormat& format, const OutputContext& context,
                 double dpi) {
    const int count = PDFRenderer::open(input)->pages();
    QStringList destinations;
    QString result;
    if (count == 1) {
        result = context.destination(input, format.ext);
        destinations.append(result);
    } else {
        result = context.makeFolder(input);
        const QDir folder(result);
        for (int i = 1; i <= count; ++i) {
            destinations.append(folder.filePath(
                QStringLiteral("Seite %1.%2").arg(zeroPadded(i, count), format.ext)));
        }
    }
    const double quality = context.quality;
    ParallelPages::run(count, JobRunner::width(), [&] {
        std::shared_ptr<poppler::document> document = PDFRenderer::open(input);
        return [&, document](int index) {
            std::unique_ptr<poppler::page> page(document->create_page(index));
            if (!page)
                throw ConversionError::failed(
                    QStringLiteral("Bild konnte nicht gerendert werden."));
            const vips::VImage image = PDFRenderer::render(*page, dpi);
            AtomicFile::writeBytes(destinations[index], [&] {
                return ImagePipeline::encode(image, format, quality, ImageMetadata::none(), dpi);
            });
        };
    });
    return result;
}

QString toText(const QString& input, const OutputContext& context) {
    std::unique_ptr<poppler::document> document = PDFRenderer::open(input, false);
    QStringList pages;
    QList<int> scanned;
    for (int i = 0; i < document->pages(); ++i) {
        std::unique_ptr<poppler::page> page(document->create_page(i));
        pages.append(page ? trimmedSpace(PDFRenderer::text(*page)) : QString());
        if (pages.last().isEmpty())
            scanned.append(i);
    }
    if (!scanned.isEmpty()) {
        const QStringList recognised = VisionTools::recognizePages(input, scanned);
        for (qsizetype i = 0; i < scanned.size(); ++i)
            pages[scanned[i]] = trimmedSpace(recognised[i]);
    }
    pages.removeAll(QString());
    const QString text = pages.join(QStringLiteral("\n\n"));
    if (text.isEmpty())
        throw ConversionError::failed(QStringLiteral("Im PDF wurde kein Text gefunden."));
    const QString destination = context.destination(input, QStringLiteral("txt"));
    AtomicFile::writeBytes(destination, [&] { return text.toUtf8(); });
    return destination;
}

} // namespace tramix::PDFConverter
