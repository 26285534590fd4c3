#include "ImageMetadata.h"

#include "ConversionError.h"
#include "EngineLog.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <mutex>

// exiv2 0.27 hands out std::auto_ptr, which is deprecated in C++20.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>

namespace tramix {

namespace {

// Jobs run side by side; exiv2 registers XMP namespaces as it meets them, under this lock.
void lockXMP(void* mutex, bool lock) {
    lock ? static_cast<std::recursive_mutex*>(mutex)->lock()
         : static_cast<std::recursive_mutex*>(mutex)->unlock();
}

void startOnce() {
    static std::once_flag once;
    static std::recursive_mutex xmpMutex;
    std::call_once(once, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize(lockXMP, &xmpMutex);
        Exiv2::enableBMFF(true);
    });
}

const Exiv2::byte* bytesOf(const QByteArray& data) {
    return reinterpret_cast<const Exiv2::byte*>(data.constData());
}

Exiv2::ExifData decodeExif(const QByteArray& block) {
    Exiv2::ExifData exif;
    if (!block.isEmpty())
        Exiv2::ExifParser::decode(exif, bytesOf(block), uint32_t(block.size()));
    return exif;
}

QByteArray encodeExif(const Exiv2::ExifData& exif) {
    if (exif.empty())
        return {};
    Exiv2::Blob blob;
    Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, exif);
    return QByteArray(reinterpret_cast<const char*>(blob.data()), qsizetype(blob.size()));
}

Exiv2::IptcData decodeIPTC(const QByteArray& block) {
    Exiv2::IptcData iptc;
    if (!block.isEmpty())
        Exiv2::IptcParser::decode(iptc, bytesOf(block), uint32_t(block.size()));
    return iptc;
}

QByteArray encodeIPTC(const Exiv2::IptcData& iptc) {
    if (iptc.empty())
        return {};
    const Exiv2::DataBuf buffer = Exiv2::IptcParser::encode(iptc);
    return QByteArray(reinterpret_cast<const char*>(buffer.pData_), buffer.size_);
}

Exiv2::XmpData decodeXMP(const QByteArray& packet) {
    Exiv2::XmpData xmp;
    if (!packet.isEmpty())
        Exiv2::XmpParser::decode(xmp, packet.toStdString());
    return xmp;
}

QByteArray encodeXMP(const Exiv2::XmpData& xmp) {
    std::string packet;
    if (xmp.empty() || Exiv2::XmpParser::encode(packet, xmp) != 0)
        return {};
    return QByteArray::fromStdString(packet);
}

template <typename Data, typename Key> bool has(const Data& data, const char* key) {
    return data.findKey(Key(key)) != data.end();
}

void makeUpright(Exiv2::ExifData& exif, int width, int height) {
    if (has<Exiv2::ExifData, Exiv2::ExifKey>(exif, "Exif.Image.Orientation"))
        exif["Exif.Image.Orientation"] = uint16_t(1);
    if (has<Exiv2::ExifData, Exiv2::ExifKey>(exif, "Exif.Photo.PixelXDimension")) {
        exif["Exif.Photo.PixelXDimension"] = uint32_t(width);
        exif["Exif.Photo.PixelYDimension"] = uint32_t(height);
    }
    Exiv2::ExifThumb(exif).erase();
}

void makeUpright(Exiv2::XmpData& xmp, int width, int height) {
    if (has<Exiv2::XmpData, Exiv2::XmpKey>(xmp, "Xmp.tiff.Orientation"))
        xmp["Xmp.tiff.Orientation"] = "1";
    if (has<Exiv2::XmpData, Exiv2::XmpKey>(xmp, "Xmp.exif.PixelXDimension")) {
        xmp["Xmp.exif.PixelXDimension"] = std::to_string(width);
        xmp["Xmp.exif.PixelYDimension"] = std::to_string(height);
    }
}

