// Writes the records of one journal file, back to back after its signature.
// Appending only writes; making the records durable is the caller's call
// (syncData), so that the sync can run beside other work.
#pragma once

#include <cstdint>
#include <istream>
#include <string>

#include "journal/record_format.h"
#include "platform/synced_file.h"

namespace journal {

class JournalWriter {
  public:
    // Creates path (never over an existing file) with the signature and the
    // service record, and makes the file and its name durable.
    bool create(const std::string& path, const ServiceInfo& service);
    bool isOpen() const { return file_.isOpen(); }

    // Appends one record whose payload is prefix followed by everything tail
    // still holds (when given).
    bool append(RecordKind kind, const std::string& prefix, std::istream* tail = nullptr);
    bool syncData() { return file_.syncData(); }
    void close() { file_.close(); }

    // Bytes of signature and records written so far.
    uint64_t size() const { return end_; }
    const std::string& lastError() const { return lastError_; }

  private:
    bool fail(const std::string& what);
    // Keeps zeros written ahead of the end, so that appends rarely grow the file.
    bool reserveAhead();

    platform::SyncedFile file_;
    uint64_t end_ = 0;
    uint64_t reservedEnd_ = 0;
    std::string lastError_;
};

}  // namespace journal
