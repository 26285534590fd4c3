#include "ImagePipeline.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "EngineLog.h"
#include "FileSink.h"
#include "HeifEncoder.h"
#include "ImageBudget.h"
#include "ImagePixels.h"
#include "SystemError.h"
#include "VipsRuntime.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <cerrno>
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

// Decoders stop where the file ends rather than fill the rows it lacks with grey.
VImage open(const QString& path, VipsAccess access, VipsFailOn failOn = VIPS_FAIL_ON_TRUNCATED) {
    const QByteArray file = QFile::encodeName(path);
    try {
        return VImage::new_from_file(
            file.constData(), VImage::option()->set("access", access)->set("fail_on", failOn));
    } catch (const vips::VError& error) {
        throwUndecodable(path, takeVipsError(error));
    }
}

void refuseBombs(const VImage& header, const QString& name) {
    if (header.width() < 1 || header.height() < 1)
        throw ConversionError::unreadable(name);
    const double pixels = double(header.width()) * header.height();
    const double perPixel = ImageBudget::decoderBytesPerPixel(header);
    const double most = perPixel > 0
                            ? std::min(ImageBudget::maxPixels, ImageBudget::memory / perPixel)
                            : ImageBudget::maxPixels;
    if (pixels > most) {
        throw ConversionError::failed(
            QStringLiteral("„%1“ ist mit %2 × %3 Pixeln zu groß (höchstens %4 Megapixel).")
                .arg(name)
                .arg(header.width())
                .arg(header.height())
                .arg(std::floor(most / 1e6)));
    }
}

Loaded loaded(const QString& path, const VImage& header, const VImage& image) {
    const bool turned = orientationOf(header) >= 5;
    const QSize original =
        turned ? QSize(header.height(), header.width()) : QSize(header.width(), header.height());
    return {image,
            original,
            ImageMetadata::read(path).upright(image.width(), image.height()),
            declaredDPI(header).value_or(72.0),
            path,
            QFileInfo(path).fileName()};
}

// Whether every pixel of the file decodes when the decoder may stop at nothing (`failOn` none,
// filling what is missing) or at a missing row (truncated).
bool decodes(const QString& path, VipsFailOn failOn) {
    const QByteArray file = QFile::encodeName(path);
    try {
        const VImage header = VImage::new_from_file(file.constData());
        const char* loader = nullptr;
        const bool jpeg = vips_image_get_string(header.get_image(), "vips-loader", &loader) == 0 &&
                          QByteArray(loader) == "jpegload";
        auto options =
            VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", failOn);
        if (jpeg)
            options->set("shrink", 8);
        VImage::new_from_file(file.constData(), options).avg();
        vips_error_clear(); // what the decoder noted on its way
        return true;
    } catch (const vips::VError& error) {
        takeVipsError(error);
        return false;
    }
}

// The system's reason in libvips' text of a failed write ("… No space left on device"), as the
// errno it stands for; 0 when it names none of those a user can act on.
int systemErrorIn(const QString& message) {
    for (const int error : {ENOSPC, EDQUOT, EFBIG, EIO, EROFS, EACCES, EPERM, ENOENT, ENOMEM}) {
        if (message.contains(QString::fromUtf8(g_strerror(error))))
            return error;
    }
    return 0;
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

// zlib's level 6 spends most of a rendered page's time for about a tenth of its size; level 3
// keeps the pages as small as poppler's own PNGs at some 40 % less of zlib's time.
constexpr int drawingPNGCompression = 3;

Saver saverFor(const VImage& image, const ImageFormat& format, double quality,
               Content content = Content::photo) {
    auto options = VImage::option();
    if (format == ImageFormat::jpg) {
        options->set("Q", qualityPercent(quality))->set("optimize_coding", optimizesCoding(image));
        return {"jpegsave", options};
    }
    if (format == ImageFormat::webp) {
        options->set("Q", qualityPercent(quality));
        return {"webpsave", options};
    }
    if (format == ImageFormat::png) {
        if (content == Content::drawing)
            options->set("compression", drawingPNGCompression)
                ->set("filter", VIPS_FOREIGN_PNG_FILTER_NONE);
        return {"pngsave", options};
    }
    if (format == ImageFormat::tiff) {
        options->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW)
            ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL);
        return {"tiffsave", options};
    }
    if (format == ImageFormat::gif)
        return {"gifsave", options};
    delete options;
    throw ConversionError::unsupported(QStringLiteral("%1-Export").arg(format.title));
}

