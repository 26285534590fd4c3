#include "PDFScanText.h"

#include "ConversionError.h"
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

} // namespace

QStringList recognizePages(const QString& pdf, const QList<int>& pageIndexes) {
    std::vector<QString> texts(size_t(pageIndexes.size()));
    ParallelPages::run(int(pageIndexes.size()), JobRunner::width(), [&] {
        auto document = std::shared_ptr<poppler::document>(PDFRenderer::open(pdf));
        auto recognizer = std::make_shared<TextRecognizer>();
        return [&texts, &pageIndexes, document, recognizer](int index) {
            std::unique_ptr<poppler::page> page(document->create_page(pageIndexes[index]));
            if (!page)
                throw ConversionError::failed(
                    QStringLiteral("Bild konnte nicht gerendert werden."));
            texts[index] = recognizer->read(PDFRenderer::render(*page, scanDPI, true), scanDPI);
        };
    });
    return QStringList(texts.begin(), texts.end());
}

} // namespace tramix::PDFScanText
