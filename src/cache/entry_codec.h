// The bytes of one entry file: a fixed head, the key, then the payload.
//
//   8 bytes  "QVCACHE1"
//   4 bytes  key length, little-endian
//   8 bytes  payload length, little-endian
//   8 bytes  checksum of the key and the payload, little-endian
//   key, payload
//
// An entry is whole when its length agrees with its head and its checksum
// with its contents; anything else was cut short, overwritten or never
// finished, and is thrown away.
#pragma once

#include <string>

namespace cache {

std::string encodeEntry(const std::string& key, const std::string& payload);

enum class EntryState {
    kWhole,     // holds the key's payload
    kDamaged,   // wrong length or checksum
    kOtherKey,  // whole, but another key's (their names met by chance)
};

struct DecodedEntry {
    EntryState state = EntryState::kDamaged;
    std::string payload;
};

DecodedEntry decodeEntry(const std::string& bytes, const std::string& key);

}  // namespace cache