// 8-bit sRGB, three bands: what a BMP of 24 bits per pixel holds.
VImage inEightBitRGB(const VImage& source) {
    VImage image = source;
    if (image.interpretation() != VIPS_INTERPRETATION_sRGB || image.format() != VIPS_FORMAT_UCHAR)
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR)
        image = image.cast(VIPS_FORMAT_UCHAR);
    if (image.bands() > 3)
        image = image.extract_band(0, VImage::option()->set("n", 3));
    return image;
}

// The BMP headers for a top-down picture of 24 bits per pixel: every reader takes a negative
// height as rows from the top, so the rows can be written as they are decoded.
QByteArray bmpHeader(int width, int height, qint64 rowBytes, double pixelsPerMetre) {
    constexpr int headerBytes = 14 + 40;
    QByteArray header(headerBytes, '\0');
    char* at = header.data();
    const auto put32 = [](char* where, quint32 value) { qToLittleEndian(value, where); };
    const auto put16 = [](char* where, quint16 value) { qToLittleEndian(value, where); };
    at[0] = 'B';
    at[1] = 'M';
    put32(at + 2, quint32(headerBytes + rowBytes * height));
    put32(at + 10, headerBytes);
    put32(at + 14, 40);
    put32(at + 18, quint32(width));
    put32(at + 22, quint32(-height));
    put16(at + 26, 1);  // planes
    put16(at + 28, 24); // bits per pixel
    put32(at + 34, quint32(rowBytes * height));
    put32(at + 38, quint32(std::lround(pixelsPerMetre)));
    put32(at + 42, quint32(std::lround(pixelsPerMetre)));
    return header;
}

void writeBMP(const VImage& source, const std::function<void(const QByteArray&)>& write) {
    const VImage image = inEightBitRGB(source);
    const int width = image.width();
    const qint64 rowBytes = (qint64(width) * 3 + 3) / 4 * 4;
    if (double(rowBytes) * image.height() > 4e9) {
        throw ConversionError::failed(QStringLiteral("Das Bild ist zu groß für BMP (%1 Megapixel).")
                                          .arg(std::ceil(double(width) * image.height() / 1e6)));
    }
    write(bmpHeader(width, image.height(), rowBytes, image.xres() * 1000));
    QByteArray row(rowBytes, '\0');
    ImagePixels::forEachRow(image, [&](int, const unsigned char* pixels) {
        for (int x = 0; x < width; ++x) {
            row[3 * x] = char(pixels[3 * x + 2]);
            row[3 * x + 1] = char(pixels[3 * x + 1]);
            row[3 * x + 2] = char(pixels[3 * x]);
        }
        write(row);
    });
}

// Whether the encoded file must be rewritten by exiv2 to carry exactly `metadata`. Once the
// fields are gone (`withoutMetadataFields`) libvips writes only the colour profile, except for
// the EXIF block with the resolution that it gives every JPEG and WebP.
bool rewritesMetadata(const ImageMetadata& metadata, const ImageFormat& format) {
    if (!metadata.needsWriting() || !ImageMetadata::canWriteInto(format.ext))
        return false;
    return !metadata.isEmpty() || format == ImageFormat::jpg || format == ImageFormat::webp;
}

// `destination` names the result in messages.
QByteArray encodePrepared(const VImage& image, const ImageFormat& format, double quality,
                          const ImageMetadata& metadata, const QString& destination,
                          Content content = Content::photo) {
    if (const auto codec = heifCodec(format))
        return HeifEncoder::encode(image, *codec, quality, metadata);
    if (format == ImageFormat::bmp) {
        QByteArray bytes;
        writeBMP(image, [&](const QByteArray& part) { bytes += part; });
        return bytes;
    }
    Saver saver = saverFor(image, format, quality, content);
    VipsBlob* blob = nullptr;
    image.call((QByteArray(saver.name) + "_buffer").constData(),
               saver.options->set("in", image)->set("buffer", &blob));
    size_t length = 0;
    const void* data = vips_blob_get(blob, &length);
    QByteArray bytes(static_cast<const char*>(data), qsizetype(length));
    vips_area_unref(VIPS_AREA(blob));
    if (rewritesMetadata(metadata, format))
        return metadata.writtenInto(bytes, destination);
    return bytes;
}

