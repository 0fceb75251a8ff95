#include "cache/result_cache.h"

#include "cache/entry_codec.h"
#include "log/log.h"
#include "platform/durable_file.h"
#include "platform/files.h"

namespace cache {
namespace {

const char kOffText[] = "Media cache off: %s";

// An eviction frees a tenth of the limit, so the folder is listed once per
// tenth written rather than on every write past the limit.
uint64_t evictionTarget(uint64_t limit) {
    return limit - limit / 10;
}

}  // namespace

ResultCache::ResultCache(const CacheSettings& settings)
    : folder_(settings.folder), limitBytes_(settings.limitBytes) {
    if (settings.folder.empty()) {
        turnOff(settings.offReason, settings.offByChoice ? kLogInfo : kLogWarning);
        return;
    }
    if (!platform::makeFolders(settings.folder)) {
        turnOff("cannot make the folder " + settings.folder + ": " + platform::lastErrorText(),
                kLogWarning);
        return;
    }
    auto ledger = std::make_unique<SizeLedger>(folder_);
    if (!ledger->isOpen()) {
        turnOff("cannot write in " + settings.folder + ": " + platform::lastErrorText(),
                kLogWarning);
        return;
    }
    ledger_ = std::move(ledger);
}

void ResultCache::turnOff(const std::string& reason, int level) {
    ledger_.reset();
    writeLog(level, kOffText, reason.c_str());
}

std::optional<std::string> ResultCache::find(const CacheKey& key) {
    if (!enabled()) {
        return std::nullopt;
    }
    const std::string path = folder_.entryPath(key.text());
    // Anything longer than the limit was never stored whole by this cache.
    const std::optional<std::string> bytes = platform::readWholeFile(path, limitBytes_);
    if (!bytes) {
        ++statistics_.misses;
        return std::nullopt;
    }
    DecodedEntry entry = decodeEntry(*bytes, key.text());
    if (entry.state != EntryState::kWhole) {
        if (entry.state == EntryState::kDamaged) {
            dropDamaged(path);
        }
        ++statistics_.misses;
        return std::nullopt;
    }
    platform::touchFile(path);
    ++statistics_.hits;
    return std::move(entry.payload);
}

void ResultCache::dropDamaged(const std::string& path) {
    SizeLedger::Change change(*ledger_);
    if (change.locked() && platform::removeFile(path)) {
        // What the count holds for a damaged entry is its size when whole,
        // which nothing tells any more: count the folder again.
        change.set(EntryFolder::totalSize(folder_.entriesByAge()));
        ++statistics_.damaged;
    }
}

void ResultCache::store(const CacheKey& key, const std::string& payload) {
    if (!enabled()) {
        return;
    }
    const std::string bytes = encodeEntry(key.text(), payload);
    if (bytes.size() > limitBytes_) {
        return;
    }
    const std::string path = folder_.entryPath(key.text());
    const std::string temporary = platform::temporaryPathBeside(path);
    if (!platform::writeNewFile(temporary, bytes)) {
        turnOff("cannot write " + temporary + ": " + platform::lastErrorText(), kLogWarning);
        return;
    }
    if (!commit(temporary, path, bytes.size())) {
        const std::string reason = platform::lastErrorText();
        platform::removeFile(temporary);
        turnOff("cannot rename " + temporary + ": " + reason, kLogWarning);
        return;
    }
    ++statistics_.stores;
}

bool ResultCache::commit(const std::string& temporary, const std::string& path, uint64_t size) {
    SizeLedger::Change change(*ledger_);
    if (!change.locked()) {
        return false;
    }
    // The same key written again (by another service, or after damage)
    // replaces an entry that is already counted.
    const std::optional<platform::FileIdentity> replaced = platform::regularFileIdentity(path);
    if (!platform::renameFile(temporary, path)) {
        return false;
    }
    if (replaced) {
        change.remove(static_cast<uint64_t>(replaced->size));
    }
    change.add(size);
    if (change.total() > limitBytes_) {
        change.set(folder_.evictDownTo(evictionTarget(limitBytes_), statistics_.evicted));
    }
    return true;
}

}  // namespace cache
