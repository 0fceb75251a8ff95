// The files a media request writes, taken from the result cache when it
// holds them and kept there when they are made. A cached answer is the very
// bytes the request wrote when it computed them, written to the file the
// request names the way the request writes it; everything the request logs
// or answers stays the request's own business.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cache/cache_key.h"
#include "cache/result_cache.h"
#include "platform/files.h"

namespace media {

// How an answer reaches its file, matching how the request writes a fresh one.
enum class AnswerWrite {
    kInPlace,  // created or truncated at its name
    kDurable,  // synced temporary file renamed over the name
};

// What a computation did: the request's result, whether the file it wrote
// may answer the same key again, and a note of what else it left behind,
// handed back whenever the cached file stands in for it.
struct FreshAnswer {
    bool result = false;
    bool keep = false;
    std::string note;
};

class CachedAnswers {
  public:
    // For requests about mediaPath. A null or switched-off cache, or a path
    // that names no regular file, leaves every answer to be computed.
    CachedAnswers(cache::ResultCache* cache, const std::string& mediaPath);

    // A key for a request of the given kind about this media file: its
    // version, and the versions of the libraries that decode and encode it.
    // The request adds what else decides its answer.
    cache::CacheKey key(const char* kind, int recipe) const;

    // Writes the answer for key to path: the cached bytes when the cache has
    // them (the result is then whether they were written, and replay gets
    // the computation's note), else whatever compute does (its result),
    // keeping the file compute wrote, with its note, when it says so and the
    // media file is still the version the key names.
    bool answer(const cache::CacheKey& key, const std::string& path, AnswerWrite how,
                const std::function<FreshAnswer()>& compute,
                const std::function<void(const std::string& note)>& replay = nullptr);

  private:
    bool active() const { return cache_ != nullptr && identity_.has_value(); }

    cache::ResultCache* cache_;
    std::string mediaPath_;
    std::optional<platform::FileIdentity> identity_;
};

}  // namespace media
