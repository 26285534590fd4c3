#include "ArchiveListing.h"

#include "ArchiveTools.h"
#include "ChildProcess.h"
#include "ConversionError.h"
#include "OpenedArchive.h"
#include "ScratchFolder.h"
#include "SystemError.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tramix::ArchiveConverter {

namespace {

bool leavesFolder(const QByteArray& name, bool backslashSeparates) {
    QByteArray path = name;
    if (backslashSeparates)
        path.replace('\\', '/');
    return path.startsWith('/') || path.split('/').contains("..");
}

// "./a//b/" and "a/b" name the same entry.
QByteArray normalised(const QByteArray& name) {
    QList<QByteArray> parts = name.split('/');
    parts.removeAll(QByteArray());
    parts.removeAll(QByteArray("."));
    return parts.join('/');
}

// The string of the C literal whose opening quote is at `from`; `end` is set past its closing
// quote, or to -1 when there is none.
QByteArray unquoted(const QByteArray& line, qsizetype from, qsizetype& end) {
    QByteArray text;
    qsizetype at = from + 1;
    while (at < line.size() && line[at] != '"') {
        char c = line[at++];
        if (c == '\\' && at < line.size()) {
            c = line[at++];
            if (c >= '0' && c <= '7') {
                int value = c - '0';
                for (int digits = 1;
                     digits < 3 && at < line.size() && line[at] >= '0' && line[at] <= '7'; ++digits)
                    value = value * 8 + (line[at++] - '0');
                c = char(value);
            } else {
                static const QByteArray escapes = "a\ab\bf\fn\nr\rt\tv\v";
                const qsizetype known = escapes.indexOf(c);
                if (known >= 0 && known % 2 == 0)
                    c = escapes[known + 1];
            }
        }
        text.append(c);
    }
    end = at < line.size() ? at + 1 : -1;
    return text;
}

// "-rw-rwSr-t" to 0664.
mode_t permissionBits(const QByteArray& mode) {
    mode_t bits = 0;
    for (int i = 1; i <= 9; ++i) {
        const char c = mode[i];
        const bool set = (i % 3 == 0) ? (c == 'x' || c == 's' || c == 't') : c != '-';
        if (set)
            bits |= mode_t(1) << (9 - i);
    }
    return bits;
}

// One line of `tar --list --verbose --quoting-style=c`:
//   -rw-r--r-- 0/0        5 2024-01-01 00:00 "name"
//   hrw-r--r-- 0/0        0 2024-01-01 00:00 "name" link to "target"
//   crw-r--r-- 0/0      1,3 2024-01-01 00:00 "null"
bool readTarLine(const QByteArray& line, ArchiveListing& listing) {
    const qsizetype quote = line.indexOf('"');
    if (quote < 0)
        return false;
    const QList<QByteArray> fields = line.left(quote).simplified().split(' ');
    if (fields.size() < 3 || fields[0].size() != 10)
        return false;
    qsizetype end = 0;
    const QByteArray name = unquoted(line, quote, end);
    if (end < 0)
        return false;
    const char kind = fields[0][0];
    if (kind == 'V') // a volume label, which extracts to nothing
        return true;
    ++listing.entries;
    listing.outside |= leavesFolder(name, false);
    switch (kind) {
    case '-':
    case 'C': { // contiguous files are plain files anywhere but on old Masscomp machines
        bool ok = false;
        const qint64 size = fields[2].toLongLong(&ok);
        if (!ok || size < 0)
            return false;
        listing.add(size);
        listing.modes.insert(normalised(name), permissionBits(fields[0]));
        return true;
    }
    case 'd':
        listing.modes.insert(normalised(name), permissionBits(fields[0]));
        return true;
    case 'l': // where links lead is checked once they exist
        return true;
    case 'h': {
        const qsizetype target = line.indexOf('"', end);
        if (target < 0)
            return false;
        listing.outside |= leavesFolder(unquoted(line, target, end), false);
        return end >= 0;
    }
    default:
        listing.special = true;
        return true;
    }
}

quint16 le16(const char* at) {
    return quint16(uchar(at[0]) | uchar(at[1]) << 8);
}

quint32 le32(const char* at) {
    return le16(at) | quint32(le16(at + 2)) << 16;
}

quint64 le64(const char* at) {
    return le32(at) | quint64(le32(at + 4)) << 32;
}

} // namespace

