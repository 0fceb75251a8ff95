#include "cache/entry_codec.h"

#include <cstdint>
#include <cstring>

#include "cache/checksum.h"

namespace cache {
namespace {

const char kMagic[] = "QVCACHE1";
constexpr size_t kMagicSize = 8;
constexpr size_t kHeadSize = kMagicSize + 4 + 8 + 8;

void appendNumber(std::string& bytes, uint64_t value, int size) {
    for (int i = 0; i < size; ++i) {
        bytes += static_cast<char>((value >> (8 * i)) & 0xff);
    }
}

uint64_t numberAt(const std::string& bytes, size_t offset, int size) {
    uint64_t value = 0;
    for (int i = size - 1; i >= 0; --i) {
        value = (value << 8) | static_cast<unsigned char>(bytes[offset + static_cast<size_t>(i)]);
    }
    return value;
}

uint64_t contentChecksum(const char* key, size_t keySize, const char* payload, size_t payloadSize) {
    return checksum(payload, payloadSize, checksum(key, keySize));
}

}  // namespace

std::string encodeEntry(const std::string& key, const std::string& payload) {
    std::string bytes;
    bytes.reserve(kHeadSize + key.size() + payload.size());
    bytes.append(kMagic, kMagicSize);
    appendNumber(bytes, key.size(), 4);
    appendNumber(bytes, payload.size(), 8);
    appendNumber(bytes, contentChecksum(key.data(), key.size(), payload.data(), payload.size()), 8);
    bytes += key;
    bytes += payload;
    return bytes;
}

DecodedEntry decodeEntry(const std::string& bytes, const std::string& key) {
    DecodedEntry entry;
    if (bytes.size() < kHeadSize || std::memcmp(bytes.data(), kMagic, kMagicSize) != 0) {
        return entry;
    }
    const uint64_t keySize = numberAt(bytes, kMagicSize, 4);
    const uint64_t payloadSize = numberAt(bytes, kMagicSize + 4, 8);
    const uint64_t sum = numberAt(bytes, kMagicSize + 12, 8);
    const uint64_t room = bytes.size() - kHeadSize;
    if (keySize > room || payloadSize != room - keySize) {
        return entry;
    }
    const char* storedKey = bytes.data() + kHeadSize;
    const char* payload = storedKey + keySize;
    if (contentChecksum(storedKey, keySize, payload, payloadSize) != sum) {
        return entry;
    }
    if (keySize != key.size() || std::memcmp(storedKey, key.data(), key.size()) != 0) {
        entry.state = EntryState::kOtherKey;
        return entry;
    }
    entry.state = EntryState::kWhole;
    entry.payload.assign(payload, payloadSize);
    return entry;
}

}  // namespace cache
