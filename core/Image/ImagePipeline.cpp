#include "ImagePipeline.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "HeifEncoder.h"
#include "ImagePixels.h"
#include "VipsRuntime.h"

#include <QFile>
#include <QFileInfo>
#include <cmath>

namespace tramix::ImagePipeline {

using vips::VImage;

namespace {

const char* const orientationField = "orientation";

void requireRuntime() {
    if (!VipsRuntime::ensureStarted()) {
        throw ConversionError::failed(
            QStringLiteral("Die Bildbibliothek libvips konnte nicht gestartet werden."));
    }
}

// libvips keeps its messages in one growing buffer; take ours and start afresh.
QString takeVipsError(const std::exception& error) {
    const QString message = QString::fromUtf8(error.what());
    vips_error_clear();
    return message;
}

VImage open(const QString& path, VipsAccess access) {
    const QByteArray file = QFile::encodeName(path);
    try {
        return VImage::new_from_file(file.constData(), VImage::option()->set("access", access));
    } catch (const vips::VError& error) {
        takeVipsError(error);
        throw ConversionError::unreadable(QFileInfo(path).fileName());
    }
}

void refuseBombs(const VImage& header, const QString& name) {
    if (header.width() < 1 || header.height() < 1)
        throw ConversionError::unreadable(name);
    if (double(header.width()) * header.height() > maxPixels) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ ist mit %2 × %3 Pixeln zu groß (höchstens %4 Megapixel).")
                .arg(name)
                .arg(header.width())
                .arg(header.height())
                .arg(qRound(maxPixels / 1e6)));
    }
}

Loaded loaded(const QString& path, const VImage& header, const VImage& image) {
    const bool turned = orientationOf(header) >= 5;
    const QSize original =
        turned ? QSize(header.height(), header.width()) : QSize(header.width(), header.height());
    return {image, original, ImageMetadata::read(path).upright(image.width(), image.height()),
            declaredDPI(header).value_or(72.0), QFileInfo(path).fileName()};
}

bool canEmbedProfile(const ImageFormat& format) {
    return format != ImageFormat::gif && format != ImageFormat::bmp;
}

// Formats that cannot show colours the way the source means them get sRGB pixels instead.
VImage inSRGBWhereNeeded(const VImage& source, const ImageFormat& format) {
    VImage image = ImagePixels::inRGBOrGrey(source);
    if (!canEmbedProfile(format) && image.get_typeof(VIPS_META_ICC_NAME)) {
        image = ImagePixels::toSRGB(image).copy();
        image.remove(VIPS_META_ICC_NAME);
    }
    return image;
}

// libvips writes what its fields say; the metadata is ours to decide, so only the colour
// profile stays.
VImage withoutMetadataFields(VImage image) {
    image = image.copy();
    char** fields = vips_image_get_fields(image.get_image());
    for (char** field = fields; *field; ++field) {
        const QByteArray name(*field);
        if (name.startsWith("exif-") || name.startsWith("iptc-") || name.startsWith("xmp-") ||
            name.endsWith("-comment") || name.contains("-comment-") || name == orientationField)
            image.remove(*field);
    }
    g_strfreev(fields);
    return image;
}

VImage prepared(const VImage& source, const ImageFormat& format, double dpi) {
    VImage image = inSRGBWhereNeeded(source, format);
    if (!format.supportsAlpha && ImagePixels::hasAlpha(image))
        image = ImagePixels::flattened(image);
    const double pixelsPerMillimetre = dpi / 25.4;
    image = image.copy(
        VImage::option()->set("xres", pixelsPerMillimetre)->set("yres", pixelsPerMillimetre));
    return withoutMetadataFields(image);
}

int qualityPercent(double quality) {
    return int(std::lround(std::clamp(quality, 0.0, 1.0) * 100));
}

std::optional<HeifEncoder::Codec> heifCodec(const ImageFormat& format) {
    if (format == ImageFormat::heic)
        return HeifEncoder::Codec::hevc;
    if (format == ImageFormat::avif)
        return HeifEncoder::Codec::av1;
    return std::nullopt;
}

// The libvips saver and its options for a format; HEIC and AVIF go through libheif instead.
struct Saver {
    const char* name;
    vips::VOption* options;
};

// Optimised Huffman tables make JPEGs about 5 % smaller but hold every coefficient of the image
// in memory (some 300 MB for 100 MP), so large images stream without them.
bool optimizesCoding(const VImage& image) {
    return double(image.width()) * image.height() <= 20e6;
}

Saver saverFor(const VImage& image, const ImageFormat& format, double quality) {
    auto options = VImage::option();
    if (format == ImageFormat::jpg) {
        options->set("Q", qualityPercent(quality))->set("optimize_coding", optimizesCoding(image));
        return {"jpegsave", options};
    }
    if (format == ImageFormat::webp) {
        options->set("Q", qualityPercent(quality));
        return {"webpsave", options};
    }
    if (format == ImageFormat::png)
        return {"pngsave", options};
    if (format == ImageFormat::tiff) {
        options->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW)
            ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL);
        return {"tiffsave", options};
    }
    if (format == ImageFormat::gif)
        return {"gifsave", options};
    if (format == ImageFormat::bmp) {
        options->set("format", "bmp");
        return {"magicksave", options};
    }
    delete options;
    throw ConversionError::unsupported(QStringLiteral("%1-Export").arg(format.title));
}

