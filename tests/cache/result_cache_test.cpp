#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "cache/result_cache.h"
#include "support/media_fixtures.h"
#include "support/test_media.h"

namespace {

using cache::CacheKey;
using cache::ResultCache;

constexpr uint64_t kMegabyte = 1024 * 1024;

cache::CacheSettings settingsFor(const std::string& folder, uint64_t limitBytes) {
    cache::CacheSettings settings;
    settings.folder = folder;
    settings.limitBytes = limitBytes;
    return settings;
}

CacheKey keyOf(int number) {
    return CacheKey("test", 1).add("number", number);
}

// The entry files of a cache folder by name, with their sizes.
std::vector<platform::FolderFile> entriesIn(const std::string& folder) {
    std::vector<platform::FolderFile> entries;
    for (const platform::FolderFile& file : platform::listRegularFiles(folder)) {
        if (file.name.size() > 6 && file.name.substr(file.name.size() - 6) == ".entry") {
            entries.push_back(file);
        }
    }
    return entries;
}

uint64_t bytesIn(const std::string& folder) {
    uint64_t total = 0;
    for (const platform::FolderFile& entry : entriesIn(folder)) {
        total += static_cast<uint64_t>(entry.size);
    }
    return total;
}

uint64_t ledgerTotal(const std::string& folder) {
    return std::stoull(testsupport::readFile(folder + "/size-ledger"));
}

// Moves a file's modified time, the cache's record of its last use.
void setLastUse(const std::string& path, time_t seconds) {
    const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

class ResultCacheTest : public ::testing::Test {
  protected:
    void TearDown() override { testsupport::runCommand("rm -rf '" + root_ + "'"); }

    std::string root_ = testsupport::makeTempDirectory("qv-cache");
    std::string folder_ = root_ + "/media";
};

TEST_F(ResultCacheTest, KeepsPayloadsUnderTheirWholeKeys) {
    ResultCache results(settingsFor(folder_, kMegabyte));
    ASSERT_TRUE(results.enabled());
    EXPECT_FALSE(results.find(keyOf(1)));
    results.store(keyOf(1), "one");
    results.store(keyOf(2), std::string("\0two", 4));
    results.store(keyOf(3), "");
    EXPECT_EQ(results.find(keyOf(1)), std::optional<std::string>("one"));
    EXPECT_EQ(results.find(keyOf(2)), std::optional<std::string>(std::string("\0two", 4)));
    EXPECT_EQ(results.find(keyOf(3)), std::optional<std::string>(""));
    // One more fact makes another key.
    EXPECT_FALSE(results.find(CacheKey(keyOf(1)).add("width", 160)));
    results.store(keyOf(1), "one again");
    EXPECT_EQ(results.find(keyOf(1)), std::optional<std::string>("one again"));
    EXPECT_EQ(results.statistics().hits, 4u);
    EXPECT_EQ(results.statistics().stores, 4u);
    // Replacing an entry does not count it twice.
    EXPECT_EQ(ledgerTotal(folder_), bytesIn(folder_));
    // Another object on the folder, as a second service, finds the same.
    ResultCache other(settingsFor(folder_, kMegabyte));
    EXPECT_EQ(other.find(keyOf(2)), std::optional<std::string>(std::string("\0two", 4)));
}

TEST_F(ResultCacheTest, ADamagedEntryIsThrownAwayAndCanBeKeptAgain) {
    const std::string payload(5000, 'd');
    const struct {
        const char* name;
        void (*damage)(const std::string& path);
    } damages[] = {
        {"cut short", [](const std::string& path) { ASSERT_EQ(truncate(path.c_str(), 100), 0); }},
        {"emptied", [](const std::string& path) { ASSERT_EQ(truncate(path.c_str(), 0), 0); }},
        {"one byte changed",
         [](const std::string& path) {
             FILE* file = std::fopen(path.c_str(), "r+b");
             ASSERT_NE(file, nullptr);
             std::fseek(file, -1, SEEK_END);
             std::fputc('x', file);
             std::fclose(file);
         }},
        {"grown",
         [](const std::string& path) {
             FILE* file = std::fopen(path.c_str(), "ab");
             ASSERT_NE(file, nullptr);
             std::fputs("tail", file);
             std::fclose(file);
         }},
    };
    ResultCache results(settingsFor(folder_, kMegabyte));
    uint64_t damagedSoFar = 0;
    for (const auto& damage : damages) {
        SCOPED_TRACE(damage.name);
        results.store(keyOf(7), payload);
        const std::vector<platform::FolderFile> entries = entriesIn(folder_);
        ASSERT_EQ(entries.size(), 1u);
        damage.damage(folder_ + "/" + entries[0].name);
        EXPECT_FALSE(results.find(keyOf(7)));
        EXPECT_EQ(results.statistics().damaged, ++damagedSoFar);
        EXPECT_TRUE(entriesIn(folder_).empty());
        EXPECT_EQ(ledgerTotal(folder_), 0u);
        results.store(keyOf(7), payload);
        EXPECT_EQ(results.find(keyOf(7)), std::optional<std::string>(payload));
    }
}

TEST_F(ResultCacheTest, TheLimitHoldsAfterFillingPastItAndTheLeastRecentlyUsedGoFirst) {
    constexpr uint64_t kLimit = kMegabyte;
    const std::string payload(100 * 1024, 'p');  // ten fit, eleven do not
    ResultCache results(settingsFor(folder_, kLimit));
    // Ten entries, used a day ago and a second apart, oldest first.
    const time_t dayAgo = std::time(nullptr) - 86400;
    std::vector<std::string> names;
    for (int i = 0; i < 10; ++i) {
        results.store(keyOf(i), payload);
        const std::vector<platform::FolderFile> entries = entriesIn(folder_);
        ASSERT_EQ(entries.size(), static_cast<size_t>(i + 1));
        for (const platform::FolderFile& entry : entries) {
            if (std::find(names.begin(), names.end(), entry.name) == names.end()) {
                names.push_back(entry.name);
                setLastUse(folder_ + "/" + entry.name, dayAgo + i);
            }
        }
    }
    ASSERT_EQ(results.statistics().evicted, 0u);
    // Using the oldest makes it the newest: the next two oldest make room.
    ASSERT_TRUE(results.find(keyOf(0)));
    results.store(keyOf(10), payload);
    EXPECT_EQ(results.statistics().evicted, 2u);
    for (int i = 0; i <= 10; ++i) {
        EXPECT_EQ(results.find(keyOf(i)).has_value(), i != 1 && i != 2) << i;
    }
    // Filling on, far past the limit, never leaves more than it.
    for (int i = 11; i < 40; ++i) {
        results.store(keyOf(i), payload);
        EXPECT_LE(bytesIn(folder_), kLimit) << i;
        EXPECT_EQ(ledgerTotal(folder_), bytesIn(folder_)) << i;
    }
    EXPECT_TRUE(results.find(keyOf(39)));
    // A payload larger than the whole limit is not kept.
    results.store(keyOf(99), std::string(kLimit, 'x'));
    EXPECT_FALSE(results.find(keyOf(99)));
}

TEST_F(ResultCacheTest, ServicesSharingAFolderKeepToOneLimitTogether) {
    constexpr uint64_t kLimit = kMegabyte;
    const std::string payload(64 * 1024, 's');
    ResultCache first(settingsFor(folder_, kLimit));
    ResultCache second(settingsFor(folder_, kLimit));
    for (int i = 0; i < 40; ++i) {
        (i % 2 == 0 ? first : second).store(keyOf(i), payload);
        EXPECT_LE(bytesIn(folder_), kLimit) << i;
    }
    EXPECT_TRUE(first.find(keyOf(39)));
    EXPECT_TRUE(second.find(keyOf(38)));
    // Entries removed by hand only make the count high until the next
    // eviction lists the folder again.
    testsupport::runCommand("rm -f '" + folder_ + "'/*.entry");
    for (int i = 100; i < 104; ++i) {
        first.store(keyOf(i), payload);
    }
    EXPECT_EQ(ledgerTotal(folder_), bytesIn(folder_));
}

// Another process rewrites one key as fast as it can while this one reads
// it: every read finds nothing or one whole payload, never a part of one.
TEST_F(ResultCacheTest, AReaderNeverSeesHalfAnEntryAnotherProcessWrites) {
    const std::string payloads[] = {std::string(1 << 20, 'a'), std::string(1 << 20, 'b')};
    constexpr int kWrites = 60;
    ResultCache reader(settingsFor(folder_, 64 * kMegabyte));
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        ResultCache results(settingsFor(folder_, 64 * kMegabyte));
        for (int i = 0; i < kWrites; ++i) {
            results.store(keyOf(1), payloads[i % 2]);
        }
        _exit(results.statistics().stores == kWrites ? 0 : 1);
    }
    int status = 0;
    while (waitpid(writer, &status, WNOHANG) == 0) {
        if (const std::optional<std::string> found = reader.find(keyOf(1))) {
            ASSERT_TRUE(*found == payloads[0] || *found == payloads[1]) << found->size();
        }
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(reader.statistics().damaged, 0u);
    EXPECT_EQ(reader.find(keyOf(1)), std::optional<std::string>(payloads[(kWrites - 1) % 2]));
}

TEST_F(ResultCacheTest, ACacheThatCannotWorkIsOffAndSaysWhyOnce) {
    const std::string aFile = testsupport::makeTempDirectory("qv-cache-file") + "/plain";
    ASSERT_TRUE(platform::writeFileInPlace(aFile, "not a folder"));
    cache::CacheSettings byChoice;
    byChoice.offReason = "QUILLAVANT_CACHE_MAX_MB is 0";
    byChoice.offByChoice = true;
    cache::CacheSettings badLimit;
    badLimit.offReason = "QUILLAVANT_CACHE_MAX_MB=abc is not a whole number of megabytes";
    const struct {
        cache::CacheSettings settings;
        std::string level;
        std::string reason;
    } cases[] = {
        {badLimit, "Warning", badLimit.offReason},
        {byChoice, "Info", byChoice.offReason},
        {settingsFor(aFile + "/media", kMegabyte), "Warning",
         "cannot make the folder " + aFile + "/media: Not a directory"},
        {settingsFor("/proc/quillavant/media", kMegabyte), "Warning",
         "cannot make the folder /proc/quillavant/media: No such file or directory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        mediatest::LogRecorder log;
        ResultCache results(c.settings);
        EXPECT_FALSE(results.enabled());
        results.store(keyOf(1), "x");
        EXPECT_FALSE(results.find(keyOf(1)));
        EXPECT_EQ(log.count(c.level, "Media cache off: " + c.reason), 1);
        EXPECT_EQ(log.lines.size(), 1u);
    }
}

}  // namespace
