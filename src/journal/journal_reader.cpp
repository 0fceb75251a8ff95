#include "journal/journal_reader.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <vector>

#include "journal/crc32.h"

namespace journal {
namespace {

constexpr size_t kBlock = 64u << 10;
constexpr uint32_t kLargestServiceRecord = 64u << 10;
constexpr uint64_t kNotFound = ~0ull;

// Positioned reads of a whole file.
class FileBytes {
  public:
    explicit FileBytes(const std::string& path) : in_(path, std::ios::binary) {
        if (in_) {
            in_.seekg(0, std::ios::end);
            size_ = static_cast<uint64_t>(in_.tellg());
        }
    }

    bool isOpen() const { return static_cast<bool>(in_); }
    uint64_t size() const { return size_; }

    bool read(uint64_t offset, void* out, size_t count) {
        if (offset > size_ || count > size_ - offset) {
            return false;
        }
        in_.clear();
        in_.seekg(static_cast<std::streamoff>(offset));
        in_.read(static_cast<char*>(out), static_cast<std::streamsize>(count));
        return static_cast<size_t>(in_.gcount()) == count;
    }

    bool readText(uint64_t offset, size_t count, std::string& out) {
        out.assign(count, '\0');
        return count == 0 || read(offset, &out[0], count);
    }

    // Calls visit(bytes, count) for each block of [offset, offset + count).
    template <typename Visit>
    bool forEachBlock(uint64_t offset, uint64_t count, Visit visit) {
        std::vector<unsigned char> block(kBlock);
        while (count > 0) {
            const size_t size = static_cast<size_t>(std::min<uint64_t>(count, kBlock));
            if (!read(offset, block.data(), size)) {
                return false;
            }
            if (!visit(block.data(), size)) {
                return true;
            }
            offset += size;
            count -= size;
        }
        return true;
    }

    bool isZeroFrom(uint64_t offset) {
        bool zero = true;
        forEachBlock(offset, size_ - std::min(offset, size_),
                     [&](const unsigned char* b, size_t n) {
                         zero = std::all_of(b, b + n, [](unsigned char c) { return c == 0; });
                         return zero;
                     });
        return zero;
    }

    // The first record marker at or after offset, or kNotFound.
    uint64_t findMarker(uint64_t offset) {
        const size_t markerSize = sizeof(kRecordMarker);
        std::vector<unsigned char> block(kBlock);
        while (offset + markerSize <= size_) {
            const size_t size = static_cast<size_t>(std::min<uint64_t>(size_ - offset, kBlock));
            if (!read(offset, block.data(), size)) {
                return kNotFound;
            }
            auto found = std::search(block.begin(), block.begin() + static_cast<long>(size),
                                     std::begin(kRecordMarker), std::end(kRecordMarker));
            if (found != block.begin() + static_cast<long>(size)) {
                return offset + static_cast<uint64_t>(found - block.begin());
            }
            if (offset + size >= size_) {
                break;
            }
            // A marker may straddle two blocks.
            offset += size - (markerSize - 1);
        }
        return kNotFound;
    }

