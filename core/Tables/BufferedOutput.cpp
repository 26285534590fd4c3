#include "BufferedOutput.h"

#include "SystemError.h"

#include <cerrno>
#include <stdexcept>

namespace tramix {

BufferedOutput::BufferedOutput(QIODevice& device, const QString& name)
    : BufferedOutput(device, [name](int error) { SystemError::throwWriteFailure(name, error); }) {}

BufferedOutput::BufferedOutput(QIODevice& device, Failure failure)
    : device_(device)
    , failure_(std::move(failure)) {
    buffer_.reserve(capacity + 4096);
}

void BufferedOutput::flush() {
    if (buffer_.isEmpty())
        return;
    errno = 0;
    if (device_.write(buffer_) != buffer_.size()) {
        // A file's write leaves the cause in errno; a device that did not say is broken.
        failure_(errno ? errno : EIO);
        throw std::logic_error("BufferedOutput: the failure handler must throw");
    }
    flushed_ += buffer_.size();
    buffer_.resize(0);
}

} // namespace tramix
