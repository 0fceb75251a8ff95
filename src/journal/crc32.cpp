#include "journal/crc32.h"

#include <array>

namespace journal {
namespace {

constexpr uint32_t kPolynomial = 0xEDB88320u;

std::array<uint32_t, 256> makeTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1u) ? (value >> 1) ^ kPolynomial : value >> 1;
        }
        table[i] = value;
    }
    return table;
}

}  // namespace

uint32_t crc32(const void* data, size_t size, uint32_t running) {
    static const std::array<uint32_t, 256> table = makeTable();
    const auto* bytes = static_cast<const unsigned char*>(data);
    uint32_t value = ~running;
    for (size_t i = 0; i < size; ++i) {
        value = table[(value ^ bytes[i]) & 0xFFu] ^ (value >> 8);
    }
    return ~value;
}

}  // namespace journal
