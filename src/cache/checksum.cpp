#include "cache/checksum.h"

namespace cache {

uint64_t checksum(const char* data, size_t size, uint64_t state) {
    constexpr uint64_t kPrime = 1099511628211ull;
    for (size_t i = 0; i < size; ++i) {
        state ^= static_cast<unsigned char>(data[i]);
        state *= kPrime;
    }
    return state;
}

std::string hexText(uint64_t value) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text(16, '0');
    for (int i = 15; i >= 0; --i, value >>= 4) {
        text[static_cast<size_t>(i)] = kDigits[value & 0xf];
    }
    return text;
}

}  // namespace cache
