#include "PDFConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "Image/ImageMetadata.h"
#include "Image/ImagePipeline.h"
#include "JobRunner.h"
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

// Page i of `input` under names[i], rendered side by side; returns the paths written.
std::vector<QString> renderPages(const QString& input, std::vector<NameReservation> names,
                                 const ImageFormat& format, double quality, double dpi) {
    std::vector<QString> written(names.size());
    ParallelPages::run(int(names.size()), JobRunner::width(), [&] {
        std::shared_ptr<poppler::document> document = PDFRenderer::open(input);
        return [&, document](int index) {
            std::unique_ptr<poppler::page> page(document->create_page(index));
            if (!page)
                throw ConversionError::failed(
                    QStringLiteral("Bild konnte nicht gerendert werden."));
            const vips::VImage image = PDFRenderer::render(*page, dpi);
            written[size_t(index)] = AtomicFile::writeBytes(std::move(names[size_t(index)]), [&] {
                return ImagePipeline::encode(image, format, quality, ImageMetadata::none(), dpi);
            });
        };
    });
    return written;
}

} // namespace

QString compress(const QString& input, const OutputContext& context) {
    std::shared_ptr<QPDF> document = PDFDocument::open(input);
    if (PDFDocument::pages(*document, fileName(input)).empty())
        throw ConversionError::unreadable(fileName(input));
    NameReservation destination =
        context.destination(input, QStringLiteral("pdf"), QStringLiteral("komprimiert"));
    try {
        PDFImageCompressor::recompress(*document, context.quality, JobRunner::width());
    } catch (const std::exception&) {
        throw ConversionError::unreadable(fileName(input));
    }
    const QString written =
        PDFDocument::write(*document, std::move(destination), [](QPDFWriter& writer) {
            writer.setCompressStreams(true);
            writer.setDecodeLevel(qpdf_dl_generalized);
            writer.setObjectStreamMode(qpdf_o_generate);
        });
    SizeCheck::requireSmaller(written, input, QStringLiteral("Das PDF"));
    return written;
}

QString toImages(const QString& input, const ImageFormat& format, const OutputContext& context,
                 double dpi) {
    const int count = PDFRenderer::open(input)->pages();
    std::vector<NameReservation> names;
    if (count == 1) {
        names.push_back(context.destination(input, format.ext));
        return renderPages(input, std::move(names), format, context.quality, dpi).front();
    }
    const QDir folder(context.makeFolder(input));
    for (int i = 1; i <= count; ++i) {
        names.emplace_back(folder.filePath(
            QStringLiteral("Seite %1.%2").arg(PageRanges::zeroPadded(i, count), format.ext)));
    }
    renderPages(input, std::move(names), format, context.quality, dpi);
    return folder.path();
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
    return AtomicFile::writeBytes(context.destination(input, QStringLiteral("txt")),
                                  [&] { return text.toUtf8(); });
}

} // namespace tramix::PDFConverter
