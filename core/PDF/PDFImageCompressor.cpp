#include "PDFImageCompressor.h"

#include "Image/ImageBudget.h"
#include "Image/VipsRuntime.h"
#include "ParallelPages.h"

#include <QByteArray>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <qpdf/Buffer.hh>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <set>
#include <stdexcept>
#include <vips/vips8>

namespace tramix::PDFImageCompressor {

namespace {

using vips::VImage;

// An image is shrunk only when it has half as many pixels again as the screen needs.
constexpr double shrinkThreshold = 1.5;
constexpr int smallestImage = 64 * 64;
constexpr int deepestForm = 12;

// Optimised Huffman tables hold every coefficient of the picture (two bytes a sample) until the
// end; larger pictures are encoded as they stream.
constexpr double optimizedUpTo = 16e6; // bytes of coefficients

// Content streams are parsed whole in memory; a page or form whose drawing decodes to more is
// not followed, and its images stay as they are.
constexpr qint64 largestContent = 128'000'000;

// Counts what passes through it and gives up beyond `limit`: so a stream's size is learnt
// without holding it, and a stream that decodes to gigabytes is noticed after `limit` bytes.
class Counter final : public Pipeline {
public:
    explicit Counter(qint64 limit)
        : Pipeline("count", nullptr)
        , limit_(limit) {}
    void write(unsigned char const*, size_t length) override {
        count_ += qint64(length);
        if (count_ > limit_)
            throw std::length_error("too large");
    }
    void finish() override {}
    qint64 count() const { return count_; }

private:
    qint64 limit_;
    qint64 count_ = 0;
};

// Whether the drawing of a page or form decodes to at most `largestContent` bytes.
bool containedContent(QPDFPageObjectHelper drawing) {
    try {
        Counter counter(largestContent);
        drawing.pipeContents(&counter);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

struct Matrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    // `first` applied, then this; the order of the "cm" operator.
    Matrix after(const Matrix& first) const {
        return {first.a * a + first.b * c,     first.a * b + first.b * d,
                first.c * a + first.d * c,     first.c * b + first.d * d,
                first.e * a + first.f * c + e, first.e * b + first.f * d + f};
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

// The largest size, in points, at which each image is drawn anywhere in the document.
struct Placements {
    std::map<QPDFObjGen, QPDFObjectHandle> images;
    std::map<QPDFObjGen, std::pair<double, double>> sizes;

    void add(QPDFObjectHandle image, const Matrix& ctm) {
        const QPDFObjGen id = image.getObjGen();
        images.emplace(id, image);
        auto& size = sizes[id];
        size.first = std::max(size.first, std::hypot(ctm.a, ctm.b));
        size.second = std::max(size.second, std::hypot(ctm.c, ctm.d));
    }
};

// Follows the graphics state through a content stream, noting where images land.
class ContentWalker : public QPDFObjectHandle::ParserCallbacks {
public:
    ContentWalker(Placements& placements, QPDFObjectHandle resources, const Matrix& base, int depth,
                  std::set<QPDFObjGen>& forms)
        : placements_(placements)
        , resources_(resources)
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
            QPDFObjectHandle array = QPDFObjectHandle::newArray(operands_);
            if (const auto m = matrixOf(array))
                stack_.back() = stack_.back().after(*m);
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
            placements_.add(xobject, stack_.back());
        else if (xobject.isFormXObject())
            drawForm(xobject);
    }

    void drawForm(QPDFObjectHandle form) {
        const QPDFObjGen id = form.getObjGen();
        if (depth_ >= deepestForm || forms_.count(id))
            return;
        if (!containedContent(QPDFPageObjectHelper(form)))
            throw std::length_error("form too large"); // the page is not followed, as if broken
        QPDFObjectHandle dict = form.getDict();
        const Matrix base =
            stack_.back().after(matrixOf(dict.getKey("/Matrix")).value_or(Matrix{}));
        QPDFObjectHandle resources = dict.getKey("/Resources");
        forms_.insert(id);
        ContentWalker inner(placements_, resources.isDictionary() ? resources : resources_, base,
                            depth_ + 1, forms_);
        form.parseAsContents(&inner);
        forms_.erase(id);
    }

    Placements& placements_;
    QPDFObjectHandle resources_;
    int depth_;
    std::set<QPDFObjGen>& forms_;
    std::vector<Matrix> stack_;
    std::vector<QPDFObjectHandle> operands_;
};

// Every image that resources can reach, also through the forms they hold.
void imagesIn(QPDFObjectHandle resources, int depth, std::set<QPDFObjGen>& images) {
    QPDFObjectHandle xobjects = resources.getKeyIfDict("/XObject");
    if (!xobjects.isDictionary() || depth > deepestForm)
        return;
    for (auto& [name, stream] : xobjects.getDictAsMap()) {
        if (!stream.isStream())
            continue;
        if (stream.isImage())
            images.insert(stream.getObjGen());
        else if (stream.isFormXObject())
            imagesIn(stream.getDict().getKey("/Resources"), depth + 1, images);
    }
}

Placements placements(QPDF& document) {
    Placements found;
    std::set<QPDFObjGen> untouchable;
    for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(document).getAllPages()) {
        // The images of a page whose drawing cannot be followed stay as they are, wherever
        // else they are shown: their size on that page is unknown.
        Placements onPage;
        QPDFObjectHandle resources = page.getAttribute("/Resources", false);
        try {
            std::set<QPDFObjGen> forms;
            ContentWalker walker(onPage, resources, Matrix{}, 0, forms);
            if (!containedContent(page))
                throw std::length_error("page too large");
            page.parseContents(&walker);
        } catch (const std::exception&) {
            imagesIn(resources, 0, untouchable);
            continue;
        }
        for (const auto& [id, image] : onPage.images) {
            found.images.emplace(id, image);
            auto& size = found.sizes[id];
            size.first = std::max(size.first, onPage.sizes[id].first);
            size.second = std::max(size.second, onPage.sizes[id].second);
        }
    }
    for (const QPDFObjGen& id : untouchable) {
        found.images.erase(id);
        found.sizes.erase(id);
    }
    return found;
}

// What one image needs re-encoding: planned and read on the document's thread, encoded on any
// thread.
struct Job {
    QPDFObjectHandle image;
    int width = 0, height = 0, bands = 0;
    double scale = 1;            // to screen resolution
    bool jpeg = false;           // stored as a JPEG, which libvips decodes shrunk and streaming
    int box = 1;                 // others are decoded averaging blocks of box × box samples
    qint64 stored = 0;           // the stream's size as stored
    std::shared_ptr<Buffer> raw; // a JPEG as stored
    std::string pixels;          // the decoded samples of others, shrunk by `box`
    std::string encoded;
    int encodedWidth = 0, encodedHeight = 0;

    int boxedWidth() const { return (width + box - 1) / box; }
    int boxedHeight() const { return (height + box - 1) / box; }

    // What reading it holds in memory until it is encoded.
    qint64 memory() const { return jpeg ? stored : qint64(boxedWidth()) * boxedHeight() * bands; }
};

bool isTrue(QPDFObjectHandle value) {
    return value.isBool() && value.getBoolValue();
}

int bandsOf(QPDFObjectHandle colourSpace) {
    if (colourSpace.isNameAndEquals("/DeviceGray"))
        return 1;
    if (colourSpace.isNameAndEquals("/DeviceRGB"))
        return 3;
    if (colourSpace.isArray() && colourSpace.getArrayNItems() == 2 &&
        colourSpace.getArrayItem(0).isNameAndEquals("/ICCBased")) {
        QPDFObjectHandle profile = colourSpace.getArrayItem(1);
        if (profile.isStream()) {
            QPDFObjectHandle n = profile.getDict().getKey("/N");
            if (n.isInteger() && (n.getIntValue() == 1 || n.getIntValue() == 3))
                return int(n.getIntValue());
        }
    }
    return 0;
}

// Whether qpdf decodes the filters itself (at qpdf_dl_generalized): none, Flate, LZW, ASCII.
bool decodable(QPDFObjectHandle filters) {
    if (filters.isNull())
        return true;
    const std::vector<QPDFObjectHandle> list =
        filters.isArray() ? filters.getArrayAsVector() : std::vector<QPDFObjectHandle>{filters};
    return std::all_of(list.begin(), list.end(), [](QPDFObjectHandle filter) {
        for (const char* name : {"/FlateDecode", "/Fl", "/LZWDecode", "/LZW", "/ASCIIHexDecode",
                                 "/AHx", "/ASCII85Decode", "/A85"}) {
            if (filter.isNameAndEquals(name))
                return true;
        }
        return false;
    });
}

bool isJPEG(QPDFObjectHandle filter) {
    if (filter.isArray() && filter.getArrayNItems() == 1)
        filter = filter.getArrayItem(0);
    return filter.isNameAndEquals("/DCTDecode");
}

// Decoded samples, arriving in any pieces, averaged over blocks of box × box samples as they
// come, so that only the shrunk image is ever held.
class BoxShrink final : public Pipeline {
public:
    BoxShrink(const Job& job, std::string& out)
        : Pipeline("shrink", nullptr)
        , width_(job.width)
        , height_(job.height)
        , bands_(job.bands)
        , box_(job.box)
        , rowBytes_(size_t(job.width) * size_t(job.bands))
        , boxedRowBytes_(size_t(job.boxedWidth()) * size_t(job.bands))
        , sums_(boxedRowBytes_, 0)
        , out_(out) {
        row_.reserve(rowBytes_);
        out_.clear();
        out_.reserve(size_t(job.memory()));
    }

    void write(unsigned char const* data, size_t length) override {
        while (length > 0 && rowsSeen_ < height_) {
            const size_t taken = std::min(length, rowBytes_ - row_.size());
            row_.append(reinterpret_cast<const char*>(data), taken);
            data += taken;
            length -= taken;
            if (row_.size() == rowBytes_)
                addRow();
        }
    }

    void finish() override {}

    // Whether every sample the image declares arrived.
    bool complete() const { return rowsSeen_ == height_; }

private:
    void addRow() {
        const auto* sample = reinterpret_cast<const unsigned char*>(row_.data());
        quint32* sum = sums_.data();
        for (int x = 0; x < width_; x += box_, sum += bands_) {
            const int columns = std::min(box_, width_ - x);
            for (int column = 0; column < columns; ++column) {
                for (int b = 0; b < bands_; ++b)
                    sum[b] += *sample++;
            }
        }
        row_.clear();
        ++rowsSeen_;
        if (++rowsInBlock_ == box_ || rowsSeen_ == height_)
            emitRow();
    }

    void emitRow() {
        for (size_t i = 0; i < boxedRowBytes_; ++i) {
            const int column = int(i / size_t(bands_));
            const quint32 columns = quint32(std::min(box_, width_ - column * box_));
            const quint32 count = columns * quint32(rowsInBlock_);
            out_.push_back(char((sums_[i] + count / 2) / count));
        }
        std::fill(sums_.begin(), sums_.end(), 0);
        rowsInBlock_ = 0;
    }

    int width_, height_, bands_, box_;
    size_t rowBytes_, boxedRowBytes_;
    std::string row_;
    std::vector<quint32> sums_;
    int rowsSeen_ = 0, rowsInBlock_ = 0;
    std::string& out_;
};

// The job for one image, planned without reading its data, or nothing when it is not safe or
// not worth touching, or when it would take more than `memoryBudget` to read.
std::optional<Job> planFor(QPDFObjectHandle image, std::pair<double, double> shown) {
    QPDFObjectHandle dict = image.getDict();
    QPDFObjectHandle width = dict.getKey("/Width"), height = dict.getKey("/Height");
    QPDFObjectHandle depth = dict.getKey("/BitsPerComponent");
    if (!width.isInteger() || !height.isInteger() || !depth.isInteger() || depth.getIntValue() != 8)
        return std::nullopt;
    if (dict.hasKey("/Decode") || dict.getKey("/Mask").isArray() ||
        isTrue(dict.getKey("/ImageMask")) || dict.hasKey("/Alternates"))
        return std::nullopt;
    if (width.getIntValue() < 1 || height.getIntValue() < 1 ||
        width.getIntValue() > std::numeric_limits<int>::max() / 4 ||
        height.getIntValue() > std::numeric_limits<int>::max() / 4)
        return std::nullopt;
    Job job;
    job.image = image;
    job.width = int(width.getIntValue());
    job.height = int(height.getIntValue());
    job.bands = bandsOf(dict.getKey("/ColorSpace"));
    if (job.bands == 0 || double(job.width) * job.height < smallestImage)
        return std::nullopt;
    if (shown.first > 0 && shown.second > 0) {
        const double dpi =
            std::min(job.width / (shown.first / 72), job.height / (shown.second / 72));
        if (dpi > screenDPI * shrinkThreshold)
            job.scale = screenDPI / dpi;
    }
    job.jpeg = isJPEG(dict.getKey("/Filter"));
    if (job.jpeg && dict.hasKey("/DecodeParms"))
        return std::nullopt; // colour transforms of its own that libvips would not know
    if (job.jpeg && job.scale == 1)
        return std::nullopt; // already a JPEG at screen size: encoding again only loses
    if (!job.jpeg && !decodable(dict.getKey("/Filter")))
        return std::nullopt; // JPEG 2000, JBIG2, fax: not decoded here
    // Whole blocks down to no smaller than the screen needs; the rest is resized after.
    job.box = int(std::clamp(1 / job.scale, 1.0, double(std::max(job.width, job.height))));
    try {
        Counter counter(job.jpeg ? memoryBudget : std::numeric_limits<qint64>::max());
        image.pipeStreamData(&counter, nullptr, 0, qpdf_dl_none, true);
        job.stored = counter.count();
    } catch (const std::exception&) {
        return std::nullopt;
    }
    if (job.stored < 1 || job.memory() > memoryBudget)
        return std::nullopt;
    return job;
}

// Reads what the job needs into memory; false when the data cannot be read as planned.
bool read(Job& job) {
    try {
        if (job.jpeg) {
            job.raw = job.image.getRawStreamData();
            return true;
        }
        BoxShrink shrink(job, job.pixels);
        bool filtered = false;
        const bool read =
            job.image.pipeStreamData(&shrink, &filtered, 0, qpdf_dl_generalized, true);
        return read && filtered && shrink.complete();
    } catch (const std::exception&) {
        return false;
    }
}

// libvips decodes JPEG at 1/2, 1/4 or 1/8 of its size much faster than in full.
int shrinkOnLoad(double scale) {
    int shrink = 1;
    while (shrink < 8 && scale * shrink * 2 <= 1.0)
        shrink *= 2;
    return shrink;
}

void encode(Job& job, int quality) {
    try {
        VImage image;
        if (job.jpeg) {
            // Decoded in strips as the encoder asks for them, never whole; but a progressive
            // JPEG's decoder holds all of it until its last scan.
            image = VImage::new_from_buffer(job.raw->getBuffer(), job.raw->getSize(), "",
                                            VImage::option()
                                                ->set("shrink", shrinkOnLoad(job.scale))
                                                ->set("access", VIPS_ACCESS_SEQUENTIAL));
            const double held = ImageBudget::decoderBytesPerPixel(image) * job.width * job.height;
            if (image.bands() != job.bands || image.format() != VIPS_FORMAT_UCHAR ||
                held > double(memoryBudget))
                return;
        } else {
            image = VImage::new_from_memory(job.pixels.data(), job.pixels.size(), job.boxedWidth(),
                                            job.boxedHeight(), job.bands, VIPS_FORMAT_UCHAR);
        }
        image = image.copy(VImage::option()->set(
            "interpretation", job.bands == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
        const int width = std::max(1, int(std::lround(job.width * job.scale)));
        const int height = std::max(1, int(std::lround(job.height * job.scale)));
        if (image.width() != width || image.height() != height) {
            image = image.resize(double(width) / image.width(),
                                 VImage::option()->set("vscale", double(height) / image.height()));
        }
        const bool optimized = 2.0 * width * height * job.bands <= optimizedUpTo;
        VipsBlob* blob = image.jpegsave_buffer(VImage::option()
                                                   ->set("Q", quality)
                                                   ->set("optimize_coding", optimized)
                                                   ->set("strip", true));
        size_t length = 0;
        const void* data = vips_blob_get(blob, &length);
        job.encoded.assign(static_cast<const char*>(data), length);
        vips_area_unref(VIPS_AREA(blob));
        job.encodedWidth = width;
        job.encodedHeight = height;
    } catch (const vips::VError&) {
        vips_error_clear();
        job.encoded.clear();
    }
    job.raw.reset();
    job.pixels = {};
}

void replace(Job& job) {
    if (job.encoded.empty() || qint64(job.encoded.size()) >= job.stored * 9 / 10)
        return;
    QPDFObjectHandle dict = job.image.getDict();
    job.image.replaceStreamData(job.encoded, QPDFObjectHandle::newName("/DCTDecode"),
                                QPDFObjectHandle::newNull());
    dict.replaceKey("/Width", QPDFObjectHandle::newInteger(job.encodedWidth));
    dict.replaceKey("/Height", QPDFObjectHandle::newInteger(job.encodedHeight));
    dict.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(8));
}

} // namespace

void recompress(QPDF& document, double quality, int threads) {
    if (!VipsRuntime::ensureStarted())
        return;
    const int jpegQuality =
        std::clamp(int(std::lround(std::min(quality, screenQuality) * 100)), 1, 100);
    const Placements found = placements(document);
    // A few images at a time, and never more than the budget together, so that memory follows
    // the threads rather than the document.
    const size_t batch = size_t(std::max(1, threads)) * 2;
    std::vector<Job> jobs;
    qint64 held = 0;
    auto flush = [&] {
        ParallelPages::run(int(jobs.size()), threads, [&] {
            return [&](int index) { encode(jobs[size_t(index)], jpegQuality); };
        });
        for (Job& job : jobs)
            replace(job);
        jobs.clear();
        held = 0;
    };
    for (const auto& [id, image] : found.images) {
        std::optional<Job> job = planFor(image, found.sizes.at(id));
        if (!job)
            continue;
        if (held + job->memory() > memoryBudget || jobs.size() >= batch)
            flush();
        if (!read(*job))
            continue;
        held += job->memory();
        jobs.push_back(std::move(*job));
    }
    flush();
}

} // namespace tramix::PDFImageCompressor
