#include "platform/named_pipe.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "platform/platform.h"

namespace platform {

namespace {

bool fillAddress(const std::string& path, sockaddr_un* address) {
    std::memset(address, 0, sizeof(*address));
    address->sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address->sun_path)) {
        return false;
    }
    std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

// A socket file that still accepts connections belongs to a running service.
bool isLiveSocket(const sockaddr_un& address) {
    int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0) {
        return false;
    }
    bool live = ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    ::close(probe);
    return live;
}

}  // namespace

NamedPipe::~NamedPipe() {
    close();
}

std::string NamedPipe::socketPath(const std::string& name) {
    std::string directory = environmentValue("QUILLAVANT_PIPE_DIR");
    if (directory.empty()) {
        directory = environmentValue("XDG_RUNTIME_DIR");
    }
    if (directory.empty()) {
        directory = "/tmp";
    }
    if (directory.back() != kPathSeparatorChar) {
        directory += kPathSeparator;
    }
    return directory + name;
}

bool NamedPipe::create(const std::string& name) {
    close();
    sockaddr_un address;
    std::string path = socketPath(name);
    if (name.empty() || name.find(kPathSeparatorChar) != std::string::npos ||
        !fillAddress(path, &address)) {
        lastError_ = ENAMETOOLONG;
        return false;
    }
    if (isLiveSocket(address)) {
        lastError_ = EADDRINUSE;
        return false;
    }
    ::unlink(path.c_str());
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        lastError_ = errno;
        return false;
    }
    mode_t previous = ::umask(0077);
    int bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    ::umask(previous);
    if (bound != 0 || ::chmod(path.c_str(), 0600) != 0 || ::listen(fd, 1) != 0) {
        lastError_ = errno;
        ::close(fd);
        if (bound == 0) {
            ::unlink(path.c_str());
        }
        return false;
    }
    listenFd_ = fd;
    path_ = path;
    return true;
}

bool NamedPipe::connectClient() {
    if (listenFd_ < 0) {
        lastError_ = EBADF;
        return false;
    }
    int fd;
    do {
        fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        lastError_ = errno;
        return false;
    }
    clientFd_ = fd;
    // One client per service lifetime: nobody else may queue up behind it.
    ::close(listenFd_);
    listenFd_ = -1;
    return true;
}

bool NamedPipe::waitReadable(int timeoutMs) {
    if (clientFd_ < 0) {
        return true;  // the read that follows reports the failure
    }
    pollfd watch{clientFd_, POLLIN, 0};
    int ready = 0;
    do {
        ready = ::poll(&watch, 1, timeoutMs);
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

bool NamedPipe::read(void* buffer, size_t size, size_t* received) {
    *received = 0;
    if (clientFd_ < 0) {
        lastError_ = EBADF;
        return false;
    }
    ssize_t count;
    do {
        count = ::recv(clientFd_, buffer, size, 0);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        lastError_ = count == 0 ? EPIPE : errno;
        return false;
    }
    *received = static_cast<size_t>(count);
    return true;
}

bool NamedPipe::readFully(void* buffer, size_t size) {
    auto* bytes = static_cast<unsigned char*>(buffer);
    size_t done = 0;
    while (done < size) {
        size_t received = 0;
        if (!read(bytes + done, size - done, &received)) {
            return false;
        }
        done += received;
    }
    return true;
}

bool NamedPipe::write(const void* buffer, size_t size) {
    if (clientFd_ < 0) {
        lastError_ = EBADF;
        return false;
    }
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    size_t done = 0;
    while (done < size) {
        ssize_t count = ::send(clientFd_, bytes + done, size - done, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            lastError_ = errno;
            return false;
        }
        done += static_cast<size_t>(count);
    }
    return true;
}

bool NamedPipe::disconnectClient() {
    if (clientFd_ < 0) {
        return false;
    }
    ::shutdown(clientFd_, SHUT_RDWR);
    ::close(clientFd_);
    clientFd_ = -1;
    return true;
}

void NamedPipe::close() {
    disconnectClient();
    if (listenFd_ >= 0) {
        ::close(listenFd_);
        listenFd_ = -1;
    }
    if (!path_.empty()) {
        ::unlink(path_.c_str());
        path_.clear();
    }
}

}  // namespace platform
