// Where the media cache lives and how large it may grow, read from the
// environment: QUILLAVANT_CACHE_DIR, else $XDG_CACHE_HOME/quillavant, else
// ~/.cache/quillavant; QUILLAVANT_CACHE_MAX_MB megabytes (of 2^20 bytes),
// 1024 when unset, 0 to turn the cache off.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cache {

constexpr uint64_t kDefaultLimitMegabytes = 1024;
constexpr uint64_t kBytesPerMegabyte = 1024 * 1024;

struct CacheSettings {
    // The folder the cache owns; empty when the cache is off.
    std::string folder;
    uint64_t limitBytes = 0;
    // Why the cache is off, for the one log line that says so; empty when on.
    std::string offReason;
    // An off cache asked for by the user rather than forced by a fault.
    bool offByChoice = false;
};

// What the environment variables say; empty texts stand for unset ones.
struct CacheEnvironment {
    std::string cacheDir;      // QUILLAVANT_CACHE_DIR
    std::string maxMegabytes;  // QUILLAVANT_CACHE_MAX_MB
    std::string xdgCacheHome;  // XDG_CACHE_HOME
    std::string home;          // the home folder
};

CacheEnvironment readCacheEnvironment();
CacheSettings resolveCacheSettings(const CacheEnvironment& environment);

// Decimal digits only, without overflow; nothing otherwise.
std::optional<uint64_t> parseMegabytes(const std::string& text);

}  // namespace cache