  private:
    std::ifstream in_;
    uint64_t size_ = 0;
};

// One record read and checked.
struct Record {
    RecordHeader header;
    uint64_t next = 0;
    ServiceInfo service;
    JournalEntry entry;
};

// The framed request at the front of an edit record's payload.
bool readRequest(FileBytes& file, uint64_t payload, uint32_t length, Record& record,
                 uint32_t& checksum) {
    unsigned char head[kMessageHeadSize];
    if (length < kMessageHeadSize || !file.read(payload, head, sizeof(head))) {
        return false;
    }
    JournalEntry& entry = record.entry;
    entry.head = decodeMessageHead(head);
    const bool exact = record.header.kind == RecordKind::Edit ||
                       record.header.kind == RecordKind::EditSavingProject;
    const uint64_t framedSize = kMessageHeadSize + static_cast<uint64_t>(entry.head.length);
    if (entry.head.type != kCommandMessage || framedSize > length ||
        (exact && framedSize != length) ||
        !file.readText(payload + kMessageHeadSize, entry.head.length, entry.body)) {
        return false;
    }
    checksum = crc32(head, sizeof(head));
    checksum = crc32(entry.body.data(), entry.body.size(), checksum);
    return true;
}

bool readRecord(FileBytes& file, uint64_t offset, Record& record) {
    unsigned char header[kRecordHeaderSize];
    if (!file.read(offset, header, sizeof(header)) || !decodeRecordHeader(header, record.header)) {
        return false;
    }
    const uint64_t payload = offset + kRecordHeaderSize;
    const uint32_t length = record.header.length;
    if (length > file.size() - payload) {
        return false;
    }
    record.next = payload + length;
    uint32_t checksum = 0;
    if (record.header.kind == RecordKind::Service) {
        std::string text;
        if (length > kLargestServiceRecord || !file.readText(payload, length, text)) {
            return false;
        }
        checksum = crc32(text.data(), text.size());
        return record.header.matches(checksum) && decodeServiceInfo(text, record.service);
    }
    record.entry = JournalEntry();
    record.entry.offset = offset;
    record.entry.kind = record.header.kind;
    if (!readRequest(file, payload, length, record, checksum)) {
        return false;
    }
    const uint64_t rest = payload + kMessageHeadSize + record.entry.body.size();
    const uint64_t restSize = record.next - rest;
    if (record.header.kind == RecordKind::EditLoadingProject) {
        record.entry.documentOffset = rest;
        record.entry.documentSize = restSize;
        file.forEachBlock(rest, restSize, [&checksum](const unsigned char* bytes, size_t count) {
            checksum = crc32(bytes, count, checksum);
            return true;
        });
    } else if (restSize > 0) {
        if (!file.readText(rest, static_cast<size_t>(restSize), record.entry.note)) {
            return false;
        }
        checksum = crc32(record.entry.note.data(), record.entry.note.size(), checksum);
    }
    return record.header.matches(checksum);
}

uint64_t findRecord(FileBytes& file, uint64_t from) {
    Record record;
    for (uint64_t at = file.findMarker(from); at != kNotFound; at = file.findMarker(at + 1)) {
        if (readRecord(file, at, record)) {
            return at;
        }
    }
    return kNotFound;
}

std::string describe(uint64_t count, uint64_t offset, size_t editsBefore) {
    return std::to_string(count) + " bytes at offset " + std::to_string(offset) + " (after edit " +
           std::to_string(editsBefore) + ")";
}

}  // namespace

bool JournalContents::isDamaged() const {
    return std::any_of(problems.begin(), problems.end(),
                       [](const JournalProblem& problem) { return problem.isDamage; });
}

JournalContents readJournal(const std::string& path) {
    JournalContents contents;
    FileBytes file(path);
    char signature[kFileSignatureSize];
    if (!file.isOpen() || !file.read(0, signature, sizeof(signature)) ||
        std::memcmp(signature, kFileSignature, kFileSignatureSize) != 0) {
        return contents;
    }
    contents.isJournal = true;
    uint64_t at = kFileSignatureSize;
    Record record;
    while (at < file.size()) {
        if (readRecord(file, at, record)) {
            if (record.header.kind != RecordKind::Service) {
                contents.entries.push_back(std::move(record.entry));
            } else if (!contents.hasServiceInfo) {
                contents.service = record.service;
                contents.hasServiceInfo = true;
            }
            at = record.next;
            continue;
        }
        if (file.isZeroFrom(at)) {
            break;
        }
        const uint64_t next = findRecord(file, at + 1);
        if (next == kNotFound) {
            contents.problems.push_back(
                {false, "the last entry, " +
                            describe(file.size() - at, at, contents.entries.size()) +
                            ", was cut off when its service stopped: dropped"});
            break;
        }
        contents.problems.push_back(
            {true, "damaged " + describe(next - at, at, contents.entries.size()) + ": skipped"});
        at = next;
    }
    return contents;
}

bool extractDocument(const std::string& journalPath, const JournalEntry& entry,
                     const std::string& target) {
    FileBytes file(journalPath);
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    if (!file.isOpen() || !out) {
        return false;
    }
    const bool read = file.forEachBlock(
        entry.documentOffset, entry.documentSize, [&out](const unsigned char* bytes, size_t count) {
            out.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
            return true;
        });
    out.close();
    return read && !out.fail();
}

}  // namespace journal
