#include "platform/file_descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

thread_local int lastError = 0;

}  // namespace

bool keepErrorAndFail() {
    lastError = errno;
    return false;
}

int keptError() {
    return lastError;
}

FileDescriptor::~FileDescriptor() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

bool FileDescriptor::close() {
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0;
}

bool writeAll(int fd, std::string_view bytes) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;
            }
            return false;
        }
        written += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace platform
