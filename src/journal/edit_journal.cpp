#include "journal/edit_journal.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "journal/journal_location.h"
#include "journal/sync_worker.h"
#include "log/log.h"
#include "platform/durable_file.h"
#include "platform/files.h"
#include "platform/platform.h"
#include "platform/synced_file.h"

namespace journal {
namespace {

// A journal never collides with more than a few leftovers of one pipe name
// and process id; past this many the folder is not ours to fill.
constexpr int kNameAttempts = 100;
// Project documents are far smaller; a larger file is not copied.
constexpr uintmax_t kLargestKeptDocument = 256u << 20;

const char kOpened[] = "Edit journal: %s";
const char kStopped[] = "Edit journal stopped, edits are no longer kept for recovery: %s";
const char kRemoved[] = "Edit journal %s removed: the project was saved after the last edit";
const char kKept[] = "Edit journal %s kept for recovery: %d edits";

std::string framed(tgMessageHead head, const std::string& body) {
    // The body as the service took it: its length, not the one announced.
    head.length = static_cast<uint32_t>(body.size());
    std::string bytes(kMessageHeadSize, '\0');
    encodeMessageHead(head, reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes + body;
}

// Why a document cannot be copied into the journal, or empty when it can.
std::string whyNotKept(const std::string& file) {
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (error || !std::filesystem::exists(status)) {
        return "no such file";
    }
    if (!std::filesystem::is_regular_file(status)) {
        return "not a regular file";
    }
    if (std::filesystem::file_size(file, error) > kLargestKeptDocument || error) {
        return "too large to keep";
    }
    return std::string();
}

}  // namespace

JournalSettings JournalSettings::fromEnvironment() {
    return {journalEnabled(), recoveryFolder()};
}

EditJournal::EditJournal(std::string pipeName, JournalSettings settings)
    : pipeName_(std::move(pipeName)), settings_(std::move(settings)), writing_(settings_.enabled) {}

EditJournal::~EditJournal() = default;

void EditJournal::stopWriting(const std::string& why) {
    writeLog(kLogWarning, kStopped, why.c_str());
    writing_ = false;
    sync_.reset();
}

bool EditJournal::open() {
    if (!platform::makeFolders(settings_.folder)) {
        stopWriting("cannot make the folder " + settings_.folder);
        return false;
    }
    const ServiceInfo service{pipeName_, platform::processId(), timeText(platform::localTime())};
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        const std::string path = settings_.folder + platform::kPathSeparator +
                                 journalFileName(pipeName_, service.processId, attempt);
        std::error_code error;
        if (std::filesystem::exists(std::filesystem::symlink_status(path, error))) {
            continue;
        }
        if (!writer_.create(path, service)) {
            stopWriting(writer_.lastError());
            return false;
        }
        path_ = path;
        sync_ = std::make_unique<SyncWorker>([this] { return writer_.syncData(); });
        writeLog(kLogInfo, kOpened, path_.c_str());
        return true;
    }
    stopWriting("no free journal name in " + settings_.folder);
    return false;
}

bool EditJournal::appendRecord(const EditRequest& request) {
    const std::string bytes = framed(request.head, request.body);
    switch (request.fileUse) {
        case ProjectFileUse::None:
            return writer_.append(RecordKind::Edit, bytes);
        case ProjectFileUse::Saves:
            return writer_.append(RecordKind::EditSavingProject, bytes);
        case ProjectFileUse::Loads:
            break;
    }
    std::string reason = whyNotKept(request.projectFile);
    std::ifstream document;
    if (reason.empty()) {
        document.open(request.projectFile, std::ios::binary);
        if (!document) {
            reason = "cannot be read";
        }
    }
    if (!reason.empty()) {
        return writer_.append(RecordKind::EditLoadingUnkeptProject, bytes + reason);
    }
    return writer_.append(RecordKind::EditLoadingProject, bytes, &document);
}

void EditJournal::begin(const EditRequest& request) {
    pendingUse_ = request.fileUse;
    if (!writing_ || (!writer_.isOpen() && !open())) {
        return;
    }
    if (!appendRecord(request)) {
        stopWriting(writer_.lastError());
        return;
    }
    sync_->request();
    pending_ = true;
}

void EditJournal::finish(bool projectFileWritten) {
    // Whether or not the edit could be written, a save after it decides
    // whether the journal is still needed.
    savedSinceLastEdit_ = pendingUse_ == ProjectFileUse::Saves && projectFileWritten;
    if (!pending_) {
        return;
    }
    pending_ = false;
    if (!sync_->wait()) {
        stopWriting("cannot sync " + path_);
        return;
    }
    ++edits_;
}

void EditJournal::endService() {
    sync_.reset();
    if (!writer_.isOpen()) {
        return;
    }
    writer_.close();
    if (savedSinceLastEdit_) {
        std::remove(path_.c_str());
        platform::syncDirectory(platform::parentFolder(path_));
        writeLog(kLogInfo, kRemoved, path_.c_str());
    } else {
        writeLog(kLogInfo, kKept, path_.c_str(), edits_);
    }
}

}  // namespace journal
