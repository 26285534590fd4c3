// Writes a result's temporary file (as AtomicFile hands it out) through a buffer, checking every
// write: a failure throws the system's reason under the result's name, never a raw English text.
#pragma once

#include "FileDescriptor.h"
#include "SystemError.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace tramix {

class FileSink {
public:
    // Opens the existing file `path` and empties it. `name` is what messages call it: the
    // result's path, whose last component is shown.
    FileSink(const QString& path, const QString& name)
        : name_(name)
        , file_(::open(QFile::encodeName(path).constData(), O_WRONLY | O_TRUNC | O_CLOEXEC)) {
        if (file_.get() < 0)
            SystemError::throwWriteFailure(name_, errno);
        buffer_.reserve(bufferSize);
    }
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;

    void write(const char* data, qsizetype length) {
        if (buffer_.size() + length > bufferSize)
            flush();
        if (length >= bufferSize) {
            buffer_ = QByteArray::fromRawData(data, length);
            flush();
            return;
        }
        buffer_.append(data, length);
    }
    void write(const QByteArray& bytes) { write(bytes.constData(), bytes.size()); }

    // Bytes written so far.
    qint64 pos() const { return written_ + buffer_.size(); }

    // Writes out what is buffered and closes the file; its errors count like any other.
    void finish() {
        flush();
        if (file_.release() != 0)
            SystemError::throwWriteFailure(name_, errno);
    }

private:
    static constexpr qsizetype bufferSize = 1 << 20;

    void flush() {
        if (const int error = file_.writeAll(buffer_.constData(), size_t(buffer_.size())))
            SystemError::throwWriteFailure(name_, error);
        written_ += buffer_.size();
        buffer_.clear();
        if (buffer_.capacity() < bufferSize) // after raw data
            buffer_.reserve(bufferSize);
    }

    QString name_;
    FileDescriptor file_;
    QByteArray buffer_;
    qint64 written_ = 0;
};

} // namespace tramix
