// A small file that several processes read and rewrite in turn: each holds
// the file's exclusive lock while it reads and replaces the content.
#pragma once

#include <string>

namespace platform {

class LockableFile {
  public:
    // Opens path for reading and writing, creating it (empty, private to the
    // user) when missing; check isOpen().
    explicit LockableFile(const std::string& path);
    ~LockableFile();
    LockableFile(const LockableFile&) = delete;
    LockableFile& operator=(const LockableFile&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    // Blocks until this process holds the lock; false (reason in
    // lastErrorText()) when the system refuses it. A lock belongs to the open
    // file, so two objects on one path exclude each other as two processes do.
    bool lock();
    void unlock();
    // The whole content; empty when it cannot be read.
    std::string read() const;
    bool replace(const std::string& content);

  private:
    int fd_ = -1;
};

// Holds a file's lock for a scope.
class FileLockGuard {
  public:
    explicit FileLockGuard(LockableFile& file) : file_(file), locked_(file.lock()) {}
    ~FileLockGuard() {
        if (locked_) {
            file_.unlock();
        }
    }
    FileLockGuard(const FileLockGuard&) = delete;
    FileLockGuard& operator=(const FileLockGuard&) = delete;
    bool locked() const { return locked_; }

  private:
    LockableFile& file_;
    bool locked_;
};

}  // namespace platform
