#include "PDFDocument.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "FileDescriptor.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <map>
#include <optional>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace tramix::PDFDocument {

namespace {

// qpdf reports what it repairs on standard error; a user cannot act on that.
std::shared_ptr<QPDF> quiet() {
    std::shared_ptr<QPDF> document = QPDF::create();
    document->setSuppressWarnings(true);
    return document;
}

// Reading through stdio costs a seek and several small reads for every object, about as much as
// copying it; documents up to this size are read at once and parsed from memory instead.
constexpr qint64 readWholeUpTo = 16 * 1024 * 1024;

// A document parsed from memory, which it reads from for as long as it lives.
struct InMemory {
    QByteArray bytes;
    std::shared_ptr<QPDF> document = quiet();
};

std::shared_ptr<QPDF> parse(const QString& path) {
    const QByteArray file = QFile::encodeName(path);
    QFile input(path);
    if (input.size() > readWholeUpTo || !input.open(QIODevice::ReadOnly)) {
        std::shared_ptr<QPDF> document = quiet();
        document->processFile(file.constData());
        return document;
    }
    auto held = std::make_shared<InMemory>();
    held->bytes = input.readAll();
    held->document->processMemoryFile(file.constData(), held->bytes.constData(),
                                      size_t(held->bytes.size()));
    return std::shared_ptr<QPDF>(held, held->document.get());
}

// What writing a document that qpdf cannot write, or that does not read back, is blamed on.
ConversionError notSaved(const WriteSettings& settings) {
    if (!settings.source.isEmpty())
        return ConversionError::unreadable(settings.source);
    return ConversionError::failed(QStringLiteral("PDF konnte nicht gespeichert werden."));
}

// A new file in a staged folder is made here, never through a link; a temporary path from
// AtomicFile ("/proc/{pid}/fd/{n}") exists already and leads to its open file.
int openForWriting(const QString& path, const QString& name) {
    const QByteArray file = QFile::encodeName(path);
    int fd = ::open(file.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd < 0 && errno == EEXIST)
        fd = ::open(file.constData(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0)
        SystemError::throwWriteFailure(name, errno);
    return fd;
}

// Where QPDFWriter's bytes go. qpdf's own file output does not check closing the file, so a
// full disk could leave a truncated PDF; here every write is checked. The first failure stops
// the writer and is kept for the message; what qpdf still hands over while it unwinds (it
// finishes its pipelines in destructors, where a second exception would end the process) is
// dropped.
class Output final : public Pipeline {
public:
    Output(const QString& path, const QString& name)
        : Pipeline("result", nullptr)
        , name_(name)
        , file_(openForWriting(path, name)) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(unsigned char const* data, size_t length) override {
        if (error_)
            return;
        if (length >= chunk) {
            drain();
            put(reinterpret_cast<const char*>(data), length);
        } else {
            pending_.append(reinterpret_cast<const char*>(data), length);
            if (pending_.size() >= chunk)
                drain();
        }
        if (error_)
            throw std::runtime_error("writing the PDF failed");
    }

    void finish() override { drain(); }

    // Writes what is left and closes the file; throws the sentence for the first write that
    // failed, also one that only closing reports.
    void close() {
        drain();
        if (!error_ && file_.release() != 0)
            error_ = errno;
        throwWriteFailure();
    }

    // Throws the sentence for the write that failed, if one did.
    void throwWriteFailure() const {
        if (error_)
            SystemError::throwWriteFailure(name_, error_);
    }

private:
    static constexpr size_t chunk = 1 << 20;

    void drain() {
        put(pending_.data(), pending_.size());
        pending_.clear();
    }

    // Never throws: a failure is kept in `error_`.
    void put(const char* data, size_t length) {
        if (!error_)
            error_ = file_.writeAll(data, length);
    }

    QString name_;
    FileDescriptor file_;
    int error_ = 0;
    std::string pending_;
};

// The number of pages that the page tree's root declares, which readers such as poppler trust,
// or -1 when it declares none.
qint64 declaredPages(QPDF& document) {
    QPDFObjectHandle count = document.getRoot().getKey("/Pages").getKey("/Count");
    return count.isInteger() ? count.getIntValue() : -1;
}

// qpdf writes the page tree as it found it, and where its declared number of pages is damaged,
// readers that trust it see no pages at all. Such a tree is written flat, with the right count.
void repairPageCount(QPDF& document, size_t pages) {
    if (declaredPages(document) == qint64(pages))
        return;
    document.pushInheritedAttributesToPage(); // what pages took from the nodes now left out
    QPDFObjectHandle root = document.getRoot().getKey("/Pages");
    std::vector<QPDFObjectHandle> all = document.getAllPages();
    for (QPDFObjectHandle& page : all)
        page.replaceKey("/Parent", root);
    root.replaceKey("/Kids", QPDFObjectHandle::newArray(all));
    root.replaceKey("/Count", QPDFObjectHandle::newInteger(qint64(pages)));
}

// Whether the file at `path` opens as it was written, without repairs, and has `pages` pages,
// counted in its page tree and as declared. Damage that the input had inside its pages (a page
// that is not a dictionary, say) is carried over as it was, and readers show the other pages.
bool readsBack(const QString& path, size_t pages) {
    try {
        std::shared_ptr<QPDF> written = quiet();
        written->setAttemptRecovery(false);
        written->processFile(QFile::encodeName(path).constData());
        return QPDFPageDocumentHelper(*written).getAllPages().size() == pages &&
               declaredPages(*written) == qint64(pages);
    } catch (const std::exception&) {
        return false;
    }
}

// Up to `limit` bytes of what a stream hands over; then it stops the stream.
class Beginning final : public Pipeline {
public:
    explicit Beginning(size_t limit)
        : Pipeline("beginning", nullptr)
        , limit_(limit) {}
    void write(unsigned char const* data, size_t length) override {
        bytes.append(reinterpret_cast<const char*>(data), std::min(length, limit_ - bytes.size()));
        if (bytes.size() >= limit_)
            throw std::length_error("enough");
    }
    void finish() override {}

    std::string bytes;

private:
    size_t limit_;
};

struct JPEGFrame {
    int width = 0, height = 0, components = 0;
    bool progressive = false;
};

// The frame header of a JPEG, from its first bytes; nothing when they do not show it.
std::optional<JPEGFrame> frameOf(const std::string& jpeg) {
    auto at = [&](size_t i) { return i < jpeg.size() ? int(uchar(jpeg[i])) : -1; };
    if (at(0) != 0xFF || at(1) != 0xD8)
        return std::nullopt;
    for (size_t i = 2; at(i + 3) >= 0;) {
        if (at(i) != 0xFF)
            return std::nullopt;
        const int marker = at(i + 1);
        if (marker == 0xFF || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) {
            i += marker == 0xFF ? 1 : 2; // fill bytes and markers without a length
            continue;
        }
        const bool frame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (frame && at(i + 9) >= 0) {
            return JPEGFrame{at(i + 7) << 8 | at(i + 8), at(i + 5) << 8 | at(i + 6), at(i + 9),
                             marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE};
        }
        if (frame || marker == 0xDA)
            return std::nullopt;
        i += 2 + size_t(at(i + 2) << 8 | at(i + 3));
    }
    return std::nullopt;
}

int componentsOf(QPDFObjectHandle colourSpace) {
    if (colourSpace.isArray() && colourSpace.getArrayNItems() > 0)
        colourSpace = colourSpace.getArrayItem(0);
    if (colourSpace.isNameAndEquals("/DeviceGray") || colourSpace.isNameAndEquals("/CalGray") ||
        colourSpace.isNameAndEquals("/Indexed"))
        return 1;
    if (colourSpace.isNameAndEquals("/DeviceRGB") || colourSpace.isNameAndEquals("/CalRGB") ||
        colourSpace.isNameAndEquals("/Lab"))
        return 3;
    return 4; // CMYK, or what only the picture itself says
}

// What poppler holds to decode `image` alone, without its soft mask.
ImageMemory decoding(QPDFObjectHandle image) {
    QPDFObjectHandle dict = image.getDict();
    QPDFObjectHandle filters = dict.getKey("/Filter");
    QPDFObjectHandle last = filters.isArray() && filters.getArrayNItems() > 0
                                ? filters.getArrayItem(filters.getArrayNItems() - 1)
                                : filters;
    QPDFObjectHandle width = dict.getKey("/Width"), height = dict.getKey("/Height");
    const qint64 declaredWidth = width.isInteger() ? std::max<qint64>(0, width.getIntValue()) : 0;
    const qint64 declaredHeight =
        height.isInteger() ? std::max<qint64>(0, height.getIntValue()) : 0;
    const QSize size(int(std::min<qint64>(declaredWidth, INT_MAX)),
                     int(std::min<qint64>(declaredHeight, INT_MAX)));
    const qint64 samples = declaredWidth * declaredHeight;
    if (last.isNameAndEquals("/JPXDecode"))
        return {samples * componentsOf(dict.getKey("/ColorSpace")) * 4, size};
    if (!last.isNameAndEquals("/DCTDecode") && !last.isNameAndEquals("/DCT"))
        return {};
    std::optional<JPEGFrame> frame;
    if (!filters.isArray() || filters.getArrayNItems() == 1) {
        Beginning beginning(1 << 18); // room for several metadata segments before the frame
        try {
            image.pipeStreamData(&beginning, nullptr, 0, qpdf_dl_none, true);
        } catch (const std::exception&) {
        }
        frame = frameOf(beginning.bytes);
    }
    if (!frame) // not to be judged: taken for the worst
        return {samples * componentsOf(dict.getKey("/ColorSpace")) * 2, size};
    if (!frame->progressive)
        return {};
    return {qint64(frame->width) * frame->height * frame->components * 2,
            QSize(frame->width, frame->height)};
}

} // namespace

std::vector<ImageMemory> imageMemory(const QString& path) {
    std::vector<ImageMemory> result;
    try {
        std::shared_ptr<QPDF> document = parse(path);
        std::map<QPDFObjGen, ImageMemory> known; // images that several pages show
        for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(*document).getAllPages()) {
            ImageMemory most;
            try {
                page.forEachImage(
                    true, [&](QPDFObjectHandle& image, QPDFObjectHandle&, const std::string&) {
                        const QPDFObjGen id = image.getObjGen();
                        auto found = known.find(id);
                        if (found == known.end()) {
                            ImageMemory needed = decoding(image);
                            QPDFObjectHandle mask = image.getDict().getKey("/SMask");
                            if (mask.isStream())
                                needed.bytes += decoding(mask).bytes;
                            found = known.emplace(id, needed).first;
                        }
                        if (found->second.bytes > most.bytes)
                            most = found->second;
                    });
            } catch (const std::exception&) {
            }
            result.push_back(most);
        }
    } catch (const std::exception&) {
        return {};
    }
    return result;
}

