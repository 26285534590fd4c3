#include "VisionTools.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "Image/ImagePipeline.h"
#include "TextRecognizer.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <mutex>

namespace tramix::VisionTools {

namespace {

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
    // Refused before the engine loads.
    const TextRecognizer::Page page = TextRecognizer::prepared(image, dpi);
    TextRecognizer recognizer(TextRecognizer::Engines::spareForBands);
    return recognizer.read(page.image, page.dpi);
}

QString recognizeText(const QString& input, const OutputContext& context) {
    const ImagePipeline::Loaded loaded = ImagePipeline::load(input);
    // Refused or shrunk by its size alone, then decoded here, where a damaged file is named.
    const TextRecognizer::Page page = TextRecognizer::prepared(
        loaded.image, ImagePipeline::declaredDPI(loaded.image).value_or(0));
    const QString text = recognize(ImagePipeline::decoded(input, page.image), page.dpi);
    if (text.isEmpty())
        throw ConversionError::failed(QStringLiteral("Im Bild wurde kein Text gefunden."));
    return save(text, input, context);
}

QString save(const QString& text, const QString& input, const OutputContext& context) {
    const QString written = AtomicFile::writeBytes(
        context.destination(input, QStringLiteral("txt"), QStringLiteral("Text")),
        [&] { return text.toUtf8(); });
    toClipboard(text);
    return written;
}

} // namespace tramix::VisionTools
