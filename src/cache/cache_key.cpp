#include "cache/cache_key.h"

#include <cstdio>

namespace cache {

CacheKey::CacheKey(const std::string& kind, int recipe) {
    add("kind", kind);
    add("recipe", static_cast<int64_t>(recipe));
}

CacheKey& CacheKey::line(const char* name, const std::string& value) {
    text_ += name;
    text_ += '=';
    text_ += value;
    text_ += '\n';
    return *this;
}

CacheKey& CacheKey::add(const char* name, int64_t value) {
    return line(name, std::to_string(value));
}

CacheKey& CacheKey::add(const char* name, double value) {
    char text[64];
    std::snprintf(text, sizeof(text), "%a", value);
    return line(name, text);
}

CacheKey& CacheKey::add(const char* name, const std::string& value) {
    return line(name, std::to_string(value.size()) + ":" + value);
}

CacheKey& CacheKey::add(const char* name, const platform::FileIdentity& file) {
    return line(name, std::to_string(file.device) + " " + std::to_string(file.inode) + " " +
                          std::to_string(file.size) + " " + std::to_string(file.modifiedSeconds) +
                          "." + std::to_string(file.modifiedNanoseconds) + " " +
                          std::to_string(file.changedSeconds) + "." +
                          std::to_string(file.changedNanoseconds));
}

}  // namespace cache
