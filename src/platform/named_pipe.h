// The service's end of the client connection: a Unix domain stream socket
// standing in for a byte-mode, blocking, single-instance named pipe. The pipe
// name NAME lives at $QUILLAVANT_PIPE_DIR/NAME (else $XDG_RUNTIME_DIR, else
// /tmp), is created with mode 0600 and removed when the pipe is closed.
#pragma once

#include <cstddef>
#include <string>

namespace platform {

class NamedPipe {
  public:
    NamedPipe() = default;
    ~NamedPipe();
    NamedPipe(const NamedPipe&) = delete;
    NamedPipe& operator=(const NamedPipe&) = delete;

    // Where the socket of a pipe name lives.
    static std::string socketPath(const std::string& name);

    // Creates the listening socket. False when the name is taken by a live
    // service, the path is too long or the socket cannot be made.
    bool create(const std::string& name);
    // Created and not yet closed (the listening socket closes once the client is in).
    bool isValid() const { return !path_.empty() || listenFd_ >= 0 || clientFd_ >= 0; }

    // Blocks until one client connects. Later clients are refused.
    bool connectClient();
    bool isConnected() const { return clientFd_ >= 0; }

    // Waits up to timeoutMs for bytes (or the client's end) to arrive: true
    // when a read would not block, false when the time passed quietly.
    bool waitReadable(int timeoutMs);
    // One read of at most size bytes. False on error or when the client has
    // gone (a read of zero bytes).
    bool read(void* buffer, size_t size, size_t* received);
    // Reads exactly size bytes, looping over short reads.
    bool readFully(void* buffer, size_t size);
    // Writes the whole buffer.
    bool write(const void* buffer, size_t size);
    // Replies are complete once written: the socket delivers them in order,
    // so there is nothing to wait for.
    bool flush() { return clientFd_ >= 0; }

    // Drops the client; false when there was none.
    bool disconnectClient();
    // Closes everything and removes the socket file.
    void close();

    int lastError() const { return lastError_; }
    const std::string& path() const { return path_; }

  private:
    int listenFd_ = -1;
    int clientFd_ = -1;
    int lastError_ = 0;
    std::string path_;
};

}  // namespace platform
