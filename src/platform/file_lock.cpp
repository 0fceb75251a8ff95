#include "platform/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_descriptor.h"

namespace platform {

LockableFile::LockableFile(const std::string& path)
    : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (fd_ < 0) {
        keepErrorAndFail();
    }
}

LockableFile::~LockableFile() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

bool LockableFile::lock() {
    if (fd_ < 0) {
        return false;
    }
    int result;
    while ((result = ::flock(fd_, LOCK_EX)) != 0 && errno == EINTR) {
    }
    return result == 0 || keepErrorAndFail();
}

void LockableFile::unlock() {
    if (fd_ >= 0) {
        ::flock(fd_, LOCK_UN);
    }
}

std::string LockableFile::read() const {
    struct stat info {};
    if (fd_ < 0 || ::fstat(fd_, &info) != 0) {
        return std::string();
    }
    std::string content(static_cast<size_t>(info.st_size), '\0');
    const ssize_t n = ::pread(fd_, &content[0], content.size(), 0);
    content.resize(n > 0 ? static_cast<size_t>(n) : 0);
    return content;
}

bool LockableFile::replace(const std::string& content) {
    if (fd_ < 0 || ::ftruncate(fd_, 0) != 0) {
        return false;
    }
    size_t written = 0;
    while (written < content.size()) {
        const ssize_t n = ::pwrite(fd_, content.data() + written, content.size() - written,
                                   static_cast<off_t>(written));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        written += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace platform
