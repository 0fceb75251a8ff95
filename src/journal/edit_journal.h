// The journal of one service: every request that changes the project is
// written to it before the request runs and is on the disk before its reply
// goes out, so a fresh service fed the same requests rebuilds the project and
// its undo history after a crash. The file is made at the first edit and
// removed at an orderly end when the project was saved after the last edit.
#pragma once

#include <memory>
#include <string>

#include "journal/journal_writer.h"
#include "messages/message_head.h"

namespace journal {

class SyncWorker;

// What an edit does with a project document, which its replay must redirect.
enum class ProjectFileUse {
    None,
    Saves,  // writes the document: replayed into a scratch file
    Loads,  // reads it: the journal keeps the bytes it read
};

struct EditRequest {
    EditRequest(const tgMessageHead& requestHead, const std::string& requestBody)
        : head(requestHead), body(requestBody) {}

    tgMessageHead head;
    const std::string& body;
    ProjectFileUse fileUse = ProjectFileUse::None;
    // The document a load reads.
    std::string projectFile;
};

struct JournalSettings {
    bool enabled = true;
    std::string folder;

    static JournalSettings fromEnvironment();
};

class EditJournal {
  public:
    EditJournal(std::string pipeName, JournalSettings settings);
    ~EditJournal();
    EditJournal(const EditJournal&) = delete;
    EditJournal& operator=(const EditJournal&) = delete;

    // Before an edit runs: writes it and starts syncing it.
    void begin(const EditRequest& request);
    // After the edit ran, before its reply goes out: returns once the edit
    // is durable. projectFileWritten says that a save reached the disk.
    void finish(bool projectFileWritten);
    // At the service's orderly end: removes the journal when the work is on
    // disk, else leaves it for recovery.
    void endService();

    // Empty until the first edit made the file.
    const std::string& path() const { return path_; }
    int edits() const { return edits_; }

  private:
    bool open();
    bool appendRecord(const EditRequest& request);
    // Logs why the journal stopped and writes nothing more to it.
    void stopWriting(const std::string& why);

    std::string pipeName_;
    JournalSettings settings_;
    std::string path_;
    JournalWriter writer_;
    std::unique_ptr<SyncWorker> sync_;
    bool writing_ = true;
    bool pending_ = false;
    ProjectFileUse pendingUse_ = ProjectFileUse::None;
    bool savedSinceLastEdit_ = false;
    int edits_ = 0;
};

}  // namespace journal
