// The 64-bit FNV-1a hash: names entry files after their keys and tells a
// damaged entry from a whole one. Not meant to resist a forger, only chance.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace cache {

constexpr uint64_t kChecksumStart = 14695981039346656037ull;

// Continues state over size bytes, so one sum can cover several pieces.
uint64_t checksum(const char* data, size_t size, uint64_t state = kChecksumStart);
inline uint64_t checksum(const std::string& bytes, uint64_t state = kChecksumStart) {
    return checksum(bytes.data(), bytes.size(), state);
}

// Sixteen lower-case hexadecimal digits.
std::string hexText(uint64_t value);

}  // namespace cache
