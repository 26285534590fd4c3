#include "PDFConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "Image/ImageMetadata.h"
#include "Image/ImagePipeline.h"
#include "JobRunner.h"
#include "NameReservations.h"
#include "PDFDocument.h"
#include "PDFImageCompressor.h"
#include "PDFRenderer.h"
#include "PDFScanText.h"
#include "ParallelPages.h"
#include "SizeCheck.h"

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

} // namespace

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
                QStringLiteral("Seite %1.%2").arg(PageRanges::zeroPadded(i, count), format.ext)));
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
        const QStringList recognised = PDFScanText::recognizePages(input, scanned);
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
