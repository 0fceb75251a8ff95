// The 12-byte little-endian header in front of every request and reply body.
#pragma once

#include <cstddef>
#include <cstdint>

struct tgMessageHead {
    uint16_t flag = 0;
    uint16_t userWord1 = 0;
    uint16_t type = 0;
    uint16_t userWord2 = 0;
    uint32_t length = 0;
};

constexpr size_t kMessageHeadSize = 12;
constexpr uint16_t kCommandMessage = 1;
constexpr uint16_t kControlMessage = 2;

inline void encodeMessageHead(const tgMessageHead& head, unsigned char* out) {
    const uint16_t words[4] = {head.flag, head.userWord1, head.type, head.userWord2};
    for (int i = 0; i < 4; ++i) {
        out[2 * i] = static_cast<unsigned char>(words[i] & 0xFF);
        out[2 * i + 1] = static_cast<unsigned char>(words[i] >> 8);
    }
    for (int i = 0; i < 4; ++i) {
        out[8 + i] = static_cast<unsigned char>((head.length >> (8 * i)) & 0xFF);
    }
}

inline tgMessageHead decodeMessageHead(const unsigned char* in) {
    auto word = [in](int offset) {
        return static_cast<uint16_t>(in[offset] | (in[offset + 1] << 8));
    };
    tgMessageHead head;
    head.flag = word(0);
    head.userWord1 = word(2);
    head.type = word(4);
    head.userWord2 = word(6);
    head.length = static_cast<uint32_t>(in[8]) | (static_cast<uint32_t>(in[9]) << 8) |
                  (static_cast<uint32_t>(in[10]) << 16) | (static_cast<uint32_t>(in[11]) << 24);
    return head;
}
