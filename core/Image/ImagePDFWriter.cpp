#include "ImagePDFWriter.h"

#include "ConversionError.h"
#include "ImagePipeline.h"
#include "ImagePixels.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <unistd.h>
#include <zlib.h>

namespace tramix {

using vips::VImage;

namespace {

constexpr int catalogObject = 1;
constexpr int pagesObject = 2;

QByteArray num(double value) {
    QByteArray text = QByteArray::number(value, 'f', 2);
    while (text.contains('.') && (text.endsWith('0') || text.endsWith('.')))
        text.chop(1);
    return text;
}

QByteArray ref(int object) {
    return QByteArray::number(object) + " 0 R";
}

// Maps the image's unit square onto the page so that the stored pixels appear upright.
QByteArray placement(int orientation, double width, double height) {
    const double w = width, h = height;
    const double matrices[8][6] = {
        {w, 0, 0, h, 0, 0},   {-w, 0, 0, h, w, 0}, {-w, 0, 0, -h, w, h}, {w, 0, 0, -h, 0, h},
        {0, -h, -w, 0, w, h}, {0, -h, w, 0, 0, h}, {0, h, w, 0, 0, 0},   {0, h, -w, 0, w, 0},
    };
    QByteArray text;
    for (const double value : matrices[orientation - 1])
        text += num(value) + ' ';
    return text + "cm";
}

bool isPlainJPEG(const VImage& image) {
    const char* loader = nullptr;
    if (vips_image_get_string(image.get_image(), "vips-loader", &loader) != 0)
        return false;
    return QByteArray(loader) == "jpegload" && image.format() == VIPS_FORMAT_UCHAR &&
           (image.bands() == 1 || image.bands() == 3);
}

// Deflates what it is given and hands the compressed bytes on as they come.
class Deflater {
public:
    explicit Deflater(std::function<void(const char*, qsizetype)> sink)
        : sink_(std::move(sink)) {
        if (deflateInit(&stream_, Z_DEFAULT_COMPRESSION) != Z_OK)
            throw ConversionError::failed(QStringLiteral("PDF konnte nicht erstellt werden."));
    }
    ~Deflater() { deflateEnd(&stream_); }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    void append(const QByteArray& data) { run(data, Z_NO_FLUSH); }
    void finish() { run(QByteArray(), Z_FINISH); }

private:
    void run(const QByteArray& data, int flush) {
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
        stream_.avail_in = uInt(data.size());
        char buffer[65536];
        int status = Z_OK;
        do {
            stream_.next_out = reinterpret_cast<Bytef*>(buffer);
            stream_.avail_out = sizeof buffer;
            status = deflate(&stream_, flush);
            sink_(buffer, qsizetype(sizeof buffer - stream_.avail_out));
        } while (stream_.avail_out == 0 || (flush == Z_FINISH && status != Z_STREAM_END));
    }

    z_stream stream_{};
    std::function<void(const char*, qsizetype)> sink_;
};

// PDF wants 16-bit samples big-endian; libvips holds them in the machine's order.
void appendSamples(QByteArray& target, const unsigned char* samples, int count, int bytesEach) {
    if (bytesEach == 1) {
        target.append(reinterpret_cast<const char*>(samples), count);
        return;
    }
    for (int i = 0; i < count; ++i) {
        const quint16 value = reinterpret_cast<const quint16*>(samples)[i];
        target.append(char(value >> 8));
        target.append(char(value & 0xff));
    }
}

VImage withPDFDepth(const VImage& source) {
    VImage image = ImagePixels::inRGBOrGrey(source);
    if (image.format() != VIPS_FORMAT_UCHAR && image.format() != VIPS_FORMAT_USHORT)
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR && image.format() != VIPS_FORMAT_USHORT)
        image = image.cast(VIPS_FORMAT_UCHAR);
    const int colourBands = image.bands() >= 3 ? 3 : 1;
    const int wanted = colourBands + (image.has_alpha() ? 1 : 0);
    if (image.bands() > wanted) {
        VImage colour = image.extract_band(0, VImage::option()->set("n", colourBands));
        image = image.has_alpha() ? colour.bandjoin(image[image.bands() - 1]) : colour;
    }
    return image;
}

} // namespace

