// An open file descriptor, closed when the object goes.
#pragma once

#include <cerrno>
#include <cstddef>
#include <unistd.h>
#include <utility>

namespace tramix {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1)
        : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd_; }

    // Writes all `length` bytes, retrying where a signal interrupted; 0, or the errno of the
    // failure (ENOSPC when the file takes no more without saying why).
    int writeAll(const char* data, std::size_t length) const {
        while (length > 0) {
            const ssize_t written = ::write(fd_, data, length);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return written < 0 ? errno : ENOSPC;
            data += written;
            length -= std::size_t(written);
        }
        return 0;
    }

    // Closing reports late write errors of some file systems; they count like any other.
    int release() { return ::close(std::exchange(fd_, -1)); }

private:
    int fd_;
};

} // namespace tramix
