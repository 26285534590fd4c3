#include "PDFPageImages.h"

#include "Image/VipsRuntime.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <qpdf/Buffer.hh>
#include <qpdf/Pipeline.hh>
#include <set>
#include <stdexcept>
#include <vips/vips8>

namespace tramix::PDFPageImages {

namespace {

using vips::VImage;

constexpr int deepestForm = 12;

// Content streams are parsed whole in memory; a page whose drawing decodes to more is not
// followed.
constexpr qint64 largestContent = 128'000'000;

// Counts what passes through it and gives up beyond the limit, so that a stream's size is known
// without holding it.
class Counter final : public Pipeline {
public:
    Counter()
        : Pipeline("count", nullptr) {}
    void write(unsigned char const*, size_t length) override {
        count_ += qint64(length);
        if (count_ > largestContent)
            throw std::length_error("too large");
    }
    void finish() override {}

private:
    qint64 count_ = 0;
};

bool containedContent(QPDFPageObjectHelper drawing) {
    try {
        Counter counter;
        drawing.pipeContents(&counter);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// A PDF matrix [a b c d e f], mapping (x, y) to (ax + cy + e, bx + dy + f).
struct Matrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    // This applied first, then `next`.
    Matrix then(const Matrix& next) const {
        return {a * next.a + b * next.c,          a * next.b + b * next.d,
                c * next.a + d * next.c,          c * next.b + d * next.d,
                e * next.a + f * next.c + next.e, e * next.b + f * next.d + next.f};
    }

    QPointF map(double x, double y) const { return {a * x + c * y + e, b * x + d * y + f}; }

    // The bounds of the unit square, where an image is drawn.
    QRectF unitBounds() const {
        const QPointF corners[] = {map(0, 0), map(1, 0), map(0, 1), map(1, 1)};
        double left = corners[0].x(), right = left, top = corners[0].y(), bottom = top;
        for (const QPointF& p : corners) {
            left = std::min(left, p.x());
            right = std::max(right, p.x());
            top = std::min(top, p.y());
            bottom = std::max(bottom, p.y());
        }
        return QRectF(QPointF(left, top), QPointF(right, bottom));
    }
};

std::optional<Matrix> matrixOf(QPDFObjectHandle array) {
    if (!array.isArray() || array.getArrayNItems() != 6)
        return std::nullopt;
    double v[6];
    for (int i = 0; i < 6; ++i) {
        QPDFObjectHandle item = array.getArrayItem(i);
        if (!item.isNumber())
            return std::nullopt;
        v[i] = item.getNumericValue();
    }
    return Matrix{v[0], v[1], v[2], v[3], v[4], v[5]};
}

int integerOf(QPDFObjectHandle value) {
    return value.isInteger() ? int(std::clamp<long long>(value.getIntValue(), 0, 1 << 30)) : 0;
}

// Bands of the samples of an 8-bit image in this colour space; 0 for what is not read here.
int bandsOf(QPDFObjectHandle space) {
    if (space.isNameAndEquals("/DeviceGray") || space.isNameAndEquals("/CalGray"))
        return 1;
    if (space.isNameAndEquals("/DeviceRGB") || space.isNameAndEquals("/CalRGB"))
        return 3;
    if (space.isArray() && space.getArrayNItems() == 2) {
        QPDFObjectHandle family = space.getArrayItem(0), profile = space.getArrayItem(1);
        if (family.isNameAndEquals("/ICCBased") && profile.isStream()) {
            const int n = integerOf(profile.getDict().getKey("/N"));
            return n == 1 || n == 3 ? n : 0;
        }
        if (family.isNameAndEquals("/CalGray"))
            return 1;
        if (family.isNameAndEquals("/CalRGB"))
            return 3;
    }
    return 0;
}

bool isJPEG(QPDFObjectHandle filter) {
    if (filter.isArray() && filter.getArrayNItems() == 1)
        filter = filter.getArrayItem(0);
    return filter.isNameAndEquals("/DCTDecode") || filter.isNameAndEquals("/DCT");
}

std::string streamBytes(QPDFObjectHandle stream, qpdf_stream_decode_level_e level) {
    std::shared_ptr<Buffer> data =
        level == qpdf_dl_none ? stream.getRawStreamData() : stream.getStreamData(level);
    return std::string(reinterpret_cast<const char*>(data->getBuffer()), data->getSize());
}

// A copy of 8-bit samples, so that the image does not depend on the buffer they came in.
VImage imageOf(const char* samples, int width, int height, int bands) {
    VipsImage* image =
        vips_image_new_from_memory_copy(samples, size_t(width) * size_t(height) * size_t(bands),
                                        width, height, bands, VIPS_FORMAT_UCHAR);
    if (!image)
        throw vips::VError();
    return VImage(image);
}

QByteArray pngOf(VImage image) {
    VipsBlob* blob = image.pngsave_buffer(VImage::option()->set("compression", 6));
    size_t length = 0;
    const void* data = vips_blob_get(blob, &length);
    QByteArray png(static_cast<const char*>(data), qsizetype(length));
    vips_area_unref(VIPS_AREA(blob));
    return png;
}

// 8-bit samples expanded through an indexed colour space's table, or nothing when the table
// is not one of grey or RGB colours.
std::optional<VImage> expandedPalette(QPDFObjectHandle space, const std::string& indexes, int width,
                                      int height) {
    if (!space.isArray() || space.getArrayNItems() != 4 ||
        !space.getArrayItem(0).isNameAndEquals("/Indexed"))
        return std::nullopt;
    const int bands = bandsOf(space.getArrayItem(1));
    QPDFObjectHandle lookup = space.getArrayItem(3);
    std::string table;
    if (lookup.isString())
        table = lookup.getStringValue();
    else if (lookup.isStream())
        table = streamBytes(lookup, qpdf_dl_generalized);
    if (bands == 0 || table.empty())
        return std::nullopt;
    const size_t entries = table.size() / size_t(bands);
    std::string samples(size_t(width) * size_t(height) * size_t(bands), '\0');
    for (size_t i = 0; i < size_t(width) * size_t(height); ++i) {
        const size_t entry = std::min(size_t(static_cast<unsigned char>(indexes[i])), entries - 1);
        std::copy_n(table.data() + entry * size_t(bands), bands, samples.data() + i * bands);
    }
    VImage image = imageOf(samples.data(), width, height, bands);
    return image.copy(VImage::option()->set(
        "interpretation", bands == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
}

// The soft mask as an alpha band, when it is an 8-bit grey image of the same size.
std::optional<VImage> alphaOf(QPDFObjectHandle mask, int width, int height) {
    if (!mask.isStream())
        return std::nullopt;
    QPDFObjectHandle dict = mask.getDict();
    if (integerOf(dict.getKey("/Width")) != width || integerOf(dict.getKey("/Height")) != height ||
        integerOf(dict.getKey("/BitsPerComponent")) != 8 || isJPEG(dict.getKey("/Filter")))
        return std::nullopt;
    // Office programs store masks inverted, with a decode array [1 0].
    QPDFObjectHandle decode = dict.getKey("/Decode");
    const bool inverted =
        decode.isArray() && decode.getArrayNItems() == 2 && decode.getArrayItem(0).isNumber() &&
        decode.getArrayItem(0).getNumericValue() == 1 && decode.getArrayItem(1).isNumber() &&
        decode.getArrayItem(1).getNumericValue() == 0;
    if (!decode.isNull() && !inverted)
        return std::nullopt;
    const std::string samples = streamBytes(mask, qpdf_dl_generalized);
    if (samples.size() < size_t(width) * size_t(height))
        return std::nullopt;
    const VImage alpha = imageOf(samples.data(), width, height, 1);
    return inverted ? alpha.invert() : alpha;
}

// The image as a file a browser and a word processor show; nothing when it cannot be read.
std::optional<PageImage> encoded(QPDFObjectHandle image) {
    QPDFObjectHandle dict = image.getDict();
    const int width = integerOf(dict.getKey("/Width"));
    const int height = integerOf(dict.getKey("/Height"));
    QPDFObjectHandle imageMask = dict.getKey("/ImageMask");
    if (width < smallestSide || height < smallestSide ||
        (imageMask.isBool() && imageMask.getBoolValue()))
        return std::nullopt;
    QPDFObjectHandle space = dict.getKey("/ColorSpace");
    const int bands = std::max(bandsOf(space), 1);
    if (qint64(width) * height * (bands + 1) > largestDecoded)
        return std::nullopt;
    if (isJPEG(dict.getKey("/Filter"))) {
        const std::string jpeg = streamBytes(image, qpdf_dl_none);
        VImage decoded = VImage::new_from_buffer(jpeg.data(), jpeg.size(), "");
        // A photo cut out with a soft mask is shown cut out; the JPEG alone has no transparency.
        const std::optional<VImage> alpha = alphaOf(dict.getKey("/SMask"), width, height);
        if (alpha && alpha->min() < 255 && decoded.width() == width && decoded.height() == height &&
            (decoded.bands() == 1 || decoded.bands() == 3))
            return PageImage{pngOf(decoded.bandjoin(*alpha)), QStringLiteral("image/png"), {}};
        if (decoded.bands() == 1 || decoded.bands() == 3)
            return PageImage{
                QByteArray(jpeg.data(), qsizetype(jpeg.size())), QStringLiteral("image/jpeg"), {}};
        // CMYK: browsers and word processors show it in wrong colours, if at all.
        VipsBlob* blob = decoded.colourspace(VIPS_INTERPRETATION_sRGB)
                             .jpegsave_buffer(VImage::option()->set("Q", 90));
        size_t length = 0;
        const void* data = vips_blob_get(blob, &length);
        PageImage converted{QByteArray(static_cast<const char*>(data), qsizetype(length)),
                            QStringLiteral("image/jpeg"),
                            {}};
        vips_area_unref(VIPS_AREA(blob));
        return converted;
    }
    if (integerOf(dict.getKey("/BitsPerComponent")) != 8 || dict.hasKey("/Decode"))
        return std::nullopt;
    const std::string samples = streamBytes(image, qpdf_dl_generalized);
    std::optional<VImage> picture;
    if (bandsOf(space) > 0) {
        if (samples.size() < size_t(width) * size_t(height) * size_t(bands))
            return std::nullopt;
        picture = imageOf(samples.data(), width, height, bands)
                      .copy(VImage::option()->set("interpretation",
                                                  bands == 1 ? VIPS_INTERPRETATION_B_W
                                                             : VIPS_INTERPRETATION_sRGB));
    } else if (samples.size() >= size_t(width) * size_t(height)) {
        picture = expandedPalette(space, samples, width, height);
    }
    if (!picture)
        return std::nullopt;
    if (const std::optional<VImage> alpha = alphaOf(dict.getKey("/SMask"), width, height))
        picture = picture->bandjoin(*alpha);
    return PageImage{pngOf(*picture), QStringLiteral("image/png"), {}};
}

// Follows the graphics state through a page's drawing, noting where images land.
class Walker : public QPDFObjectHandle::ParserCallbacks {
public:
    Walker(QList<PageImage>& found, QPDFObjectHandle resources, const Matrix& base,
           const Matrix& toPage, int depth, std::set<QPDFObjGen>& forms)
        : found_(found)
        , resources_(resources)
        , toPage_(toPage)
        , depth_(depth)
        , forms_(forms) {
        stack_.push_back(base);
    }

    void handleObject(QPDFObjectHandle object) override {
        if (!object.isOperator()) {
            operands_.push_back(object);
            return;
        }
        const std::string op = object.getOperatorValue();
        if (op == "q") {
            stack_.push_back(stack_.back());
        } else if (op == "Q") {
            if (stack_.size() > 1)
                stack_.pop_back();
        } else if (op == "cm" && operands_.size() == 6) {
            if (const auto m = matrixOf(QPDFObjectHandle::newArray(operands_)))
                stack_.back() = m->then(stack_.back());
        } else if (op == "Do" && operands_.size() == 1 && operands_[0].isName()) {
            draw(operands_[0].getName());
        }
        operands_.clear();
    }

    void handleEOF() override {}

private:
    void draw(const std::string& name) {
        QPDFObjectHandle xobject = resources_.getKeyIfDict("/XObject").getKeyIfDict(name);
        if (!xobject.isStream())
            return;
        if (xobject.isImage())
            take(xobject);
        else if (xobject.isFormXObject())
            drawForm(xobject);
    }

    void take(QPDFObjectHandle image) {
        std::optional<PageImage> picture;
        try {
            picture = encoded(image);
        } catch (const std::exception&) {
            vips_error_clear();
            return; // one broken picture costs only itself
        }
        if (!picture)
            return;
        picture->placed = stack_.back().then(toPage_).unitBounds();
        found_.append(std::move(*picture));
    }

    void drawForm(QPDFObjectHandle form) {
        const QPDFObjGen id = form.getObjGen();
        if (depth_ >= deepestForm || forms_.count(id) || !containedContent(form))
            return;
        QPDFObjectHandle dict = form.getDict();
        const Matrix base = matrixOf(dict.getKey("/Matrix")).value_or(Matrix{}).then(stack_.back());
        QPDFObjectHandle resources = dict.getKey("/Resources");
        forms_.insert(id);
        Walker inner(found_, resources.isDictionary() ? resources : resources_, base, toPage_,
                     depth_ + 1, forms_);
        form.parseAsContents(&inner);
        forms_.erase(id);
    }

    QList<PageImage>& found_;
    QPDFObjectHandle resources_;
    Matrix toPage_;
    int depth_;
    std::set<QPDFObjGen>& forms_;
    std::vector<Matrix> stack_;
    std::vector<QPDFObjectHandle> operands_;
};

// From the page's user space to the page as shown: turned by /Rotate, in points from the top
// left corner of the crop box, y growing downwards, as poppler places the words.
Matrix shownPage(QPDFPageObjectHelper& page) {
    QPDFObjectHandle box = page.getCropBox();
    QPDFObjectHandle::Rectangle crop =
        box.isRectangle() ? box.getArrayAsRectangle() : QPDFObjectHandle::Rectangle(0, 0, 612, 792);
    const double x0 = std::min(crop.llx, crop.urx), x1 = std::max(crop.llx, crop.urx);
    const double y0 = std::min(crop.lly, crop.ury), y1 = std::max(crop.lly, crop.ury);
    QPDFObjectHandle rotate = page.getAttribute("/Rotate", false);
    const int turns = rotate.isInteger() ? int(((rotate.getIntValue() / 90) % 4 + 4) % 4) : 0;
    switch (turns) {
    case 1:
        return {0, 1, 1, 0, -y0, -x0};
    case 2:
        return {-1, 0, 0, 1, x1, -y0};
    case 3:
        return {0, -1, -1, 0, y1, x1};
    default:
        return {1, 0, 0, -1, -x0, y1};
    }
}

} // namespace

QList<PageImage> read(QPDFPageObjectHelper page) {
    QList<PageImage> found;
    if (!VipsRuntime::ensureStarted())
        return found;
    try {
        if (!containedContent(page))
            return found;
        QPDFObjectHandle resources = page.getAttribute("/Resources", false);
        std::set<QPDFObjGen> forms;
        Walker walker(found, resources, Matrix{}, shownPage(page), 0, forms);
        page.parseContents(&walker);
    } catch (const std::exception&) {
        // What was found before the drawing broke off is kept.
    }
    return found;
}

} // namespace tramix::PDFPageImages
