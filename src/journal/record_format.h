// The layout of a journal file. It opens with an 8-byte signature; records
// follow back to back, each a 16-byte header and a payload:
//
//   offset  size  field
//   0       4     marker FE 'Q' 'V' 'J' (0xFE never occurs in UTF-8 text)
//   4       1     kind
//   5       3     zero
//   8       4     payload length, little-endian
//   12      4     CRC-32 of header bytes 4..11 and of the payload
//
// Zeros after the last record are space written ahead of time, not damage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/platform.h"

namespace journal {

constexpr char kFileSignature[] = "QVJRNL01";
constexpr size_t kFileSignatureSize = 8;
constexpr size_t kRecordHeaderSize = 16;
constexpr unsigned char kRecordMarker[4] = {0xFE, 'Q', 'V', 'J'};

enum class RecordKind : uint8_t {
    // Who wrote the journal: JSON with the pipe name, process id and start time.
    Service = 1,
    // An edit: the request as framed on the wire (12-byte head, then the body).
    Edit = 2,
    // An edit that saves the project document: replayed into a scratch file.
    EditSavingProject = 3,
    // An edit that loads a project document: the framed request, then the
    // bytes of the document as it was read.
    EditLoadingProject = 4,
    // A load whose document could not be kept: the framed request, then a
    // text saying why.
    EditLoadingUnkeptProject = 5,
};

bool isKnownKind(uint8_t kind);
bool isEditKind(RecordKind kind);

struct RecordHeader {
    RecordKind kind = RecordKind::Edit;
    uint32_t length = 0;
    // The CRC over kind, length and payload, as stored.
    uint32_t storedChecksum = 0;

    // Whether a payload whose own CRC is payloadChecksum belongs to this header.
    bool matches(uint32_t payloadChecksum) const;
};

// Writes a header for a payload of length bytes whose own CRC is
// payloadChecksum; the payload can be streamed first and the header last.
void encodeRecordHeader(RecordKind kind, uint32_t length, uint32_t payloadChecksum,
                        unsigned char* out);
// Reads a header; false when the marker, the kind or the zero bytes are wrong.
bool decodeRecordHeader(const unsigned char* in, RecordHeader& header);

// The JSON text of a Service record and back.
struct ServiceInfo {
    std::string pipeName;
    int processId = 0;
    std::string started;  // local time, "YYYY-MM-DD HH:MM:SS"
};
std::string encodeServiceInfo(const ServiceInfo& info);
// "YYYY-MM-DD HH:MM:SS", the form journals and their listing show times in.
std::string timeText(const platform::LocalTime& time);
bool decodeServiceInfo(const std::string& text, ServiceInfo& info);

}  // namespace journal
