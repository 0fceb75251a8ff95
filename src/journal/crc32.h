// CRC-32 (the polynomial of zlib and Ethernet) over a byte range; a running
// value continues a checksum across pieces: crc32(b, crc32(a)) == crc32(ab).
#pragma once

#include <cstddef>
#include <cstdint>

namespace journal {

uint32_t crc32(const void* data, size_t size, uint32_t running = 0);

}  // namespace journal
