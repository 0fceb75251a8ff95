// An owned descriptor of an open file, and a write that finishes or fails,
// for the file code of this folder.
#pragma once

#include <string>
#include <string_view>

namespace platform {

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor();
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }
    // Closes now, reporting the failure a deferred write error shows up as.
    bool close();

  private:
    int fd_;
};

// Writes all of bytes, retrying short and interrupted writes.
bool writeAll(int fd, std::string_view bytes);

// Keeps errno as the reason lastErrorText() gives, and answers false, so a
// cleanup after a failure cannot overwrite the reason.
bool keepErrorAndFail();
int keptError();

}  // namespace platform
