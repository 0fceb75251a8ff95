// The total size of a cache folder's entries, kept in a file that every
// service sharing the folder reads and rewrites under the file's lock, so the
// limit holds for all of them together without listing the folder on every
// write. The count can drift (an entry removed by hand, a writer killed
// between its rename and its count); every eviction lists the folder and
// writes the true total back.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "cache/entry_folder.h"
#include "platform/file_lock.h"

namespace cache {

class SizeLedger {
  public:
    explicit SizeLedger(const EntryFolder& folder);
    bool isOpen() const { return file_.isOpen(); }

    // One change of the folder and its count, made while the lock is held.
    class Change {
      public:
        explicit Change(SizeLedger& ledger);
        ~Change();
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

        bool locked() const { return guard_.locked(); }
        uint64_t total() const { return total_; }
        void add(uint64_t bytes) { total_ += bytes; }
        void remove(uint64_t bytes) { total_ -= std::min(bytes, total_); }
        void set(uint64_t bytes) { total_ = bytes; }

      private:
        SizeLedger& ledger_;
        platform::FileLockGuard guard_;
        uint64_t total_ = 0;
    };

  private:
    const EntryFolder& folder_;
    platform::LockableFile file_;
};

}  // namespace cache
