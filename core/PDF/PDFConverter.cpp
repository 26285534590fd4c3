#include "PDFConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "FileDescriptor.h"
#include "Image/ImageMetadata.h"
#include "Image/ImagePipeline.h"
#include "JobRunner.h"
#include "PDFDocument.h"
#include "PDFImageCompressor.h"
#include "PDFRenderer.h"
#include "PDFScanText.h"
#include "ParallelPages.h"
#include "SizeCheck.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>
#include <utility>

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

// A new file in a folder that AtomicFile::writeFolder stages, never made through a link.
void writeNewFile(const QString& path, const QByteArray& bytes) {
    const QString name = fileName(path);
    FileDescriptor file(::open(QFile::encodeName(path).constData(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (file.get() < 0)
        SystemError::throwWriteFailure(name, errno);
    if (const int error = file.writeAll(bytes.constData(), size_t(bytes.size())))
        SystemError::throwWriteFailure(name, error);
    if (file.release() != 0)
        SystemError::throwWriteFailure(name, errno);
}

// What drawing the pages to images takes.
struct Drawing {
    ImageFormat format;
    double quality;
    double dpi;
    std::vector<PDFDocument::ImageMemory> images; // by page, as far as known
};

// Page `index` (from 0) drawn and encoded, handed to `store` while the bitmap is still held, so
// that what the page takes stays counted until it is written.
void drawPage(poppler::document& document, int index, const Drawing& drawing,
              const std::function<void(const QByteArray& encoded)>& store) {
    std::unique_ptr<poppler::page> page(document.create_page(index));
    if (!page)
        throw ConversionError::failed(QStringLiteral("Bild konnte nicht gerendert werden."));
    // Pages too large for the memory budget come out at a lower resolution, which the image
    // records, so that it still prints at the page's size.
    PDFRenderer::Needs needs;
    if (size_t(index) < drawing.images.size())
        needs.images = drawing.images[size_t(index)];
    const PDFRenderer::Rendered drawn = PDFRenderer::render(*page, index + 1, drawing.dpi, needs);
    store(ImagePipeline::encode(drawn.image, drawing.format, drawing.quality, ImageMetadata::none(),
                                drawn.dpi, ImagePipeline::Content::drawing));
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
        PDFDocument::write(*document, std::move(destination),
                           {.source = fileName(input), .configure = [](QPDFWriter& writer) {
                                writer.setCompressStreams(true);
                                writer.setDecodeLevel(qpdf_dl_generalized);
                                writer.setObjectStreamMode(qpdf_o_generate);
                            }});
    SizeCheck::requireSmaller(written, input, QStringLiteral("Das PDF"));
    return written;
}

QString toImages(const QString& input, const ImageFormat& format, const OutputContext& context,
                 double dpi) {
    std::shared_ptr<poppler::document> opened = PDFRenderer::open(input);
    const int count = opened->pages();
    const Drawing drawing{format, context.quality, dpi, PDFDocument::imageMemory(input)};
    if (count == 1) {
        QString written;
        drawPage(*opened, 0, drawing, [&](const QByteArray& encoded) {
            written = AtomicFile::writeBytes(context.destination(input, format.ext),
                                             [&] { return encoded; });
        });
        return written;
    }
    // Staged and named whole: a failing page or a kill leaves no half folder, and the pages go
    // through the staging folder's handle, whatever is put in place of its name meanwhile.
    return AtomicFile::writeFolder(
        context.destinationNamed(outputStem(input), input), [&](const QString& staging) {
            std::mutex handOver; // the first thread takes the document opened already
            ParallelPages::run(count, JobRunner::width(), [&] {
                std::unique_lock lock(handOver);
                std::shared_ptr<poppler::document> document = std::exchange(opened, nullptr);
                lock.unlock();
                if (!document)
                    document = PDFRenderer::open(input);
                return [&, document](int index) {
                    const QString name =
                        QStringLiteral("Seite %1.%2")
                            .arg(PageRanges::zeroPadded(index + 1, count), format.ext);
                    drawPage(*document, index, drawing, [&](const QByteArray& encoded) {
                        writeNewFile(staging + u'/' + name, encoded);
                    });
                };
            });
        });
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
