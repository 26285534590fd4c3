// A device that hands its bytes out a few at a time, as a part being inflated from a package
// does, so that a reader meets every possible break inside its text.
#pragma once

#include <QByteArray>
#include <QIODevice>

namespace tramix::fuzz {

class PieceDevice : public QIODevice {
public:
    PieceDevice(QByteArray bytes, qint64 piece)
        : bytes_(std::move(bytes))
        , piece_(piece) {
        open(QIODevice::ReadOnly);
    }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override {
        return bytes_.size() - at_ + QIODevice::bytesAvailable();
    }
    bool atEnd() const override { return at_ == bytes_.size() && QIODevice::atEnd(); }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        const qint64 count = std::min({maxSize, piece_, qint64(bytes_.size()) - at_});
        std::memcpy(data, bytes_.constData() + at_, size_t(count));
        at_ += count;
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray bytes_;
    qint64 piece_;
    qint64 at_ = 0;
};

} // namespace tramix::fuzz
