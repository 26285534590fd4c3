// The parts of a ZIP package (a workbook), read in place: each part is inflated while it is read,
// so nothing is unpacked to disk, and a part that holds more than its listing says stops there.
#pragma once

#include <QFile>
#include <QIODevice>
#include <QString>
#include <memory>
#include <vector>

namespace tramix {

class ZipPackage {
public:
    struct Entry {
        QString name;
        qint64 size = 0; // uncompressed, as the central directory lists it
        qint64 compressedSize = 0;
        qint64 localHeader = 0;
        quint32 crc = 0;
        quint16 method = 0;
        quint16 flags = 0;
        bool link = false; // a symbolic link stored by a Unix zip
    };

    // False when `path` is no ZIP file or its central directory is damaged. A file that cannot
    // be opened at all leaves `openError` set to its errno.
    bool open(const QString& path);

    qint64 fileSize() const { return fileSize_; }
    const std::vector<Entry>& entries() const { return entries_; }
    // The first entry named exactly `name`, or null.
    const Entry* find(QStringView name) const;

    // A device that yields the part's bytes and ends after them. It ends early, and `failed`
    // says so, when the data is damaged, differs from the listed size or checksum, or the file
    // cannot be read.
    class Reader : public QIODevice {
    public:
        ~Reader() override;
        bool isSequential() const override { return true; }
        bool failed() const { return failed_; }

    protected:
        qint64 readData(char* data, qint64 maxSize) override;
        qint64 writeData(const char*, qint64) override { return -1; }

    private:
        friend class ZipPackage;
        Reader(const QString& path, const Entry& entry);
        bool start();
        qint64 fail();
        bool refill();

        QFile file_;
        Entry entry_;
        struct Inflater;
        std::unique_ptr<Inflater> inflater_;
        QByteArray input_;
        qint64 compressedLeft_ = 0;
        qint64 produced_ = 0;
        quint32 crc_ = 0;
        bool done_ = false;
        bool failed_ = false;
    };

    // Never null; a part that cannot even be found in the file yields a failed, empty reader.
    std::unique_ptr<Reader> read(const Entry& entry) const;

    int openError = 0;

private:
    bool readDirectory(QFile& file);

    QString path_;
    qint64 fileSize_ = 0;
    std::vector<Entry> entries_;
};

} // namespace tramix
