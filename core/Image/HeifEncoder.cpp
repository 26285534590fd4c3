#include "HeifEncoder.h"

#include "ConversionError.h"
#include "EngineLog.h"
#include "ImagePixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <libheif/heif.h>
#include <memory>

namespace tramix::HeifEncoder {

namespace {

heif_compression_format formatOf(Codec codec) {
    return codec == Codec::hevc ? heif_compression_HEVC : heif_compression_AV1;
}

QString titleOf(Codec codec) {
    return codec == Codec::hevc ? QStringLiteral("HEIC") : QStringLiteral("AVIF");
}

template <typename T, auto Free> struct Deleter {
    void operator()(T* pointer) const { Free(pointer); }
};
using Context = std::unique_ptr<heif_context, Deleter<heif_context, heif_context_free>>;
using Encoder = std::unique_ptr<heif_encoder, Deleter<heif_encoder, heif_encoder_release>>;
using Image = std::unique_ptr<heif_image, Deleter<heif_image, heif_image_release>>;
using Handle =
    std::unique_ptr<heif_image_handle, Deleter<heif_image_handle, heif_image_handle_release>>;
using Options = std::unique_ptr<heif_encoding_options,
                                Deleter<heif_encoding_options, heif_encoding_options_free>>;

void check(heif_error error, Codec codec) {
    if (error.code != heif_error_Ok) {
        qCDebug(engineLog) << "libheif:" << error.message;
        throw ConversionError::failed(
            QStringLiteral("%1 konnte nicht geschrieben werden.").arg(titleOf(codec)));
    }
}

// Both encoders take 8 to 25 s for a 12-MP photo at their defaults. Measured here on photos
// and on noise, these settings take about 1 to 2.5 s, with files between 30 % smaller and
// 30 % larger than the defaults give.
void setSpeed(heif_encoder* encoder, Codec codec) {
    if (codec == Codec::hevc)
        heif_encoder_set_parameter_string(encoder, "preset", "ultrafast");
    else
        heif_encoder_set_parameter_integer(encoder, "speed", 8);
}

// At the same quality setting x265's fastest preset writes about 9 % more than the slower one
// that libvips and ImageMagick use; on a 12-MP photo three points less (its rate steps are
// coarse) is the first setting that is no larger than theirs.
constexpr int hevcQualityOffset = 3;

int encoderQuality(double quality, Codec codec) {
    const int percent = int(std::lround(std::clamp(quality, 0.0, 1.0) * 100));
    return codec == Codec::hevc ? std::max(0, percent - hevcQualityOffset) : percent;
}

vips::VImage eightBitRGB(const vips::VImage& source) {
    vips::VImage image = ImagePixels::inRGBOrGrey(source);
    if (image.interpretation() != VIPS_INTERPRETATION_sRGB || image.format() != VIPS_FORMAT_UCHAR)
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR)
        image = image.cast(VIPS_FORMAT_UCHAR);
    if (image.bands() > 4)
        image = image.extract_band(0, vips::VImage::option()->set("n", 4));
    return image;
}

Image heifImageOf(const vips::VImage& source, Codec codec) {
    const vips::VImage image = eightBitRGB(source);
    const int width = image.width(), height = image.height(), bands = image.bands();
    heif_image* created = nullptr;
    check(heif_image_create(width, height, heif_colorspace_RGB,
                            bands == 4 ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB,
                            &created),
          codec);
    Image result(created);
    check(heif_image_add_plane(created, heif_channel_interleaved, width, height, 8), codec);
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(created, heif_channel_interleaved, &stride);
    ImagePixels::forEachRow(image, [&](int y, const unsigned char* row) {
        std::memcpy(plane + std::ptrdiff_t(y) * stride, row, std::size_t(width) * bands);
    });
    if (image.get_typeof(VIPS_META_ICC_NAME)) {
        size_t length = 0;
        const void* profile = image.get_blob(VIPS_META_ICC_NAME, &length);
        heif_image_set_raw_color_profile(created, "prof", profile, length);
    }
    return result;
}

void addMetadata(heif_context* context, heif_image_handle* handle, const ImageMetadata& metadata,
                 Codec codec) {
    const QByteArray exif = metadata.exifBlock();
    if (!exif.isEmpty())
        check(heif_context_add_exif_metadata(context, handle, exif.constData(), int(exif.size())),
              codec);
    const QByteArray xmp = metadata.xmpPacketWithIPTC();
    if (!xmp.isEmpty())
        check(heif_context_add_XMP_metadata(context, handle, xmp.constData(), int(xmp.size())),
              codec);
}

heif_error appendTo(heif_context*, const void* data, size_t size, void* target) {
    static_cast<QByteArray*>(target)->append(static_cast<const char*>(data), qsizetype(size));
    return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
}

} // namespace

bool canEncode(Codec codec) {
    return heif_have_encoder_for_format(formatOf(codec)) != 0;
}

QByteArray encode(const vips::VImage& image, Codec codec, double quality,
                  const ImageMetadata& metadata) {
    const Context context(heif_context_alloc());
    heif_encoder* encoderPointer = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), formatOf(codec), &encoderPointer).code !=
        heif_error_Ok)
        throw ConversionError::unsupported(QStringLiteral("%1-Export").arg(titleOf(codec)));
    const Encoder encoder(encoderPointer);
    heif_encoder_set_lossy_quality(encoder.get(), encoderQuality(quality, codec));
    setSpeed(encoder.get(), codec);

    const Image pixels = heifImageOf(image, codec);
    const Options options(heif_encoding_options_alloc());
    options->save_alpha_channel = 1;
    heif_image_handle* handlePointer = nullptr;
    check(heif_context_encode_image(context.get(), pixels.get(), encoder.get(), options.get(),
                                    &handlePointer),
          codec);
    const Handle handle(handlePointer);
    addMetadata(context.get(), handle.get(), metadata, codec);

    QByteArray bytes;
    heif_writer writer{1, &appendTo};
    check(heif_context_write(context.get(), &writer, &bytes), codec);
    return bytes;
}

} // namespace tramix::HeifEncoder
