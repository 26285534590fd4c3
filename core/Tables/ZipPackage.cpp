#include "ZipPackage.h"

#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <limits>
#include <zlib.h>

namespace tramix {

namespace {

constexpr quint32 localHeaderSignature = 0x04034b50;
constexpr quint32 directorySignature = 0x02014b50;
constexpr quint32 endSignature = 0x06054b50;
constexpr quint32 end64LocatorSignature = 0x07064b50;
constexpr quint32 end64Signature = 0x06064b50;
constexpr qsizetype localHeaderSize = 30;
constexpr qsizetype directoryEntrySize = 46;
constexpr qsizetype endSize = 22;
constexpr qsizetype end64LocatorSize = 20;
constexpr qsizetype end64Size = 56;
constexpr qint64 longestComment = 0xFFFF;
// A workbook lists a few dozen parts; a directory this large is no workbook's.
constexpr qint64 largestDirectory = 64 << 20;
constexpr quint16 zip64ExtraField = 0x0001;
constexpr quint32 sizeInZip64 = 0xFFFFFFFF;
constexpr quint16 flagEncrypted = 0x0001;
constexpr quint16 flagUTF8 = 0x0800;
constexpr quint16 methodStored = 0;
constexpr quint16 methodDeflated = 8;
constexpr int madeByUnix = 3;
constexpr quint32 fileTypeMask = 0170000;
constexpr quint32 fileTypeLink = 0120000;
constexpr qint64 inputPiece = 1 << 16;

quint16 u16(const char* at) {
    return qFromLittleEndian<quint16>(at);
}
quint32 u32(const char* at) {
    return qFromLittleEndian<quint32>(at);
}
quint64 u64(const char* at) {
    return qFromLittleEndian<quint64>(at);
}

QByteArray readAt(QFile& file, qint64 offset, qint64 size) {
    if (offset < 0 || size < 0 || !file.seek(offset))
        return {};
    return file.read(size);
}

// Replaces the sizes and offset that the directory marks as "in the ZIP64 field" with the
// values of that field, which holds just those, in this order.
bool applyZip64(ZipPackage::Entry& entry, QByteArrayView extra, bool size, bool compressed,
                bool offset) {
    for (qsizetype at = 0; at + 4 <= extra.size();) {
        const quint16 id = u16(extra.data() + at);
        const qsizetype length = u16(extra.data() + at + 2);
        if (at + 4 + length > extra.size())
            return false;
        if (id == zip64ExtraField) {
            const char* field = extra.data() + at + 4;
            qsizetype used = 0;
            for (auto [wanted, target] :
                 {std::pair{size, &entry.size}, std::pair{compressed, &entry.compressedSize},
                  std::pair{offset, &entry.localHeader}}) {
                if (!wanted)
                    continue;
                if (used + 8 > length)
                    return false;
                const quint64 value = u64(field + used);
                if (value > quint64(std::numeric_limits<qint64>::max()))
                    return false;
                *target = qint64(value);
                used += 8;
            }
            return true;
        }
        at += 4 + length;
    }
    return !size && !compressed && !offset;
}

} // namespace

bool ZipPackage::open(const QString& path) {
    path_ = path;
    entries_.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        openError = errno ? errno : EIO;
        return false;
    }
    fileSize_ = file.size();
    return readDirectory(file);
}

bool ZipPackage::readDirectory(QFile& file) {
    // The end record sits at the very end, behind a comment of up to 64 KB.
    const qint64 tailSize = std::min<qint64>(fileSize_, endSize + longestComment);
    const qint64 tailStart = fileSize_ - tailSize;
    const QByteArray tail = readAt(file, tailStart, tailSize);
    if (tail.size() != tailSize)
        return false;
    qsizetype end = -1;
    for (qsizetype at = tail.size() - endSize; at >= 0; --at) {
        if (u32(tail.constData() + at) == endSignature &&
            at + endSize + u16(tail.constData() + at + 20) <= tail.size()) {
            end = at;
            break;
        }
    }
    if (end < 0)
        return false;
    const char* record = tail.constData() + end;
    if (u16(record + 4) != 0 || u16(record + 6) != 0)
        return false; // spread over several disks
    qint64 directorySize = u32(record + 12);
    qint64 directoryOffset = u32(record + 16);
    const qint64 endOffset = tailStart + end;
    qint64 directoryEnd = endOffset;
    if (u16(record + 10) == 0xFFFF || directorySize == sizeInZip64 ||
        directoryOffset == sizeInZip64) {
        const QByteArray locator = readAt(file, endOffset - end64LocatorSize, end64LocatorSize);
        if (locator.size() != end64LocatorSize || u32(locator.constData()) != end64LocatorSignature)
            return false;
        const quint64 end64Offset = u64(locator.constData() + 8);
        if (end64Offset > quint64(endOffset))
            return false;
        const QByteArray end64 = readAt(file, qint64(end64Offset), end64Size);
        if (end64.size() != end64Size || u32(end64.constData()) != end64Signature)
            return false;
        const quint64 size64 = u64(end64.constData() + 40);
        const quint64 offset64 = u64(end64.constData() + 48);
        if (size64 > quint64(fileSize_) || offset64 > quint64(fileSize_))
            return false;
        directorySize = qint64(size64);
        directoryOffset = qint64(offset64);
        directoryEnd = qint64(end64Offset);
    }
    if (directorySize > largestDirectory || directoryOffset + directorySize > directoryEnd)
        return false;

    const QByteArray directory = readAt(file, directoryOffset, directorySize);
    if (directory.size() != directorySize)
        return false;
    for (qsizetype at = 0; at < directory.size();) {
        if (at + directoryEntrySize > directory.size())
            return false;
        const char* header = directory.constData() + at;
        if (u32(header) != directorySignature)
            return false;
        const qsizetype nameLength = u16(header + 28);
        const qsizetype extraLength = u16(header + 30);
        const qsizetype commentLength = u16(header + 32);
        const qsizetype next = at + directoryEntrySize + nameLength + extraLength + commentLength;
        if (next > directory.size())
            return false;
        Entry entry;
        entry.flags = u16(header + 8);
        entry.method = u16(header + 10);
        entry.crc = u32(header + 16);
        entry.compressedSize = u32(header + 20);
        entry.size = u32(header + 24);
        entry.localHeader = u32(header + 42);
        const QByteArrayView name(header + directoryEntrySize, nameLength);
        // Names without the UTF-8 flag are in code page 437; a workbook's parts are ASCII anyway.
        entry.name = entry.flags & flagUTF8 ? QString::fromUtf8(name) : QString::fromLatin1(name);
        entry.link = u16(header + 4) >> 8 == madeByUnix &&
                     (u32(header + 38) >> 16 & fileTypeMask) == fileTypeLink;
        const QByteArrayView extra(header + directoryEntrySize + nameLength, extraLength);
        if (!applyZip64(entry, extra, entry.size == sizeInZip64,
                        entry.compressedSize == sizeInZip64, entry.localHeader == sizeInZip64))
            return false;
        entries_.push_back(std::move(entry));
        at = next;
    }
    return true;
}

