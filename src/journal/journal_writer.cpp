#include "journal/journal_writer.h"

#include <limits>
#include <vector>

#include "journal/crc32.h"
#include "platform/durable_file.h"

namespace journal {
namespace {

// Written ahead in steps of this size, once less than kReserveSlack is left.
constexpr uint64_t kReserveStep = 1u << 20;
constexpr uint64_t kReserveSlack = 256u << 10;
constexpr size_t kCopyBlock = 64u << 10;
constexpr uint64_t kLargestPayload = std::numeric_limits<uint32_t>::max();

}  // namespace

bool JournalWriter::fail(const std::string& what) {
    lastError_ = what + ": " + file_.lastError();
    return false;
}

bool JournalWriter::create(const std::string& path, const ServiceInfo& service) {
    if (!file_.create(path)) {
        return fail("cannot create " + path);
    }
    end_ = reservedEnd_ = 0;
    if (!file_.writeAt(0, kFileSignature, kFileSignatureSize)) {
        return fail("cannot write " + path);
    }
    end_ = kFileSignatureSize;
    if (!append(RecordKind::Service, encodeServiceInfo(service))) {
        return false;
    }
    if (!file_.syncAll()) {
        return fail("cannot sync " + path);
    }
    platform::syncDirectory(platform::parentFolder(path));
    return true;
}

bool JournalWriter::append(RecordKind kind, const std::string& prefix, std::istream* tail) {
    const uint64_t start = end_;
    uint64_t offset = start + kRecordHeaderSize;
    if (!file_.writeAt(offset, prefix.data(), prefix.size())) {
        return fail("cannot write a record");
    }
    uint32_t checksum = crc32(prefix.data(), prefix.size());
    offset += prefix.size();
    if (tail != nullptr) {
        std::vector<char> block(kCopyBlock);
        while (*tail) {
            tail->read(block.data(), static_cast<std::streamsize>(block.size()));
            const auto got = static_cast<size_t>(tail->gcount());
            if (offset - start - kRecordHeaderSize + got > kLargestPayload) {
                lastError_ = "a record too large for the journal";
                return false;
            }
            if (got > 0 && !file_.writeAt(offset, block.data(), got)) {
                return fail("cannot write a record");
            }
            checksum = crc32(block.data(), got, checksum);
            offset += got;
        }
    }
    // The header goes last, once the payload's checksum is known.
    unsigned char header[kRecordHeaderSize];
    const auto length = static_cast<uint32_t>(offset - start - kRecordHeaderSize);
    encodeRecordHeader(kind, length, checksum, header);
    if (!file_.writeAt(start, header, sizeof(header))) {
        return fail("cannot write a record");
    }
    end_ = offset;
    reservedEnd_ = std::max(reservedEnd_, end_);
    return reserveAhead();
}

bool JournalWriter::reserveAhead() {
    if (reservedEnd_ - end_ >= kReserveSlack) {
        return true;
    }
    const uint64_t target = end_ + kReserveStep;
    if (!file_.writeZeros(reservedEnd_, target)) {
        return fail("cannot extend the journal");
    }
    reservedEnd_ = target;
    return true;
}

}  // namespace journal
