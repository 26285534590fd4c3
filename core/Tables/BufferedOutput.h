// Appends to a device through a large buffer: table writers emit many tiny pieces.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QIODevice>
#include <functional>

namespace tramix {

class BufferedOutput {
public:
    // Called with the errno of a write the device refused; must throw.
    using Failure = std::function<void(int error)>;

    // A refused write throws ConversionError "„{name}“ konnte nicht geschrieben werden: {reason}"
    // (see SystemError), `name` being the file name the user knows.
    BufferedOutput(QIODevice& device, const QString& name);
    BufferedOutput(QIODevice& device, Failure failure);

    void append(QByteArrayView bytes) {
        buffer_.append(bytes);
        if (buffer_.size() >= capacity)
            flush();
    }
    void append(char byte) {
        buffer_.append(byte);
        if (buffer_.size() >= capacity)
            flush();
    }
    // Hands the buffer to the device (which may buffer it further: flush and close the device,
    // too, and check them). Throws when the device refuses the bytes.
    void flush();
    // Bytes appended so far, written or not.
    qint64 size() const { return flushed_ + buffer_.size(); }

private:
    static constexpr qsizetype capacity = 1 << 20;

    QIODevice& device_;
    Failure failure_;
    QByteArray buffer_;
    qint64 flushed_ = 0;
};

} // namespace tramix