const ZipPackage::Entry* ZipPackage::find(QStringView name) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& entry) { return entry.name == name; });
    return found == entries_.end() ? nullptr : &*found;
}

std::unique_ptr<ZipPackage::Reader> ZipPackage::read(const Entry& entry) const {
    return std::unique_ptr<Reader>(new Reader(path_, entry));
}

struct ZipPackage::Reader::Inflater {
    z_stream stream{};
    bool live = false;
    ~Inflater() {
        if (live)
            inflateEnd(&stream);
    }
};

ZipPackage::Reader::Reader(const QString& path, const Entry& entry)
    : file_(path)
    , entry_(entry) {
    failed_ = !start();
    QIODevice::open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

ZipPackage::Reader::~Reader() = default;

bool ZipPackage::Reader::start() {
    if (!file_.open(QIODevice::ReadOnly) || entry_.flags & flagEncrypted)
        return false;
    const QByteArray header = readAt(file_, entry_.localHeader, localHeaderSize);
    if (header.size() != localHeaderSize || u32(header.constData()) != localHeaderSignature)
        return false;
    const qint64 data = entry_.localHeader + localHeaderSize + u16(header.constData() + 26) +
                        u16(header.constData() + 28);
    if (entry_.compressedSize > file_.size() - data || !file_.seek(data))
        return false;
    compressedLeft_ = entry_.compressedSize;
    if (entry_.method == methodStored)
        return entry_.compressedSize == entry_.size;
    if (entry_.method != methodDeflated)
        return false;
    inflater_ = std::make_unique<Inflater>();
    inflater_->live = inflateInit2(&inflater_->stream, -MAX_WBITS) == Z_OK;
    return inflater_->live;
}

qint64 ZipPackage::Reader::fail() {
    failed_ = true;
    return 0;
}

bool ZipPackage::Reader::refill() {
    input_ = file_.read(std::min(inputPiece, compressedLeft_));
    if (input_.isEmpty())
        return false;
    compressedLeft_ -= input_.size();
    inflater_->stream.next_in = reinterpret_cast<Bytef*>(input_.data());
    inflater_->stream.avail_in = uInt(input_.size());
    return true;
}

qint64 ZipPackage::Reader::readData(char* data, qint64 maxSize) {
    if (failed_ || done_)
        return 0;
    // One byte more than the listing allows is enough to catch a listing that lies.
    const qint64 room =
        std::min({maxSize, entry_.size - produced_ + 1, qint64(std::numeric_limits<int>::max())});
    qint64 got = 0;
    if (!inflater_) {
        const qint64 wanted = std::min(room, compressedLeft_);
        got = file_.read(data, wanted);
        if (got != wanted)
            return fail();
        compressedLeft_ -= got;
        done_ = compressedLeft_ == 0;
    } else {
        z_stream& stream = inflater_->stream;
        stream.next_out = reinterpret_cast<Bytef*>(data);
        stream.avail_out = uInt(room);
        while (stream.avail_out == uInt(room)) {
            if (stream.avail_in == 0 && compressedLeft_ > 0 && !refill())
                return fail();
            const int result = inflate(&stream, Z_NO_FLUSH);
            if (result == Z_STREAM_END) {
                done_ = true;
                break;
            }
            if (result != Z_OK)
                return fail(); // damaged, or ending before its end
        }
        got = room - stream.avail_out;
    }
    produced_ += got;
    crc_ = crc32(crc_, reinterpret_cast<const Bytef*>(data), uInt(got));
    if (produced_ > entry_.size || (done_ && (produced_ != entry_.size || crc_ != entry_.crc)))
        return fail();
    return got;
}

} // namespace tramix
