#include "TestImages.h"

#include "Image/VipsRuntime.h"
#include "TestFiles.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>

namespace tramix::test {

using vips::VImage;

VImage halves(int width, int height, const Colour& left, const Colour& right) {
    VipsRuntime::ensureStarted();
    const int bands = int(left.size());
    VImage image = VImage::black(width, height, VImage::option()->set("bands", bands));
    image = image.new_from_image(left);
    image.draw_rect(right, width / 2, 0, width - width / 2, height,
                    VImage::option()->set("fill", true));
    return image.cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

VImage photoLike(int width, int height) {
    VipsRuntime::ensureStarted();
    const VImage noise = VImage::gaussnoise(width, height, VImage::option()->set("sigma", 40.0));
    const VImage ramp = VImage::xyz(width, height)[0] * (200.0 / width);
    const VImage grey = (noise.gaussblur(1.5) + ramp - 64).cast(VIPS_FORMAT_UCHAR);
    return VImage::bandjoin({grey, grey, (grey * 0.7).cast(VIPS_FORMAT_UCHAR)})
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

VImage textImage(const QString& text, int dpi) {
    VipsRuntime::ensureStarted();
    const QByteArray utf8 = text.toHtmlEscaped().toUtf8();
    const VImage ink = VImage::text(
        utf8.constData(), VImage::option()->set("font", "DejaVu Sans 12")->set("dpi", dpi));
    const int margin = dpi / 2;
    return (255 - ink)
        .cast(VIPS_FORMAT_UCHAR)
        .embed(margin, margin, ink.width() + 2 * margin, ink.height() + 2 * margin,
               VImage::option()->set("extend", VIPS_EXTEND_WHITE))
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
}

VImage openImage(const QString& path) {
    VipsRuntime::ensureStarted();
    return VImage::new_from_file(QFile::encodeName(path).constData());
}

QString sizeOf(const QString& path) {
    const VImage image = openImage(path);
    return QStringLiteral("%1 x %2").arg(image.width()).arg(image.height());
}

QString saveImage(const VImage& image, const QString& path, const QString& options) {
    image.write_to_file(QFile::encodeName(path + options).constData());
    return path;
}

QString exiftool(const QStringList& arguments) {
    return toolOutput(QStringLiteral("exiftool"), arguments);
}

QJsonObject tagsOf(const QString& path) {
    const QString json = exiftool({"-j", "-G1", "-a", "-n", path});
    return QJsonDocument::fromJson(json.toUtf8()).array().at(0).toObject();
}

bool hasGroup(const QJsonObject& tags, const QString& group) {
    for (auto it = tags.begin(); it != tags.end(); ++it) {
        if (it.key().startsWith(group + u':'))
            return true;
    }
    return false;
}

Colour pixelAt(const QString& path, int x, int y) {
    VImage image = openImage(path);
    if (image.has_alpha())
        image = image.flatten(VImage::option()->set("background", std::vector<double>{255}));
    image = image.get_typeof(VIPS_META_ICC_NAME)
                ? image.icc_transform("srgb", VImage::option()->set("embedded", true))
                : image.colourspace(VIPS_INTERPRETATION_sRGB);
    const std::vector<double> point = image.getpoint(x, y);
    return Colour(point.begin(), point.begin() + 3);
}

bool isNear(const Colour& actual, const Colour& expected, double tolerance) {
    if (actual.size() < 3 || expected.size() < 3)
        return false;
    for (int i = 0; i < 3; ++i) {
        if (std::abs(actual[i] - expected[i]) > tolerance)
            return false;
    }
    return true;
}

} // namespace tramix::test