ImagePDFWriter::ImagePDFWriter(const QString& path, const QString& name)
    : file_(path, name) {
    reserveObject(); // the catalogue
    reserveObject(); // the page tree
    put("%PDF-1.5\n%\xE2\xE3\xCF\xD3\n");
}

int ImagePDFWriter::reserveObject() {
    offsets_.append(-1);
    return int(offsets_.size());
}

void ImagePDFWriter::beginObject(int number) {
    offsets_[number - 1] = file_.pos();
    put(QByteArray::number(number) + " 0 obj\n");
}

void ImagePDFWriter::writeStreamObject(int number, const QByteArray& dictionary,
                                       const QByteArray& data) {
    beginObject(number);
    put("<< " + dictionary + " /Length " + QByteArray::number(data.size()) + " >>\nstream\n");
    put(data);
    put("\nendstream\nendobj\n");
}

void ImagePDFWriter::put(const QByteArray& bytes) {
    file_.write(bytes);
}

qint64 ImagePDFWriter::putFileContents(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        SystemError::throwReadFailure(path, errno);
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    qint64 total = 0;
    for (;;) {
        const ssize_t count = ::read(fd, chunk.data(), size_t(chunk.size()));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            const int error = errno;
            ::close(fd);
            SystemError::throwReadFailure(path, error);
        }
        if (count == 0)
            break;
        try {
            file_.write(chunk.constData(), count);
        } catch (...) {
            ::close(fd);
            throw;
        }
        total += count;
    }
    ::close(fd);
    return total;
}

namespace {

// The colour space entry for an image's colour bands, embedding its ICC profile when it has one.
QByteArray colourSpace(const VImage& image, int colourBands,
                       const std::function<int(const QByteArray&, const QByteArray&)>& addStream) {
    const QByteArray device = colourBands == 3 ? "/DeviceRGB" : "/DeviceGray";
    if (!image.get_typeof(VIPS_META_ICC_NAME))
        return device;
    size_t length = 0;
    const void* profile = image.get_blob(VIPS_META_ICC_NAME, &length);
    const int object = addStream("/N " + QByteArray::number(colourBands) + " /Alternate " + device,
                                 QByteArray(static_cast<const char*>(profile), qsizetype(length)));
    return "[/ICCBased " + ref(object) + "]";
}

} // namespace

void ImagePDFWriter::addPage(const QString& imagePath) {
    const auto addStream = [this](const QByteArray& dictionary, const QByteArray& data) {
        const int object = reserveObject();
        writeStreamObject(object, dictionary, data);
        return object;
    };
    try {
        const VImage stored = ImagePipeline::openStored(imagePath);
        const int orientation = ImagePipeline::orientationOf(stored);
        const double dpi = ImagePipeline::declaredDPI(stored).value_or(72.0);
        const bool turned = orientation >= 5;
        const double pageWidth = (turned ? stored.height() : stored.width()) * 72.0 / dpi;
        const double pageHeight = (turned ? stored.width() : stored.height()) * 72.0 / dpi;

        int imageObject = 0;
        if (isPlainJPEG(stored)) {
            // Its data goes in undecoded, so it is checked first: a viewer would show the rows
            // a truncated file lacks as grey.
            ImagePipeline::requireComplete(imagePath);
            const QByteArray space = colourSpace(stored, stored.bands(), addStream);
            imageObject = reserveObject();
            const int lengthObject = reserveObject();
            beginObject(imageObject);
            put("<< /Type /XObject /Subtype /Image /Width " + QByteArray::number(stored.width()) +
                " /Height " + QByteArray::number(stored.height()) + " /ColorSpace " + space +
                " /BitsPerComponent 8 /Filter /DCTDecode /Interpolate true /Length " +
                ref(lengthObject) + " >>\nstream\n");
            const qint64 length = putFileContents(imagePath);
            put("\nendstream\nendobj\n");
            beginObject(lengthObject);
            put(QByteArray::number(length) + "\nendobj\n");
        } else {
            imageObject = addPixels(withPDFDepth(stored), addStream);
        }
        const int content = addStream(
            QByteArray(), "q " + placement(orientation, pageWidth, pageHeight) + " /Im Do Q");
        const int page = reserveObject();
        beginObject(page);
        put("<< /Type /Page /Parent " + ref(pagesObject) + " /MediaBox [0 0 " + num(pageWidth) +
            ' ' + num(pageHeight) + "] /Resources << /XObject << /Im " + ref(imageObject) +
            " >> >> /Contents " + ref(content) + " >>\nendobj\n");
        pages_.append(page);
    } catch (const vips::VError& error) {
        ImagePipeline::throwUndecodable(imagePath, QString::fromUtf8(error.what()));
    }
}

