#include "BufferedOutput.h"

#include "ConversionError.h"

namespace tramix {

BufferedOutput::BufferedOutput(QIODevice& device, const QString& name)
    : device_(device)
    , name_(name) {
    buffer_.reserve(capacity + 4096);
}

void BufferedOutput::flush() {
    if (buffer_.isEmpty())
        return;
    if (device_.write(buffer_) != buffer_.size()) {
        throw ConversionError::failed(QStringLiteral("„%1“ konnte nicht geschrieben werden: %2")
                                          .arg(name_, device_.errorString()));
    }
    buffer_.resize(0);
}

} // namespace tramix
