#include "PDFScanText.h"

#include "ConversionError.h"
#include "Image/ImageBudget.h"
#include "JobRunner.h"
#include "PDFRenderer.h"
#include "ParallelPages.h"
#include "Text/TextRecognizer.h"

#include <memory>
#include <vector>

namespace tramix::PDFScanText {

namespace {

// Scans are read at this resolution: sharp enough for small print, quick to recognise.
constexpr double scanDPI = 200;

// Recognition holds its own copies of the page, some 20 bytes a pixel, besides the grey bitmap's
// two; pages too large for the render budget at that are read at a lower resolution.
constexpr qint64 scanBytesPerPixel = qint64(ImageBudget::recognitionBytesPerPixel) + 2;

} // namespace

QStringList recognizePages(const QString& pdf, const QList<int>& pageIndexes) {
    std::vector<QString> texts(size_t(pageIndexes.size()));
    const std::vector<PDFDocument::ImageMemory> images = PDFDocument::imageMemory(pdf);
    ParallelPages::run(int(pageIndexes.size()), JobRunner::width(), [&] {
        auto document = std::shared_ptr<poppler::document>(PDFRenderer::open(pdf));
        auto recognizer = std::make_shared<TextRecognizer>();
        return [&texts, &pageIndexes, &images, document, recognizer](int index) {
            std::unique_ptr<poppler::page> page(document->create_page(pageIndexes[index]));
            if (!page)
                throw ConversionError::failed(
                    QStringLiteral("Bild konnte nicht gerendert werden."));
            const int number = pageIndexes[index];
            const PDFRenderer::Rendered drawn = PDFRenderer::render(
                *page, number + 1, scanDPI,
                {.grey = true,
                 .bytesPerPixel = scanBytesPerPixel,
                 .images = size_t(number) < images.size() ? images[size_t(number)]
                                                          : PDFDocument::ImageMemory{}});
            texts[index] = recognizer->read(drawn.image, drawn.dpi);
        };
    });
    return QStringList(texts.begin(), texts.end());
}

} // namespace tramix::PDFScanText