// exiv2 reads every chunk of a PNG whole, the compressed pixels too: a second pass over a
// 100-MP picture. Metadata lives only in these chunks, whose headers are found by skipping the
// others unread. Anything unexpected is left for exiv2 to judge.
bool isPNGWithoutMetadata(const QString& path) {
    QFile file(path);
    // Unbuffered: a buffer would read the pixels that the seeks skip.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    static constexpr char signature[] = "\x89PNG\r\n\x1a\n";
    if (file.read(8) != QByteArray(signature, 8))
        return false;
    for (;;) {
        const QByteArray header = file.read(8);
        if (header.size() != 8)
            return false;
        const QByteArray type = header.sliced(4);
        if (type == "IEND")
            return true;
        if (type == "eXIf" || type == "tEXt" || type == "zTXt" || type == "iTXt")
            return false;
        constexpr qint64 crcBytes = 4;
        const qint64 length = qFromBigEndian<quint32>(header.constData());
        if (!file.seek(file.pos() + length + crcBytes))
            return false;
    }
}

} // namespace

ImageMetadata ImageMetadata::read(const QString& path) {
    if (isPNGWithoutMetadata(path))
        return {};
    startOnce();
    ImageMetadata metadata;
    try {
        auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        image->readMetadata();
        metadata.exif_ = encodeExif(image->exifData());
        metadata.iptc_ = encodeIPTC(image->iptcData());
        metadata.xmp_ = encodeXMP(image->xmpData());
    } catch (const std::exception&) {
        // A format exiv2 does not know, or damaged metadata: the pixels may still be fine.
        return {};
    }
    return metadata;
}

ImageMetadata ImageMetadata::none() {
    ImageMetadata metadata;
    metadata.removesAll_ = true;
    return metadata;
}

ImageMetadata ImageMetadata::upright(int width, int height) const {
    ImageMetadata result = *this;
    if (!exif_.isEmpty()) {
        Exiv2::ExifData exif = decodeExif(exif_);
        makeUpright(exif, width, height);
        result.exif_ = encodeExif(exif);
    }
    if (!xmp_.isEmpty()) {
        Exiv2::XmpData xmp = decodeXMP(xmp_);
        makeUpright(xmp, width, height);
        result.xmp_ = encodeXMP(xmp);
    }
    return result;
}

ImageMetadata ImageMetadata::withoutXMP() const {
    ImageMetadata result = *this;
    result.xmp_.clear();
    return result;
}

QByteArray ImageMetadata::xmpPacketWithIPTC() const {
    Exiv2::XmpData xmp = decodeXMP(xmp_);
    const Exiv2::IptcData iptc = decodeIPTC(iptc_);
    if (!iptc.empty())
        Exiv2::copyIptcToXmp(iptc, xmp);
    return encodeXMP(xmp);
}

bool ImageMetadata::canWriteInto(const QString& ext) {
    return ext == u"jpg" || ext == u"png" || ext == u"webp" || ext == u"tiff";
}

namespace {

void replaceMetadata(Exiv2::Image& image, const QByteArray& exifBlock, const QByteArray& iptcBlock,
                     const QByteArray& xmpPacket) {
    image.readMetadata();
    image.setExifData(decodeExif(exifBlock));
    Exiv2::XmpData xmp = decodeXMP(xmpPacket);
    const Exiv2::IptcData iptc = decodeIPTC(iptcBlock);
    if (image.supportsMetadata(Exiv2::mdIptc)) {
        image.setIptcData(iptc);
    } else {
        image.clearIptcData();
        if (!iptc.empty())
            Exiv2::copyIptcToXmp(iptc, xmp);
    }
    image.clearXmpPacket();
    image.setXmpData(xmp);
    image.clearComment();
    image.writeMetadata();
}

[[noreturn]] void throwMetadataError(const QString& name) {
    throw ConversionError::failed(
        QStringLiteral("Die Metadaten von „%1“ konnten nicht geschrieben werden.").arg(name));
}

} // namespace

QByteArray ImageMetadata::writtenInto(const QByteArray& encoded, const QString& destination) const {
    startOnce();
    try {
        // exiv2 reads the caller's bytes where they are and builds the new file beside them; the
        // result is taken straight from its memory.
        auto image = Exiv2::ImageFactory::open(bytesOf(encoded), long(encoded.size()));
        replaceMetadata(*image, exif_, iptc_, xmp_);
        Exiv2::BasicIo& io = image->io();
        io.open();
        const QByteArray result(reinterpret_cast<const char*>(io.mmap()), qsizetype(io.size()));
        io.munmap();
        io.close();
        return result;
    } catch (const std::exception& error) {
        qCDebug(engineLog) << "exiv2 did not write:" << error.what();
        throwMetadataError(QFileInfo(destination).fileName());
    }
}

} // namespace tramix
