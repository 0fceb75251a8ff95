#include "cache/entry_folder.h"

#include <algorithm>

#include "cache/checksum.h"
#include "platform/platform.h"

namespace cache {
namespace {

const char kEntrySuffix[] = ".entry";
const char kTemporaryMark[] = ".entry.part";
const char kLedgerName[] = "size-ledger";
constexpr int64_t kAbandonedAfterNanoseconds = 3600ll * 1000000000ll;

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

int64_t nowNanoseconds() {
    const platform::WallClock now = platform::wallClock();
    return now.seconds * 1000000000ll + now.milliseconds * 1000000ll;
}

}  // namespace

std::string EntryFolder::entryPath(const std::string& key) const {
    return path_ + platform::kPathSeparator + hexText(checksum(key)) + kEntrySuffix;
}

std::string EntryFolder::ledgerPath() const {
    return path_ + platform::kPathSeparator + kLedgerName;
}

std::vector<platform::FolderFile> EntryFolder::entriesByAge() const {
    std::vector<platform::FolderFile> entries;
    const int64_t abandoned = nowNanoseconds() - kAbandonedAfterNanoseconds;
    for (platform::FolderFile& file : platform::listRegularFiles(path_)) {
        if (endsWith(file.name, kEntrySuffix)) {
            entries.push_back(std::move(file));
        } else if (file.name.find(kTemporaryMark) != std::string::npos &&
                   file.modifiedNanoseconds < abandoned) {
            platform::removeFile(path_ + platform::kPathSeparator + file.name);
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const platform::FolderFile& a, const platform::FolderFile& b) {
                  return a.modifiedNanoseconds != b.modifiedNanoseconds
                             ? a.modifiedNanoseconds < b.modifiedNanoseconds
                             : a.name < b.name;
              });
    return entries;
}

uint64_t EntryFolder::totalSize(const std::vector<platform::FolderFile>& entries) {
    uint64_t total = 0;
    for (const platform::FolderFile& entry : entries) {
        total += static_cast<uint64_t>(entry.size);
    }
    return total;
}

uint64_t EntryFolder::evictDownTo(uint64_t target, uint64_t& removed) const {
    const std::vector<platform::FolderFile> entries = entriesByAge();
    uint64_t total = totalSize(entries);
    for (const platform::FolderFile& entry : entries) {
        if (total <= target) {
            break;
        }
        if (platform::removeFile(path_ + platform::kPathSeparator + entry.name)) {
            total -= static_cast<uint64_t>(entry.size);
            ++removed;
        }
    }
    return total;
}

}  // namespace cache
