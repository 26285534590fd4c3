// Appends to a device through a large buffer: table writers emit many tiny pieces.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QIODevice>

namespace tramix {

class BufferedOutput {
public:
    // `name` is the file name that write errors mention.
    BufferedOutput(QIODevice& device, const QString& name);

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
    // Throws ConversionError when the device refuses the bytes.
    void flush();

private:
    static constexpr qsizetype capacity = 1 << 20;

    QIODevice& device_;
    QString name_;
    QByteArray buffer_;
};

} // namespace tramix
