// An archive, opened once: listing and extraction read the same file, even when another one
// takes its name in between, and the tools get it through this process's descriptor.
#pragma once

#include <QByteArray>
#include <QString>

namespace tramix::ArchiveConverter {

class OpenedArchive {
public:
    // Throws ConversionError when the file cannot be opened or is not a plain file.
    explicit OpenedArchive(const QString& path);
    ~OpenedArchive();
    OpenedArchive(const OpenedArchive&) = delete;
    OpenedArchive& operator=(const OpenedArchive&) = delete;

    const QString& path() const { return path_; }
    qint64 size() const { return size_; }
    // The path under which a tool we start reads this very file.
    QString forTool() const;

    // Reads `size` bytes at `offset`; false when the file ends first.
    bool read(qint64 offset, qint64 size, QByteArray& into) const;

private:
    QString path_;
    int fd_ = -1;
    qint64 size_ = 0;
};

} // namespace tramix::ArchiveConverter
