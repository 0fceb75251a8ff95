#include <gtest/gtest.h>

#include "cache/cache_settings.h"
#include "cache/entry_codec.h"

namespace {

using cache::CacheEnvironment;
using cache::CacheSettings;

TEST(CacheSettings, TheFolderAndTheLimitFollowTheEnvironment) {
    constexpr uint64_t kMegabyte = 1024 * 1024;
    const struct {
        CacheEnvironment environment;
        std::string folder;
        uint64_t limit;
        std::string offReason;
    } cases[] = {
        {{"", "", "", "/home/u"}, "/home/u/.cache/quillavant/media", 1024 * kMegabyte, ""},
        {{"", "", "/xdg", "/home/u"}, "/xdg/quillavant/media", 1024 * kMegabyte, ""},
        // A relative XDG_CACHE_HOME is ignored.
        {{"", "", "xdg", "/home/u"}, "/home/u/.cache/quillavant/media", 1024 * kMegabyte, ""},
        {{"/c", "", "/xdg", "/home/u"}, "/c/media", 1024 * kMegabyte, ""},
        {{"/c", "1", "", ""}, "/c/media", kMegabyte, ""},
        {{"/c", "0", "", ""}, "", 0, "QUILLAVANT_CACHE_MAX_MB is 0"},
        {{"/c", "abc", "", ""},
         "",
         0,
         "QUILLAVANT_CACHE_MAX_MB=abc is not a whole number of megabytes"},
        {{"/c", "-5", "", ""},
         "",
         0,
         "QUILLAVANT_CACHE_MAX_MB=-5 is not a whole number of megabytes"},
        {{"/c", "99999999999999999999", "", ""},
         "",
         0,
         "QUILLAVANT_CACHE_MAX_MB=99999999999999999999 is not a whole number of megabytes"},
        {{"", "", "", ""},
         "",
         0,
         "no folder for it: QUILLAVANT_CACHE_DIR, XDG_CACHE_HOME and HOME are unset"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.environment.cacheDir + "|" + c.environment.maxMegabytes + "|" +
                     c.environment.xdgCacheHome + "|" + c.environment.home);
        const CacheSettings settings = cache::resolveCacheSettings(c.environment);
        EXPECT_EQ(settings.folder, c.folder);
        EXPECT_EQ(settings.limitBytes, c.limit);
        EXPECT_EQ(settings.offReason, c.offReason);
    }
}

TEST(EntryCodec, AWholeEntryGivesItsPayloadToItsKeyOnly) {
    for (const std::string& payload : {std::string(), std::string("levels\n"),
                                       std::string("\0\xff\0binary", 9), std::string(70000, 'p')}) {
        const std::string bytes = cache::encodeEntry("kind=a\n", payload);
        const cache::DecodedEntry entry = cache::decodeEntry(bytes, "kind=a\n");
        EXPECT_EQ(entry.state, cache::EntryState::kWhole);
        EXPECT_EQ(entry.payload, payload);
        EXPECT_EQ(cache::decodeEntry(bytes, "kind=b\n").state, cache::EntryState::kOtherKey);
    }
}

TEST(EntryCodec, AnyCutOrChangedByteMakesTheEntryDamaged) {
    const std::string key = "kind=thumbnail\nposition=25\n";
    const std::string whole = cache::encodeEntry(key, std::string(300, 'j'));
    std::vector<std::string> damaged = {"", whole.substr(0, 10), whole.substr(0, whole.size() - 1),
                                        whole + "x", std::string(whole.size(), '\0')};
    // Every single byte changed: head, key and payload alike.
    for (size_t i = 0; i < whole.size(); ++i) {
        std::string changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 0x20);
        damaged.push_back(changed);
    }
    for (size_t i = 0; i < damaged.size(); ++i) {
        EXPECT_EQ(cache::decodeEntry(damaged[i], key).state, cache::EntryState::kDamaged) << i;
    }
}

}  // namespace
