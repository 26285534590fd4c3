#include "PDFRenderer.h"

#include "ConversionError.h"
#include "EngineLog.h"
#include "Image/VipsRuntime.h"

#include <QFile>
#include <QFileInfo>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
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

// The share of `renderBudget` that the pages being drawn hold. Pages take theirs in the order
// they ask, so that a large page is not passed over by small ones forever.
class Allowance {
public:
    void take(qint64 bytes) {
        std::unique_lock lock(mutex_);
        const quint64 ticket = issued_++;
        changed_.wait(lock, [&] { return ticket == served_ && held_ + bytes <= renderBudget; });
        ++served_;
        held_ += bytes;
        changed_.notify_all();
    }

    void give(qint64 bytes) {
        {
            std::lock_guard guard(mutex_);
            held_ -= bytes;
        }
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    quint64 issued_ = 0, served_ = 0;
    qint64 held_ = 0;
};

Allowance& allowance() {
    static Allowance shared;
    return shared;
}

// A drawn page's bitmap with its share of the budget, both given up when libvips closes the
// image that reads the pixels in place.
class Drawn {
public:
    explicit Drawn(qint64 bytes)
        : bytes_(std::min(bytes, renderBudget)) {
        allowance().take(bytes_);
    }
    ~Drawn() { allowance().give(bytes_); }
    Drawn(const Drawn&) = delete;
    Drawn& operator=(const Drawn&) = delete;

    poppler::image bitmap;

