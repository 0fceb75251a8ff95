#include "platform/synced_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "platform/durable_file.h"
#include "platform/platform.h"

namespace platform {
namespace {

constexpr mode_t kPrivateFile = 0600;
constexpr size_t kZeroBlock = 64 * 1024;

}  // namespace

SyncedFile::~SyncedFile() {
    close();
}

bool SyncedFile::fail() {
    lastError_ = std::strerror(errno);
    return false;
}

bool SyncedFile::create(const std::string& path) {
    close();
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile);
    if (fd_ < 0) {
        return fail();
    }
    // Nobody else has the file yet, so the lock cannot be refused.
    ::flock(fd_, LOCK_EX | LOCK_NB);
    return true;
}

bool SyncedFile::writeAt(uint64_t offset, const void* data, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const ssize_t n = ::pwrite(fd_, bytes, size, static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return fail();
        }
        bytes += n;
        size -= static_cast<size_t>(n);
        offset += static_cast<uint64_t>(n);
    }
    return true;
}

bool SyncedFile::writeZeros(uint64_t from, uint64_t to) {
    static const std::vector<unsigned char> zeros(kZeroBlock, 0);
    while (from < to) {
        const size_t size = static_cast<size_t>(std::min<uint64_t>(to - from, kZeroBlock));
        if (!writeAt(from, zeros.data(), size)) {
            return false;
        }
        from += size;
    }
    return true;
}

bool SyncedFile::syncData() {
    return ::fdatasync(fd_) == 0 || fail();
}

bool SyncedFile::syncAll() {
    return ::fsync(fd_) == 0 || fail();
}

void SyncedFile::close() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

bool isLockedByWriter(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool locked = ::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::close(fd);
    return locked;
}

}  // namespace platform
