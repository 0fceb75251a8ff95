// The files of a cache folder: entries named after their keys' checksums,
// the temporary files entries are written to before they take their names,
// and the size ledger.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/files.h"

namespace cache {

class EntryFolder {
  public:
    explicit EntryFolder(std::string path) : path_(std::move(path)) {}

    const std::string& path() const { return path_; }
    std::string entryPath(const std::string& key) const;
    std::string ledgerPath() const;

    // The entries, least recently used first. Temporary files whose writer
    // has been gone for an hour are removed on the way.
    std::vector<platform::FolderFile> entriesByAge() const;
    static uint64_t totalSize(const std::vector<platform::FolderFile>& entries);

    // Removes the least recently used entries until the rest hold at most
    // target bytes; the size of the rest.
    uint64_t evictDownTo(uint64_t target, uint64_t& removed) const;

  private:
    std::string path_;
};

}  // namespace cache
