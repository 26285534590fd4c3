#include "PDFRenderer.h"

#include "ConversionError.h"
#include "Image/ImagePipeline.h"
#include "Image/VipsRuntime.h"

#include <QFile>
#include <QFileInfo>
#include <cmath>
#include <mutex>
#include <poppler/cpp/poppler-global.h>
#include <poppler/cpp/poppler-page-renderer.h>

namespace tramix::PDFRenderer {

namespace {

// One blank page, small enough that poppler repairs its missing cross-reference table silently.
constexpr char blankPage[] = "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                             "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
                             "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 8 8]>>endobj\n"
                             "trailer<</Root 1 0 R>>\n%%EOF\n";

// poppler reports every repaired object on standard error; a user cannot act on that. It also
// creates its shared sRGB profile, unlocked, on the first page it draws: drawing one blank page
// here, once, keeps the page threads from racing over it.
void preparePoppler() {
    static std::once_flag once;
    std::call_once(once, [] {
        poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr);
        std::unique_ptr<poppler::document> blank(
            poppler::document::load_from_raw_data(blankPage, sizeof blankPage - 1));
        std::unique_ptr<poppler::page> page(blank ? blank->create_page(0) : nullptr);
        if (page)
            poppler::page_renderer().render_page(page.get(), 9, 9);
    });
}

bool turnedSideways(const poppler::page& page) {
    const poppler::page::orientation_enum orientation = page.orientation();
    return orientation == poppler::page::landscape || orientation == poppler::page::seascape;
}

// One copy of the bitmap, rows and all; the rest is arranged lazily as the pixels are read.
vips::VImage copied(const poppler::image& bitmap) {
    const int rowBytes = bitmap.bytes_per_row(), height = bitmap.height();
    VipsImage* image = vips_image_new_from_memory_copy(
        bitmap.const_data(), size_t(rowBytes) * height, rowBytes, height, 1, VIPS_FORMAT_UCHAR);
    if (!image) {
        vips_error_clear();
        throw ConversionError::failed(QStringLiteral("Bildpuffer konnte nicht erstellt werden."));
    }
    return vips::VImage(image);
}

// poppler gives blue, green, red; everything after it wants red first.
vips::VImage fromBGR(const poppler::image& bitmap) {
    const vips::VImage bgr = copied(bitmap)
                                 .extract_area(0, 0, bitmap.width() * 3, bitmap.height())
                                 .bandfold(vips::VImage::option()->set("factor", 3));
    return vips::VImage::bandjoin({bgr[2], bgr[1], bgr[0]})
        .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

vips::VImage fromGrey(const poppler::image& bitmap) {
    return copied(bitmap)
        .extract_area(0, 0, bitmap.width(), bitmap.height())
        .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
}

} // namespace

std::unique_ptr<poppler::document> open(const QString& path, bool requirePages) {
    preparePoppler();
    const QString name = QFileInfo(path).fileName();
    std::unique_ptr<poppler::document> document(
        poppler::document::load_from_file(QFile::encodeName(path).toStdString()));
    if (!document)
        throw ConversionError::unreadable(name);
    if (document->is_locked())
        throw ConversionError::failed(QStringLiteral("„%1“ ist passwortgeschützt.").arg(name));
    if (requirePages && document->pages() < 1)
        throw ConversionError::unreadable(name);
    return document;
}

QSize pixelSize(const poppler::page& page, double dpi) {
    const poppler::rectf box = page.page_rect(poppler::crop_box);
    double width = box.width(), height = box.height();
    if (turnedSideways(page))
        std::swap(width, height);
    const double scale = dpi / 72.0;
    return {std::max(1, int(std::lround(scale * width))),
            std::max(1, int(std::lround(scale * height)))};
}

vips::VImage render(const poppler::page& page, double dpi, bool grey) {
    if (!VipsRuntime::ensureStarted())
        throw ConversionError::failed(QStringLiteral("Bildpuffer konnte nicht erstellt werden."));
    const QSize size = pixelSize(page, dpi);
    if (double(size.width()) * size.height() > ImagePipeline::maxPixels)
        throw ConversionError::failed(QStringLiteral("Bildpuffer konnte nicht erstellt werden."));
    poppler::page_renderer renderer;
    renderer.set_render_hints(poppler::page_renderer::antialiasing |
                              poppler::page_renderer::text_antialiasing);
    renderer.set_image_format(grey ? poppler::image::format_gray8 : poppler::image::format_bgr24);
    // The crop box's own size, rounded as we promise, rather than poppler's rounding up.
    const poppler::image bitmap =
        renderer.render_page(&page, dpi, dpi, 0, 0, size.width(), size.height());
    if (!bitmap.is_valid() || bitmap.width() < 1 || bitmap.height() < 1)
        throw ConversionError::failed(QStringLiteral("Bild konnte nicht gerendert werden."));
    return grey ? fromGrey(bitmap) : fromBGR(bitmap);
}

QString text(const poppler::page& page) {
    const poppler::byte_array utf8 =
        page.text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

} // namespace tramix::PDFRenderer