ArchiveListing ArchiveListing::ofTar(const OpenedArchive& archive) {
    const ScratchFolder scratch(QStringLiteral("listing-"));
    const QString index = scratch.filePath(QStringLiteral("index"));
    const QString source = archive.forTool();
    // --absolute-names shows names and link targets as stored, before tar would trim them.
    ChildProcess::run(tarTool,
                      {"--list", "--verbose", "--numeric-owner", "--absolute-names",
                       "--quoting-style=c", "--index-file=" + index, "--file=" + source},
                      {}, toolEnvironment(), [&](int, const QString& errorOutput) {
                          const int cause = causeIn(errorOutput);
                          if (cause == EIO)
                              return couldNotRead(archive.path(), SystemError::readReason(cause));
                          if (cause == ENOSPC || cause == EDQUOT)
                              return couldNotExtract(archive.path(), writeProblem(cause));
                          return damaged(archive.path());
                      });
    ArchiveListing listing;
    QFile file(index);
    if (!file.open(QIODevice::ReadOnly))
        return listing; // tar had nothing to list
    while (!file.atEnd()) {
        QByteArray line = file.readLine();
        if (line.endsWith('\n'))
            line.chop(1);
        if (!line.isEmpty() && !readTarLine(line, listing))
            fail(damaged(archive.path()));
    }
    return listing;
}

ArchiveListing ArchiveListing::ofZip(const OpenedArchive& archive) {
    const auto broken = [&] { return ConversionError::failed(damaged(archive.path())); };
    constexpr qint64 endSize = 22, longestComment = 0xFFFF, locatorSize = 20, end64Size = 56;
    if (archive.size() < endSize)
        throw broken();
    const qint64 tailStart = std::max<qint64>(0, archive.size() - endSize - longestComment);
    QByteArray tail;
    if (!archive.read(tailStart, archive.size() - tailStart, tail))
        throw broken();
    qsizetype at = tail.size() - endSize;
    while (at >= 0 && std::memcmp(tail.constData() + at, "PK\5\6", 4) != 0)
        --at;
    if (at < 0)
        throw broken();
    const char* record = tail.constData() + at;
    if (le16(record + 4) != 0 || le16(record + 6) != 0) // one part of several
        throw broken();
    quint64 count = le16(record + 10), size = le32(record + 12);
    const bool zip64 = count == 0xFFFF || size == 0xFFFFFFFF || le32(record + 16) == 0xFFFFFFFF;
    qint64 directoryEnd = tailStart + at;
    if (zip64) {
        QByteArray locator, end64;
        if (directoryEnd < locatorSize + end64Size ||
            !archive.read(directoryEnd - locatorSize, locatorSize, locator) ||
            std::memcmp(locator.constData(), "PK\6\7", 4) != 0)
            throw broken();
        // Right before the locator, or where the locator says when something lies in between.
        directoryEnd -= locatorSize + end64Size;
        const auto isEnd64 = [&](qint64 offset) {
            return offset >= 0 && archive.read(offset, end64Size, end64) &&
                   std::memcmp(end64.constData(), "PK\6\6", 4) == 0;
        };
        if (!isEnd64(directoryEnd)) {
            const quint64 stated = le64(locator.constData() + 8);
            if (stated > quint64(directoryEnd) || !isEnd64(qint64(stated)))
                throw broken();
            directoryEnd = qint64(stated);
        }
        count = le64(end64.constData() + 32);
        size = le64(end64.constData() + 40);
    }
    if (size > quint64(directoryEnd))
        throw broken();
    QByteArray directory;
    if (!archive.read(directoryEnd - qint64(size), qint64(size), directory))
        throw broken();

    ArchiveListing listing;
    constexpr qsizetype headerSize = 46;
    for (qsizetype entry = 0; entry < directory.size();) {
        const char* header = directory.constData() + entry;
        if (directory.size() - entry < headerSize || std::memcmp(header, "PK\1\2", 4) != 0)
            throw broken();
        const qsizetype nameSize = le16(header + 28), extraSize = le16(header + 30),
                        next = entry + headerSize + nameSize + extraSize + le16(header + 32);
        if (next > directory.size())
            throw broken();
        const QByteArray name(header + headerSize, nameSize);
        quint64 bytes = le32(header + 24);
        // Extra fields: ZIP64 sizes, and the UTF-8 name that unzip prefers to the plain one.
        const char* extra = header + headerSize + nameSize;
        for (qsizetype field = 0; field + 4 <= extraSize;) {
            const quint16 id = le16(extra + field), length = le16(extra + field + 2);
            const char* data = extra + field + 4;
            if (field + 4 + length > extraSize)
                break;
            if (id == 0x0001 && bytes == 0xFFFFFFFF && length >= 8)
                bytes = le64(data);
            if (id == 0x7075 && length > 5)
                listing.outside |= leavesFolder(QByteArray(data + 5, length - 5), true);
            field += 4 + length;
        }
        ++listing.entries;
        listing.outside |= leavesFolder(name, true);
        listing.encrypted |= (le16(header + 8) & 1) != 0;
        listing.add(qint64(std::min<quint64>(bytes, std::numeric_limits<qint64>::max())));
        entry = next;
    }
    // unzip goes by the count; a directory that disagrees with it is not one unzip would read.
    if (zip64 ? quint64(listing.entries) != count : quint64(listing.entries) % 0x10000 != count)
        throw broken();
    return listing;
}

} // namespace tramix::ArchiveConverter