QByteArray encodePrepared(const VImage& image, const ImageFormat& format, double quality,
                          const ImageMetadata& metadata) {
    if (const auto codec = heifCodec(format))
        return HeifEncoder::encode(image, *codec, quality, metadata);
    Saver saver = saverFor(image, format, quality);
    VipsBlob* blob = nullptr;
    image.call((QByteArray(saver.name) + "_buffer").constData(),
               saver.options->set("in", image)->set("buffer", &blob));
    size_t length = 0;
    const void* data = vips_blob_get(blob, &length);
    QByteArray bytes(static_cast<const char*>(data), qsizetype(length));
    vips_area_unref(VIPS_AREA(blob));
    if (metadata.needsWriting() && ImageMetadata::canWriteInto(format.ext))
        bytes = metadata.writtenInto(bytes);
    return bytes;
}

QString savePrepared(const VImage& image, const ImageFormat& format, double quality,
                     const ImageMetadata& metadata, NameReservation destination) {
    if (heifCodec(format)) {
        return AtomicFile::writeBytes(std::move(destination), [&] {
            return encodePrepared(image, format, quality, metadata);
        });
    }
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        Saver saver = saverFor(image, format, quality);
        const QByteArray file = QFile::encodeName(temporary);
        image.call(saver.name, saver.options->set("in", image)->set("filename", file.constData()));
        if (metadata.needsWriting() && ImageMetadata::canWriteInto(format.ext))
            metadata.writeInto(temporary);
    });
}

template <typename Work> auto decoding(const QString& name, Work work) {
    try {
        return work();
    } catch (const vips::VError& error) {
        takeVipsError(error);
        throw ConversionError::unreadable(name);
    }
}

// A libvips failure while writing is mostly the source failing to decode.
template <typename Work> auto writing(const QString& name, const ImageFormat& format, Work work) {
    try {
        return work();
    } catch (const vips::VError& error) {
        const QString message = takeVipsError(error);
        if (message.contains(u"load", Qt::CaseInsensitive) ||
            message.contains(u"read", Qt::CaseInsensitive))
            throw ConversionError::unreadable(name);
        throw ConversionError::failed(
            QStringLiteral("%1 konnte nicht geschrieben werden.").arg(format.title));
    }
}

} // namespace

int orientationOf(const VImage& image) {
    const int orientation =
        image.get_typeof(orientationField) ? image.get_int(orientationField) : 1;
    return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

VImage openStored(const QString& path) {
    requireRuntime();
    const VImage header = open(path, VIPS_ACCESS_SEQUENTIAL);
    refuseBombs(header, QFileInfo(path).fileName());
    return header;
}

QSizeF Loaded::sizeInPoints() const {
    return {image.width() * 72.0 / dpi, image.height() * 72.0 / dpi};
}

Loaded load(const QString& path) {
    requireRuntime();
    const QString name = QFileInfo(path).fileName();
    const VImage header = open(path, VIPS_ACCESS_SEQUENTIAL);
    refuseBombs(header, name);
    if (orientationOf(header) == 1)
        return loaded(path, header, header);
    // Turning needs the pixels in any order, which a streaming decode cannot give.
    return decoding(name,
                    [&] { return loaded(path, header, open(path, VIPS_ACCESS_RANDOM).autorot()); });
}

Loaded loadFitting(const QString& path, int maxEdge) {
    requireRuntime();
    const QString name = QFileInfo(path).fileName();
    const VImage header = open(path, VIPS_ACCESS_SEQUENTIAL);
    refuseBombs(header, name);
    return decoding(name, [&] {
        const QByteArray file = QFile::encodeName(path);
        const VImage image = VImage::thumbnail(
            file.constData(), maxEdge,
            VImage::option()->set("height", maxEdge)->set("size", VIPS_SIZE_DOWN));
        return loaded(path, header, image);
    });
}

std::optional<double> declaredDPI(const VImage& image) {
    // 1 pixel per millimetre is what libvips fills in when a file declares nothing; no real
    // image is meant to be printed at 25.4 dpi.
    const double xres = image.xres();
    if (!(xres > 0) || std::abs(xres - 1.0) < 1e-9)
        return std::nullopt;
    return xres * 25.4;
}

QByteArray encode(const VImage& image, const ImageFormat& format, double quality,
                  const ImageMetadata& metadata, double dpi) {
    requireRuntime();
    return writing(QStringLiteral("Bild"), format, [&] {
        return encodePrepared(prepared(image, format, dpi), format, quality, metadata);
    });
}

QString save(const Loaded& loaded, const ImageFormat& format, double quality,
             const ImageMetadata& metadata, NameReservation destination) {
    return writing(loaded.name, format, [&] {
        return savePrepared(prepared(loaded.image, format, loaded.dpi), format, quality, metadata,
                            std::move(destination));
    });
}

} // namespace tramix::ImagePipeline