int ImagePDFWriter::addPixels(
    const VImage& image,
    const std::function<int(const QByteArray&, const QByteArray&)>& addStream) {
    const bool alpha = image.has_alpha();
    const int colourBands = image.bands() - (alpha ? 1 : 0);
    const int bytesEach = image.format() == VIPS_FORMAT_USHORT ? 2 : 1;
    const QByteArray size = " /Width " + QByteArray::number(image.width()) + " /Height " +
                            QByteArray::number(image.height()) + " /BitsPerComponent " +
                            QByteArray::number(bytesEach * 8);
    const QByteArray space = colourSpace(image, colourBands, addStream);
    const int imageObject = reserveObject();
    const int lengthObject = reserveObject();
    const int maskObject = alpha ? reserveObject() : 0;

    beginObject(imageObject);
    put("<< /Type /XObject /Subtype /Image" + size + " /ColorSpace " + space +
        " /Filter /FlateDecode /Interpolate true" +
        (alpha ? " /SMask " + ref(maskObject) : QByteArray()) + " /Length " + ref(lengthObject) +
        " >>\nstream\n");
    const qint64 start = file_.pos();
    QByteArray mask;
    Deflater colour([this](const char* data, qsizetype length) { put(QByteArray(data, length)); });
    Deflater masking([&mask](const char* data, qsizetype length) { mask.append(data, length); });
    const int sampleBytes = bytesEach;
    ImagePixels::forEachRow(image, [&](int, const unsigned char* row) {
        QByteArray colourRow, maskRow;
        const int pixelBytes = image.bands() * sampleBytes;
        for (int x = 0; x < image.width(); ++x) {
            const unsigned char* pixel = row + std::ptrdiff_t(x) * pixelBytes;
            appendSamples(colourRow, pixel, colourBands, sampleBytes);
            if (alpha)
                appendSamples(maskRow, pixel + colourBands * sampleBytes, 1, sampleBytes);
        }
        colour.append(colourRow);
        if (alpha)
            masking.append(maskRow);
    });
    colour.finish();
    const qint64 length = file_.pos() - start;
    put("\nendstream\nendobj\n");
    beginObject(lengthObject);
    put(QByteArray::number(length) + "\nendobj\n");
    if (alpha) {
        masking.finish();
        writeStreamObject(maskObject,
                          "/Type /XObject /Subtype /Image" + size +
                              " /ColorSpace /DeviceGray /Filter /FlateDecode",
                          mask);
    }
    return imageObject;
}

void ImagePDFWriter::finish() {
    QByteArray kids;
    for (const int page : pages_)
        kids += ref(page) + ' ';
    beginObject(pagesObject);
    put("<< /Type /Pages /Kids [" + kids.trimmed() + "] /Count " +
        QByteArray::number(pages_.size()) + " >>\nendobj\n");
    beginObject(catalogObject);
    put("<< /Type /Catalog /Pages " + ref(pagesObject) + " >>\nendobj\n");

    const qint64 table = file_.pos();
    QByteArray xref =
        "xref\n0 " + QByteArray::number(offsets_.size() + 1) + "\n0000000000 65535 f \n";
    for (const qint64 offset : offsets_)
        xref += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    put(xref + "trailer\n<< /Size " + QByteArray::number(offsets_.size() + 1) + " /Root " +
        ref(catalogObject) + " >>\nstartxref\n" + QByteArray::number(table) + "\n%%EOF\n");
    file_.finish();
}

} // namespace tramix
