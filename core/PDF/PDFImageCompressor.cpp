#include "PDFImageCompressor.h"

#include "Image/VipsRuntime.h"
#include "ParallelPages.h"

#include <QByteArray>
#include <algorithm>
#include <cmath>
#include <map>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <set>
#include <vips/vips8>

namespace tramix::PDFImageCompressor {

namespace {

using vips::VImage;

// An image is shrunk only when it has half as many pixels again as the screen needs.
constexpr double shrinkThreshold = 1.5;
constexpr int smallestImage = 64 * 64;
constexpr int deepestForm = 12;

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

// What one image needs re-encoding: read on the document's thread, encoded on any thread.
struct Job {
    QPDFObjectHandle image;
    std::string raw;   // the stream as stored
    std::string plain; // decoded samples, when the stored form is not JPEG
    int width = 0, height = 0, bands = 0;
    double scale = 1;
    std::string encoded;
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

bool isJPEG(QPDFObjectHandle filter) {
    if (filter.isArray() && filter.getArrayNItems() == 1)
        filter = filter.getArrayItem(0);
    return filter.isNameAndEquals("/DCTDecode");
}

std::string bytesOf(const std::shared_ptr<Buffer>& buffer) {
    return {reinterpret_cast<const char*>(buffer->getBuffer()), buffer->getSize()};
}

// The job for one image, or nothing when it is not safe or not worth touching.
std::optional<Job> jobFor(QPDFObjectHandle image, std::pair<double, double> shown) {
    QPDFObjectHandle dict = image.getDict();
    QPDFObjectHandle width = dict.getKey("/Width"), height = dict.getKey("/Height");
    QPDFObjectHandle depth = dict.getKey("/BitsPerComponent");
    if (!width.isInteger() || !height.isInteger() || !depth.isInteger() || depth.getIntValue() != 8)
        return std::nullopt;
    if (dict.hasKey("/Decode") || dict.getKey("/Mask").isArray() ||
        isTrue(dict.getKey("/ImageMask")) || dict.hasKey("/Alternates"))
        return std::nullopt;
    Job job{image,
            {},
            {},
            int(width.getIntValue()),
            int(height.getIntValue()),
            bandsOf(dict.getKey("/ColorSpace")),
            1,
            {}};
    if (job.bands == 0 || job.width < 1 || job.height < 1 ||
        double(job.width) * job.height < smallestImage)
        return std::nullopt;
    if (shown.first > 0 && shown.second > 0) {
        const double dpi =
            std::min(job.width / (shown.first / 72), job.height / (shown.second / 72));
        if (dpi > screenDPI * shrinkThreshold)
            job.scale = screenDPI / dpi;
    }
    try {
        job.raw = bytesOf(image.getRawStreamData());
        if (isJPEG(dict.getKey("/Filter")) && dict.hasKey("/DecodeParms"))
            return std::nullopt; // colour transforms of its own that libvips would not know
        if (!isJPEG(dict.getKey("/Filter"))) {
            job.plain = bytesOf(image.getStreamData(qpdf_dl_generalized));
            if (job.plain.size() < size_t(job.width) * job.height * job.bands)
                return std::nullopt;
        } else if (job.scale == 1) {
            return std::nullopt; // already a JPEG at screen size: encoding again only loses
        }
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return job;
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
        double rest = job.scale;
        if (job.plain.empty()) {
            const int shrink = shrinkOnLoad(job.scale);
            image = VImage::new_from_buffer(job.raw.data(), job.raw.size(), "",
                                            VImage::option()->set("shrink", shrink));
            if (image.bands() != job.bands || image.format() != VIPS_FORMAT_UCHAR)
                return;
            rest = double(std::max(1, int(std::lround(job.width * job.scale)))) / image.width();
        } else {
            image = VImage::new_from_memory(job.plain.data(), job.plain.size(), job.width,
                                            job.height, job.bands, VIPS_FORMAT_UCHAR);
        }
        image = image.copy(VImage::option()->set(
            "interpretation", job.bands == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
        if (rest < 0.999)
            image = image.resize(rest);
        void* data = nullptr;
        size_t length = 0;
        image.write_to_buffer(
            ".jpg", &data, &length,
            VImage::option()->set("Q", quality)->set("optimize_coding", true)->set("strip", true));
        job.encoded.assign(static_cast<const char*>(data), length);
        g_free(data);
    } catch (const vips::VError&) {
        vips_error_clear();
        job.encoded.clear();
    }
}

void replace(Job& job) {
    if (job.encoded.empty() || job.encoded.size() >= job.raw.size() * 9 / 10)
        return;
    VImage header = VImage::new_from_buffer(job.encoded.data(), job.encoded.size(), "");
    QPDFObjectHandle dict = job.image.getDict();
    job.image.replaceStreamData(job.encoded, QPDFObjectHandle::newName("/DCTDecode"),
                                QPDFObjectHandle::newNull());
    dict.replaceKey("/Width", QPDFObjectHandle::newInteger(header.width()));
    dict.replaceKey("/Height", QPDFObjectHandle::newInteger(header.height()));
    dict.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(8));
}

} // namespace

void recompress(QPDF& document, double quality, int threads) {
    if (!VipsRuntime::ensureStarted())
        return;
    const int jpegQuality =
        std::clamp(int(std::lround(std::min(quality, screenQuality) * 100)), 1, 100);
    const Placements found = placements(document);
    // A few images at a time, so that memory follows the threads rather than the document.
    const size_t batch = size_t(std::max(1, threads)) * 2;
    std::vector<Job> jobs;
    auto flush = [&] {
        ParallelPages::run(int(jobs.size()), threads, [&] {
            return [&](int index) { encode(jobs[size_t(index)], jpegQuality); };
        });
        for (Job& job : jobs)
            replace(job);
        jobs.clear();
    };
    for (const auto& [id, image] : found.images) {
        if (std::optional<Job> job = jobFor(image, found.sizes.at(id)))
            jobs.push_back(std::move(*job));
        if (jobs.size() >= batch)
            flush();
    }
    flush();
}

} // namespace tramix::PDFImageCompressor
