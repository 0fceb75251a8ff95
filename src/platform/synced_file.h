// A file that one process writes record by record and makes durable with a
// data-only sync: the journal of edits. It is created private (mode 0600)
// and never over an existing file, and it holds an exclusive advisory lock
// for as long as it is open, so other processes can tell a live writer's
// file from one left behind by a process that died.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace platform {

class SyncedFile {
  public:
    SyncedFile() = default;
    ~SyncedFile();
    SyncedFile(const SyncedFile&) = delete;
    SyncedFile& operator=(const SyncedFile&) = delete;

    // Creates path for writing, failing when anything already has that name.
    bool create(const std::string& path);
    bool isOpen() const { return fd_ >= 0; }

    // Writes all of data at offset.
    bool writeAt(uint64_t offset, const void* data, size_t size);
    // Writes zeros over [from, to). Blocks written ahead of time let later
    // writes into them reach the disk without a change of the file's size,
    // which keeps the data sync cheap.
    bool writeZeros(uint64_t from, uint64_t to);
    // Flushes the written data and whatever metadata reading it back needs.
    bool syncData();
    // Flushes data and all metadata.
    bool syncAll();

    void close();

    // The errno text of the last failure.
    const std::string& lastError() const { return lastError_; }

  private:
    bool fail();

    int fd_ = -1;
    std::string lastError_;
};

// True when a live process holds the lock a SyncedFile takes on path.
bool isLockedByWriter(const std::string& path);

}  // namespace platform