// The temporary is a path without extension (often "/proc/self/fd/N"): savers are named, never
// chosen by the file name. Files whose metadata exiv2 rewrites are encoded in memory and written
// with every write checked (exiv2 writing a file itself ignores some failures); the others
// stream into the file.
QString savePrepared(const VImage& image, const ImageFormat& format, double quality,
                     const ImageMetadata& metadata, NameReservation destination) {
    const QString name = destination.path();
    if (heifCodec(format) || rewritesMetadata(metadata, format)) {
        return AtomicFile::writeBytes(std::move(destination), [&] {
            return encodePrepared(image, format, quality, metadata, name);
        });
    }
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        if (format == ImageFormat::bmp) {
            FileSink sink(temporary, name);
            writeBMP(image, [&](const QByteArray& part) { sink.write(part); });
            sink.finish();
            return;
        }
        Saver saver = saverFor(image, format, quality);
        const QByteArray file = QFile::encodeName(temporary);
        image.call(saver.name, saver.options->set("in", image)->set("filename", file.constData()));
    });
}

template <typename Work> auto decoding(const QString& path, Work work) {
    try {
        return work();
    } catch (const vips::VError& error) {
        throwUndecodable(path, takeVipsError(error));
    }
}

} // namespace

void throwUndecodable(const QString& path, const QString& vipsMessage) {
    vips_error_clear();
    const QString name = QFileInfo(path).fileName();
    qCDebug(engineLog).noquote() << name << "did not decode:" << vipsMessage.trimmed();
    // What stops with every missing row but decodes with them filled in ends early.
    if (!decodes(path, VIPS_FAIL_ON_TRUNCATED) && decodes(path, VIPS_FAIL_ON_NONE))
        throw ConversionError::failed(QStringLiteral("„%1“ ist unvollständig.").arg(name));
    throw ConversionError::unreadable(name);
}

void requireComplete(const QString& path) {
    if (!decodes(path, VIPS_FAIL_ON_TRUNCATED))
        throwUndecodable(path, QStringLiteral("a decode of every row failed"));
}

VImage decoded(const QString& path, const VImage& image) {
    return decoding(path, [&] { return image.copy_memory(); });
}

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
    return decoding(path,
                    [&] { return loaded(path, header, open(path, VIPS_ACCESS_RANDOM).autorot()); });
}

Loaded loadInAnyOrder(const QString& path) {
    requireRuntime();
    const VImage header = open(path, VIPS_ACCESS_SEQUENTIAL);
    refuseBombs(header, QFileInfo(path).fileName());
    return decoding(path,
                    [&] { return loaded(path, header, open(path, VIPS_ACCESS_RANDOM).autorot()); });
}

Loaded loadFitting(const QString& path, int maxEdge) {
    requireRuntime();
    const QString name = QFileInfo(path).fileName();
    const VImage header = open(path, VIPS_ACCESS_SEQUENTIAL);
    refuseBombs(header, name);
    return decoding(path, [&] {
        const QByteArray file = QFile::encodeName(path);
        const VImage image = VImage::thumbnail(file.constData(), maxEdge,
                                               VImage::option()
                                                   ->set("height", maxEdge)
                                                   ->set("size", VIPS_SIZE_DOWN)
                                                   ->set("fail_on", VIPS_FAIL_ON_TRUNCATED));
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
                  const ImageMetadata& metadata, double dpi, Content content) {
    requireRuntime();
    ImageBudget::requireEncodable(image, format);
    try {
        return encodePrepared(prepared(image, format, dpi), format, quality, metadata,
                              QStringLiteral("Bild"), content);
    } catch (const vips::VError& error) {
        qCDebug(engineLog).noquote() << format.title << "did not encode:" << takeVipsError(error);
        throw ConversionError::failed(
            QStringLiteral("%1 konnte nicht geschrieben werden.").arg(format.title));
    }
}

QString save(const Loaded& loaded, const ImageFormat& format, double quality,
             const ImageMetadata& metadata, NameReservation destination) {
    ImageBudget::requireEncodable(loaded.image, format);
    const QString name = destination.path();
    try {
        return savePrepared(prepared(loaded.image, format, loaded.dpi), format, quality, metadata,
                            std::move(destination));
    } catch (const vips::VError& error) {
        const QString message = takeVipsError(error);
        // Mostly the source failing to decode; else the writing failed.
        if (!decodes(loaded.path, VIPS_FAIL_ON_TRUNCATED))
            throwUndecodable(loaded.path, message);
        qCDebug(engineLog).noquote() << format.title << "did not encode:" << message;
        if (const int reason = systemErrorIn(message))
            SystemError::throwWriteFailure(name, reason);
        throw ConversionError::failed(
            QStringLiteral("%1 konnte nicht geschrieben werden.").arg(format.title));
    }
}

} // namespace tramix::ImagePipeline