std::shared_ptr<QPDF> open(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    std::shared_ptr<QPDF> document;
    try {
        document = parse(path);
    } catch (const QPDFExc& error) {
        if (error.getErrorCode() == qpdf_e_password)
            throw ConversionError::failed(QStringLiteral("„%1“ ist passwortgeschützt.").arg(name));
        throw ConversionError::unreadable(name);
    } catch (const std::exception&) {
        throw ConversionError::unreadable(name);
    }
    return document;
}

std::shared_ptr<QPDF> empty() {
    std::shared_ptr<QPDF> document = quiet();
    document->emptyPDF();
    return document;
}

std::vector<QPDFPageObjectHelper> pages(QPDF& document, const QString& name) {
    try {
        return QPDFPageDocumentHelper(document).getAllPages();
    } catch (const std::exception&) {
        throw ConversionError::unreadable(name);
    }
}

void appendCopy(QPDF& target, QPDFPageObjectHelper page) {
    QPDFObjectHandle copy = target.copyForeignObject(page.getObjectHandle());
    // A page listed twice must be two page objects; the copy cache hands back the same one.
    const std::vector<QPDFObjectHandle>& present = target.getAllPages();
    const QPDFObjGen id = copy.getObjGen();
    if (std::any_of(present.begin(), present.end(),
                    [&](QPDFObjectHandle page) { return page.getObjGen() == id; }))
        copy = target.makeIndirectObject(copy.shallowCopy());
    QPDFPageDocumentHelper(target).addPage(QPDFPageObjectHelper(copy), false);
}

QString write(QPDF& document, NameReservation destination, const WriteSettings& settings) {
    const QString name = destination.path();
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        writeTo(document, temporary, name, settings);
    });
}

void writeTo(QPDF& document, const QString& path, const QString& name,
             const WriteSettings& settings) {
    size_t expected = 0;
    try {
        expected = QPDFPageDocumentHelper(document).getAllPages().size();
        repairPageCount(document, expected);
    } catch (const std::exception&) {
        throw notSaved(settings);
    }
    Output output(path, name);
    try {
        QPDFWriter writer(document);
        writer.setOutputPipeline(&output);
        if (settings.configure)
            settings.configure(writer);
        writer.write();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        output.throwWriteFailure(); // when that is what stopped the writer
        throw notSaved(settings);
    }
    output.close();
    if (!readsBack(path, expected))
        throw notSaved(settings);
}

} // namespace tramix::PDFDocument
