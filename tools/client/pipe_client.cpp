#include "client/pipe_client.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "platform/named_pipe.h"
#include "platform/platform.h"

PipeClient::~PipeClient() {
    disconnect();
}

bool PipeClient::connect(const std::string& pipeName, int timeoutMs) {
    return connectPath(platform::NamedPipe::socketPath(pipeName), timeoutMs);
}

bool PipeClient::connectPath(const std::string& socketPath, int timeoutMs) {
    disconnect();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socketPath.size() >= sizeof(address.sun_path)) {
        lastError_ = "socket path too long: " + socketPath;
        return false;
    }
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    uint64_t deadline = platform::tickCountMs() + static_cast<uint64_t>(timeoutMs);
    for (;;) {
        int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0) {
            lastError_ = std::strerror(errno);
            return false;
        }
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) {
            fd_ = fd;
            return true;
        }
        lastError_ = "cannot connect to " + socketPath + ": " + std::strerror(errno);
        ::close(fd);
        if (platform::tickCountMs() >= deadline) {
            return false;
        }
        platform::sleepMilliseconds(20);
    }
}

void PipeClient::disconnect() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

bool PipeClient::writeBytes(const void* data, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    size_t done = 0;
    while (done < size) {
        ssize_t count = ::send(fd_, bytes + done, size - done, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            lastError_ = std::string("write failed: ") + std::strerror(errno);
            return false;
        }
        done += static_cast<size_t>(count);
    }
    return true;
}

bool PipeClient::readExactly(void* data, size_t size) {
    auto* bytes = static_cast<unsigned char*>(data);
    size_t done = 0;
    while (done < size) {
        ssize_t count = ::recv(fd_, bytes + done, size - done, 0);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            lastError_ = count == 0 ? "the service closed the connection"
                                    : std::string("read failed: ") + std::strerror(errno);
            return false;
        }
        done += static_cast<size_t>(count);
    }
    return true;
}

bool PipeClient::readReply(PipeReply* reply) {
    unsigned char head[kMessageHeadSize];
    if (!readExactly(head, sizeof(head))) {
        return false;
    }
    reply->head = decodeMessageHead(head);
    reply->body.assign(reply->head.length, '\0');
    return reply->head.length == 0 || readExactly(&reply->body[0], reply->head.length);
}

bool PipeClient::request(const tgMessageHead& head, const std::string& body, PipeReply* reply) {
    if (fd_ < 0) {
        lastError_ = "not connected";
        return false;
    }
    std::string packet(kMessageHeadSize, '\0');
    encodeMessageHead(head, reinterpret_cast<unsigned char*>(&packet[0]));
    packet += body;
    if (!writeBytes(packet.data(), packet.size())) {
        return false;
    }
    PipeReply ignored;
    return readReply(reply ? reply : &ignored);
}

bool PipeClient::sendCommand(const std::string& command, const std::string& contentJson,
                             PipeReply* reply) {
    std::string body = makeRequestBody(std::to_string(++requestCounter_), command, contentJson);
    tgMessageHead head;
    head.type = kCommandMessage;
    head.length = static_cast<uint32_t>(body.size());
    return request(head, body, reply);
}

bool PipeClient::sendControl(const std::string& control, const std::string& contentJson,
                             PipeReply* reply) {
    std::string body = makeRequestBody(std::to_string(++requestCounter_), control, contentJson);
    tgMessageHead head;
    head.type = kControlMessage;
    head.length = static_cast<uint32_t>(body.size());
    return request(head, body, reply);
}

bool PipeClient::sendClose() {
    tgMessageHead head;
    head.flag = 1;
    unsigned char bytes[kMessageHeadSize];
    encodeMessageHead(head, bytes);
    return fd_ >= 0 && writeBytes(bytes, sizeof(bytes));
}

bool PipeClient::waitForClose(int timeoutMs) {
    if (fd_ < 0) {
        return true;
    }
    pollfd watch{fd_, POLLIN, 0};
    if (::poll(&watch, 1, timeoutMs) <= 0) {
        return false;
    }
    char byte;
    return ::recv(fd_, &byte, 1, MSG_PEEK) == 0;
}

namespace {
std::string quoteString(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    return out + "\"";
}
}  // namespace

std::string makeRequestBody(const std::string& id, const std::string& command,
                            const std::string& contentJson) {
    std::string body =
        "{\"ID\":" + quoteString(id) + ",\"Action\":[{\"Command\":" + quoteString(command);
    if (!contentJson.empty()) {
        body += ",\"Content\":" + contentJson;
    }
    return body + "}]}";
}

std::string resultValueText(const std::string& body) {
    const std::string key = "\"ReturnResultString\" : ";
    size_t start = body.find(key);
    if (start == std::string::npos) {
        return std::string();
    }
    start += key.size();
    size_t end = body.rfind("\n}");
    if (end == std::string::npos || end < start) {
        return std::string();
    }
    return body.substr(start, end - start);
}
