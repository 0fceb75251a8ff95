#include "cache/cache_settings.h"

#include <limits>

#include "platform/platform.h"

namespace cache {
namespace {

const char kApplicationFolder[] = "quillavant";
const char kMediaFolder[] = "media";

bool isAbsolute(const std::string& path) {
    return !path.empty() && path[0] == platform::kPathSeparatorChar;
}

std::string join(const std::string& folder, const std::string& name) {
    return folder + platform::kPathSeparator + name;
}

// The folder the cache owns, or empty when no variable names one. A relative
// XDG_CACHE_HOME is to be ignored, as the base-directory rules say.
std::string cacheRoot(const CacheEnvironment& environment) {
    if (!environment.cacheDir.empty()) {
        return environment.cacheDir;
    }
    if (isAbsolute(environment.xdgCacheHome)) {
        return join(environment.xdgCacheHome, kApplicationFolder);
    }
    if (!environment.home.empty()) {
        return join(join(environment.home, ".cache"), kApplicationFolder);
    }
    return std::string();
}

}  // namespace

CacheEnvironment readCacheEnvironment() {
    CacheEnvironment environment;
    environment.cacheDir = platform::environmentValue("QUILLAVANT_CACHE_DIR");
    environment.maxMegabytes = platform::environmentValue("QUILLAVANT_CACHE_MAX_MB");
    environment.xdgCacheHome = platform::environmentValue("XDG_CACHE_HOME");
    environment.home = platform::homeFolder();
    return environment;
}

std::optional<uint64_t> parseMegabytes(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    constexpr uint64_t kLargest = std::numeric_limits<uint64_t>::max() / kBytesPerMegabyte;
    uint64_t value = 0;
    for (char digit : text) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<uint64_t>(digit - '0');
        if (value > kLargest) {
            return std::nullopt;
        }
    }
    return value;
}

CacheSettings resolveCacheSettings(const CacheEnvironment& environment) {
    CacheSettings settings;
    uint64_t megabytes = kDefaultLimitMegabytes;
    if (!environment.maxMegabytes.empty()) {
        const std::optional<uint64_t> parsed = parseMegabytes(environment.maxMegabytes);
        if (!parsed) {
            settings.offReason = "QUILLAVANT_CACHE_MAX_MB=" + environment.maxMegabytes +
                                 " is not a whole number of megabytes";
            return settings;
        }
        megabytes = *parsed;
    }
    if (megabytes == 0) {
        settings.offReason = "QUILLAVANT_CACHE_MAX_MB is 0";
        settings.offByChoice = true;
        return settings;
    }
    const std::string root = cacheRoot(environment);
    if (root.empty()) {
        settings.offReason =
            "no folder for it: QUILLAVANT_CACHE_DIR, XDG_CACHE_HOME and HOME are unset";
        return settings;
    }
    // The media results keep to a folder of their own, so anything else kept
    // under the same root later is neither counted nor evicted with them.
    settings.folder = join(root, kMediaFolder);
    settings.limitBytes = megabytes * kBytesPerMegabyte;
    return settings;
}

}  // namespace cache
