#include "journal/record_format.h"

#include <json/writer.h>

#include <cstdio>
#include <cstring>

#include "journal/crc32.h"
#include "messages/parse_json.h"

namespace journal {
namespace {

constexpr char kPipeKey[] = "Pipe";
constexpr char kProcessIdKey[] = "ProcessId";
constexpr char kStartedKey[] = "Started";

void putWord(uint32_t value, unsigned char* out) {
    for (int i = 0; i < 4; ++i) {
        out[i] = static_cast<unsigned char>((value >> (8 * i)) & 0xFFu);
    }
}

uint32_t getWord(const unsigned char* in) {
    return static_cast<uint32_t>(in[0]) | (static_cast<uint32_t>(in[1]) << 8) |
           (static_cast<uint32_t>(in[2]) << 16) | (static_cast<uint32_t>(in[3]) << 24);
}

// Header bytes 4..11: kind, three zeros, length.
void encodeKindAndLength(RecordKind kind, uint32_t length, unsigned char* out) {
    out[0] = static_cast<unsigned char>(kind);
    out[1] = out[2] = out[3] = 0;
    putWord(length, out + 4);
}

// The payload's CRC is folded in after the header fields, so that a writer
// can stream the payload before it knows what the header will say.
uint32_t recordChecksum(RecordKind kind, uint32_t length, uint32_t payloadChecksum) {
    unsigned char fields[12];
    encodeKindAndLength(kind, length, fields);
    putWord(payloadChecksum, fields + 8);
    return crc32(fields, sizeof(fields));
}

}  // namespace

bool isKnownKind(uint8_t kind) {
    return kind >= static_cast<uint8_t>(RecordKind::Service) &&
           kind <= static_cast<uint8_t>(RecordKind::EditLoadingUnkeptProject);
}

bool isEditKind(RecordKind kind) {
    return kind != RecordKind::Service;
}

bool RecordHeader::matches(uint32_t payloadChecksum) const {
    return storedChecksum == recordChecksum(kind, length, payloadChecksum);
}

void encodeRecordHeader(RecordKind kind, uint32_t length, uint32_t payloadChecksum,
                        unsigned char* out) {
    std::memcpy(out, kRecordMarker, sizeof(kRecordMarker));
    encodeKindAndLength(kind, length, out + 4);
    putWord(recordChecksum(kind, length, payloadChecksum), out + 12);
}

bool decodeRecordHeader(const unsigned char* in, RecordHeader& header) {
    if (std::memcmp(in, kRecordMarker, sizeof(kRecordMarker)) != 0 || !isKnownKind(in[4]) ||
        in[5] != 0 || in[6] != 0 || in[7] != 0) {
        return false;
    }
    header.kind = static_cast<RecordKind>(in[4]);
    header.length = getWord(in + 8);
    header.storedChecksum = getWord(in + 12);
    return true;
}

std::string timeText(const platform::LocalTime& time) {
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month,
                  time.day, time.hour, time.minute, time.second);
    return text;
}

std::string encodeServiceInfo(const ServiceInfo& info) {
    Json::Value value(Json::objectValue);
    value[kPipeKey] = info.pipeName;
    value[kProcessIdKey] = info.processId;
    value[kStartedKey] = info.started;
    Json::StreamWriterBuilder compact;
    compact["indentation"] = "";
    return Json::writeString(compact, value);
}

bool decodeServiceInfo(const std::string& text, ServiceInfo& info) {
    CParseJson json;
    if (!json.parse(text)) {
        return false;
    }
    return json.getString(kPipeKey, info.pipeName) && json.getInt(kProcessIdKey, info.processId) &&
           json.getString(kStartedKey, info.started);
}

}  // namespace journal
