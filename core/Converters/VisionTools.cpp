#include "VisionTools.h"

#include "../AtomicFile.h"
#include "../ConversionError.h"
#include "../JobRunner.h"
#include "ImagePipeline.h"
#include "PDFRenderer.h"
#include "ParallelPages.h"
#include "TextRecognizer.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <mutex>
#include <vector>

namespace tramix::VisionTools {

namespace {

// Scans are read at this resolution: sharp enough for small print, quick to recognise.
constexpr double scanDPI = 200;

struct HookSlot {
    std::mutex lock;
    ClipboardHook hook;
};

HookSlot& hookSlot() {
    static HookSlot slot;
    return slot;
}

void toClipboard(const QString& text) {
    ClipboardHook hook;
    {
        HookSlot& slot = hookSlot();
        std::lock_guard guard(slot.lock);
        hook = slot.hook;
    }
    QCoreApplication* app = QCoreApplication::instance();
    if (!hook || !app)
        return;
    QMetaObject::invokeMethod(
        app, [hook, text] { hook(text); }, Qt::QueuedConnection);
}

} // namespace

void setClipboardHook(ClipboardHook hook) {
    HookSlot& slot = hookSlot();
    std::lock_guard guard(slot.lock);
    slot.hook = std::move(hook);
}

QString recognize(const vips::VImage& image, double dpi) {
    TextRecognizer recognizer;
    return recognizer.read(image, dpi);
}

QString recognizeText(const QString& input, const OutputContext& context) {
    const ImagePipeline::Loaded loaded = ImagePipeline::load(input);
    const QString text =
        recognize(loaded.image, ImagePipeline::declaredDPI(loaded.image).value_or(0));
    if (text.isEmpty())
        throw ConversionError::failed(QStringLiteral("Im Bild wurde kein Text gefunden."));
    return save(text, input, context);
}

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

QString recognizeTextInPDF(const QString& pdf) {
    const int pages = PDFRenderer::open(pdf)->pages();
    QList<int> indexes;
    for (int i = 0; i < pages; ++i)
        indexes.append(i);
    QStringList texts = recognizePages(pdf, indexes);
    texts.removeAll(QString());
    return texts.join(QStringLiteral("\n\n"));
}

QString save(const QString& text, const QString& input, const OutputContext& context) {
    const QString destination =
        context.destination(input, QStringLiteral("txt"), QStringLiteral("Text"));
    AtomicFile::writeBytes(destination, [&] { return text.toUtf8(); });
    toClipboard(text);
    return destination;
}

QString removeBackground(const QString&, const OutputContext&) {
    throw ConversionError::unsupported(QStringLiteral("Hintergrund entfernen"));
}

} // namespace tramix::VisionTools