    static void release(VipsImage*, Drawn* drawn) { delete drawn; }

private:
    qint64 bytes_;
};

// The bitmap's rows as one band of bytes, without copying them; the pixels are arranged lazily
// as they are read.
vips::VImage inPlace(std::unique_ptr<Drawn> drawn) {
    const poppler::image& bitmap = drawn->bitmap;
    const int rowBytes = bitmap.bytes_per_row(), height = bitmap.height();
    VipsImage* image = vips_image_new_from_memory(bitmap.const_data(), size_t(rowBytes) * height,
                                                  rowBytes, height, 1, VIPS_FORMAT_UCHAR);
    if (!image) {
        vips_error_clear();
        throw ConversionError::failed(QStringLiteral("Bildpuffer konnte nicht erstellt werden."));
    }
    g_signal_connect(image, "postclose", G_CALLBACK(Drawn::release), drawn.release());
    return vips::VImage(image);
}

// poppler gives blue, green, red; everything after it wants red first.
vips::VImage fromBGR(const vips::VImage& rows, int width, int height) {
    const vips::VImage bgr = rows.extract_area(0, 0, width * 3, height)
                                 .bandfold(vips::VImage::option()->set("factor", 3));
    return vips::VImage::bandjoin({bgr[2], bgr[1], bgr[0]})
        .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

vips::VImage fromGrey(const vips::VImage& rows, int width, int height) {
    return rows.extract_area(0, 0, width, height)
        .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
}

QString pointsText(double points) {
    return std::isfinite(points) && std::abs(points) < 1e12 ? QString::number(qRound64(points))
                                                            : QStringLiteral("?");
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

QSizeF pointSize(const poppler::page& page) {
    const poppler::rectf box = page.page_rect(poppler::crop_box);
    const double width = std::abs(box.width()), height = std::abs(box.height());
    return turnedSideways(page) ? QSizeF(height, width) : QSizeF(width, height);
}

QSize pixelSize(const poppler::page& page, double dpi) {
    const QSizeF points = pointSize(page);
    const double scale = dpi / 72.0;
    // Rounded as promised; sizes beyond what a bitmap can have (or not numbers) are cut short
    // here and refused by `fittingDPI`.
    auto pixels = [&](double length) {
        const double rounded = std::round(scale * length);
        return rounded >= 1 ? int(std::min(rounded, double(INT_MAX))) : 1;
    };
    return {pixels(points.width()), pixels(points.height())};
}

namespace {

// As `fittingDPI`, without refusing: nothing when the page would come out too coarse.
std::optional<double> fitting(const poppler::page& page, double dpi, qint64 mostPixels) {
    if (mostPixels < 1)
        return std::nullopt;
    auto pixelsAt = [&](double resolution) {
        const QSize size = pixelSize(page, resolution);
        return double(size.width()) * size.height();
    };
    double fitting = dpi;
    if (pixelsAt(fitting) > double(mostPixels)) {
        const QSizeF points = pointSize(page);
        const double area = points.width() * points.height() / (72.0 * 72.0); // square inches
        fitting = std::sqrt(double(mostPixels) / area);
        // Rounding to whole pixels may still add a row or a column too many.
        while (fitting > 0 && pixelsAt(fitting) > double(mostPixels))
            fitting *= 0.999;
    }
    if (!std::isfinite(fitting) || fitting < std::min(dpi, legibleDPI))
        return std::nullopt;
    return fitting;
}

} // namespace

double fittingDPI(const poppler::page& page, int number, double dpi, qint64 mostPixels) {
    if (const std::optional<double> fits = fitting(page, dpi, mostPixels))
        return *fits;
    const QSizeF points = pointSize(page);
    throw ConversionError::failed(
        QStringLiteral("Die Seite %1 ist zu groß zum Rendern (%2 × %3 pt).")
            .arg(number)
            .arg(pointsText(points.width()), pointsText(points.height())));
}

Rendered render(const poppler::page& page, int number, double dpi, const Needs& needs) {
    if (!VipsRuntime::ensureStarted())
        throw ConversionError::failed(QStringLiteral("Bildpuffer konnte nicht erstellt werden."));
    // The page alone must fit; what its images take comes off what the bitmap may have, and
    // when too little is left, the images are to blame.
    fittingDPI(page, number, dpi, renderBudget / needs.bytesPerPixel);
    const qint64 imageBytes = std::clamp<qint64>(needs.images.bytes, 0, renderBudget);
    const std::optional<double> fits =
        fitting(page, dpi, (renderBudget - imageBytes) / needs.bytesPerPixel);
    if (!fits) {
        throw ConversionError::failed(
            QStringLiteral("Die Seite %1 enthält ein Bild, das zu groß zum Rendern ist "
                           "(%2 × %3 Pixel).")
                .arg(number)
                .arg(needs.images.size.width())
                .arg(needs.images.size.height()));
    }
    const double drawnAt = *fits;
    if (drawnAt < dpi) {
        const QSizeF points = pointSize(page);
        qCInfo(engineLog).noquote()
            << QStringLiteral("Seite %1 (%2 × %3 pt) mit %4 statt %5 dpi gerendert, damit der "
                              "Speicher reicht.")
                   .arg(number)
                   .arg(pointsText(points.width()), pointsText(points.height()))
                   .arg(drawnAt, 0, 'f', 0)
                   .arg(dpi, 0, 'f', 0);
    }
    const QSize size = pixelSize(page, drawnAt);
    auto drawn = std::make_unique<Drawn>(
        qint64(size.width()) * size.height() * needs.bytesPerPixel + imageBytes);
    poppler::page_renderer renderer;
    renderer.set_render_hints(poppler::page_renderer::antialiasing |
                              poppler::page_renderer::text_antialiasing);
    renderer.set_image_format(needs.grey ? poppler::image::format_gray8
                                         : poppler::image::format_bgr24);
    // The crop box's own size, rounded as we promise, rather than poppler's rounding up.
    drawn->bitmap =
        renderer.render_page(&page, drawnAt, drawnAt, 0, 0, size.width(), size.height());
    const int width = drawn->bitmap.width(), height = drawn->bitmap.height();
    if (!drawn->bitmap.is_valid() || width < 1 || height < 1)
        throw ConversionError::failed(QStringLiteral("Bild konnte nicht gerendert werden."));
    const vips::VImage rows = inPlace(std::move(drawn));
    return {needs.grey ? fromGrey(rows, width, height) : fromBGR(rows, width, height), drawnAt};
}

QString text(const poppler::page& page) {
    const poppler::byte_array utf8 =
        page.text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

} // namespace tramix::PDFRenderer
