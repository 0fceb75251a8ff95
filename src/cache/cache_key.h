// The text that names one cached result: every fact that decides the result's
// bytes, one "name=value" line each. Two requests share an entry only when
// every line matches, so whatever is left out of a key is promised not to
// change the answer.
#pragma once

#include <cstdint>
#include <string>

#include "platform/files.h"

namespace cache {

class CacheKey {
  public:
    // kind names the request; recipe counts changes to the code that makes
    // its answer, so answers of an older recipe are not reused.
    CacheKey(const std::string& kind, int recipe);

    CacheKey& add(const char* name, int64_t value);
    CacheKey& add(const char* name, int value) { return add(name, static_cast<int64_t>(value)); }
    // Exactly, as a hexadecimal floating-point text.
    CacheKey& add(const char* name, double value);
    // With its length, so no value can pass for further lines.
    CacheKey& add(const char* name, const std::string& value);
    CacheKey& add(const char* name, const platform::FileIdentity& file);

    const std::string& text() const { return text_; }

  private:
    CacheKey& line(const char* name, const std::string& value);

    std::string text_;
};

}  // namespace cache
