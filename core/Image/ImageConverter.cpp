#include "ImageConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "FileKind.h"
#include "ImagePDFWriter.h"
#include "ImagePipeline.h"
#include "ImagePixels.h"
#include "SizeCheck.h"

#include <array>

namespace tramix::ImageConverter {

using ImagePipeline::Loaded;

namespace {

ImageFormat compressionTarget(const QString& ext, bool alpha) {
    if (ext == u"jpg")
        return ImageFormat::jpg;
    if (ext == u"heic")
        return ImageFormat::heic;
    if (ext == u"avif" && ImageFormat::writable().contains(ImageFormat::avif))
        return ImageFormat::avif;
    return alpha ? ImageFormat::heic : ImageFormat::jpg;
}

// Up to eight encodings, smallest first kept; stops once one is within three quarters of the
// input's size.
QByteArray smallestEncoding(const Loaded& loaded, const ImageFormat& target,
                            const ImageMetadata& metadata, qint64 inputSize) {
    const qint64 budget = qint64(double(inputSize) * 0.75);
    // Decoded once: every attempt re-encodes the same pixels.
    const vips::VImage full = ImagePipeline::decoded(loaded.path, loaded.image);
    QByteArray smallest;
    for (const double factor : {1.0, 0.75}) {
        const vips::VImage image =
            factor == 1.0 ? full : ImagePixels::scaled(full, factor).copy_memory();
        const ImageMetadata upright = metadata.upright(image.width(), image.height());
        for (const double quality : {0.72, 0.60, 0.48, 0.38}) {
            const QByteArray bytes =
                ImagePipeline::encode(image, target, quality, upright, loaded.dpi);
            if (smallest.isEmpty() || bytes.size() < smallest.size())
                smallest = bytes;
            if (inputSize == 0 || bytes.size() <= budget)
                return smallest;
        }
    }
    return smallest;
}

} // namespace

QString convert(const QString& input, const ImageFormat& format, const OutputContext& context) {
    const Loaded loaded = ImagePipeline::load(input);
    return ImagePipeline::save(loaded, format, context.quality, loaded.metadata,
                               context.destination(input, format.ext));
}

QString compress(const QString& input, const OutputContext& context) {
    const Loaded loaded = ImagePipeline::loadFitting(input, 3840);
    const ImageFormat target = compressionTarget(FileKind::canonicalExtension(pathExtension(input)),
                                                 ImagePixels::hasAlpha(loaded.image));
    const qint64 inputSize = SizeCheck::size(input);
    const QByteArray result =
        smallestEncoding(loaded, target, loaded.metadata.withoutXMP(), inputSize);
    if (inputSize > 0 && !(double(result.size()) < double(inputSize) * 0.97))
        throw ConversionError::failed(QStringLiteral("Das Bild ist bereits optimal komprimiert."));
    return AtomicFile::writeBytes(
        context.destination(input, target.ext, QStringLiteral("komprimiert")),
        [&] { return result; });
}

QString resizeForWeb(const QString& input, int maxEdge, const OutputContext& context) {
    const Loaded loaded = ImagePipeline::loadFitting(input, maxEdge);
    if (std::max(loaded.originalSize.width(), loaded.originalSize.height()) <= maxEdge) {
        throw ConversionError::failed(
            QStringLiteral("Das Bild ist schon höchstens %1 px groß.").arg(maxEdge));
    }
    const ImageFormat target =
        ImagePixels::hasAlpha(loaded.image) ? ImageFormat::png : ImageFormat::jpg;
    return ImagePipeline::save(loaded, target, context.quality, loaded.metadata,
                               context.destination(input, target.ext, QStringLiteral("Web")));
}

QString stripMetadata(const QString& input, const OutputContext& context) {
    const Loaded loaded = ImagePipeline::load(input);
    const ImageFormat format = ImageFormat::forFile(input);
    return ImagePipeline::save(
        loaded, format, std::max(context.quality, 0.92), ImageMetadata::none(),
        context.destination(input, format.ext, QStringLiteral("ohne Metadaten")));
}

QString makePDF(const QStringList& inputs, NameReservation destination) {
    const QString name = destination.path();
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        ImagePDFWriter writer(temporary, name);
        for (const QString& input : inputs)
            writer.addPage(input);
        writer.finish();
    });
}

QString imagesToPDF(const QStringList& inputs, const OutputContext& context) {
    if (inputs.isEmpty())
        throw ConversionError::failed(QStringLiteral("Keine Dateien."));
    return makePDF(inputs, context.destination(inputs.first(), QStringLiteral("pdf")));
}

} // namespace tramix::ImageConverter
