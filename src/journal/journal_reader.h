// Reads a journal back: the service that wrote it, its edits in order, and
// what could not be read. The last record of a journal whose service died
// while writing may be cut off; that is expected and only warned about. A
// damaged record with readable records after it is damage: the records
// around it are still read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "journal/record_format.h"
#include "messages/message_head.h"

namespace journal {

struct JournalEntry {
    // Where its record starts in the file.
    uint64_t offset = 0;
    RecordKind kind = RecordKind::Edit;
    tgMessageHead head;
    std::string body;
    // EditLoadingProject: where the document's bytes lie in the file.
    uint64_t documentOffset = 0;
    uint64_t documentSize = 0;
    // EditLoadingUnkeptProject: why the document was not kept.
    std::string note;
};

struct JournalProblem {
    // A warning loses nothing the client was told had succeeded.
    bool isDamage = false;
    std::string text;
};

struct JournalContents {
    // False when the file is not a journal at all (or cannot be read).
    bool isJournal = false;
    bool hasServiceInfo = false;
    ServiceInfo service;
    std::vector<JournalEntry> entries;
    std::vector<JournalProblem> problems;

    bool isDamaged() const;
};

JournalContents readJournal(const std::string& path);

// Copies the document an EditLoadingProject entry kept to target.
bool extractDocument(const std::string& journalPath, const JournalEntry& entry,
                     const std::string& target);

}  // namespace journal
