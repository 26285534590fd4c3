// An open file descriptor, closed when the object goes.
#pragma once

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

    // Closing reports late write errors of some file systems; they count like any other.
    int release() { return ::close(std::exchange(fd_, -1)); }

private:
    int fd_;
};

} // namespace tramix
