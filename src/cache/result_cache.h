// A bounded folder of results kept under their keys, shared by every service
// that names the same folder.
//
// An entry is written to a temporary file and renamed into place, so a
// reader finds the whole entry or none; it carries its length and checksum,
// so one damaged on the disk is thrown away and made again. Entries are not
// synced: a result lost in a crash is only computed once more. Each use marks
// an entry as recently used, and the least recently used go first when the
// entries outgrow the limit.
//
// A cache that cannot work (settings that say off, a folder that cannot be
// made or written, a full disk) turns itself off for good, logs once why, and
// from then on finds nothing and keeps nothing: its callers carry on as if
// there were no cache.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "cache/cache_key.h"
#include "cache/cache_settings.h"
#include "cache/entry_folder.h"
#include "cache/size_ledger.h"

namespace cache {

struct CacheStatistics {
    uint64_t hits = 0;
    uint64_t misses = 0;
    uint64_t stores = 0;
    uint64_t damaged = 0;  // entries thrown away because they were not whole
    uint64_t evicted = 0;
};

class ResultCache {
  public:
    explicit ResultCache(const CacheSettings& settings);
    ResultCache(const ResultCache&) = delete;
    ResultCache& operator=(const ResultCache&) = delete;

    bool enabled() const { return ledger_ != nullptr; }
    const std::string& folder() const { return folder_.path(); }
    uint64_t limitBytes() const { return limitBytes_; }
    const CacheStatistics& statistics() const { return statistics_; }

    // The payload kept under key, marked as just used; nothing on a miss.
    std::optional<std::string> find(const CacheKey& key);
    // Keeps payload under key, evicting older entries as the limit needs. A
    // payload larger than the whole limit is not kept.
    void store(const CacheKey& key, const std::string& payload);

  private:
    void turnOff(const std::string& reason, int level);
    void dropDamaged(const std::string& path);
    // Puts a written temporary file in place of path and counts it; false
    // with the reason in the platform's last error text.
    bool commit(const std::string& temporary, const std::string& path, uint64_t size);

    EntryFolder folder_;
    uint64_t limitBytes_ = 0;
    std::unique_ptr<SizeLedger> ledger_;
    CacheStatistics statistics_;
};

}  // namespace cache
