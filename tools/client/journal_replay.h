// Sends the edits a journal kept to a service again, so that it rebuilds the
// project and its undo history. Nothing the replay does touches the user's
// files: a save writes into a scratch folder instead of the file it named,
// and a load reads the copy of the document the journal kept.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "client/pipe_client.h"
#include "journal/journal_reader.h"

class JournalReplay {
  public:
    JournalReplay(std::string journalPath, std::vector<journal::JournalEntry> entries,
                  std::string scratchFolder);

    struct Outcome {
        // The entry the service did not answer, or -1 when it answered all.
        long stoppedAt = -1;
        // Entries not sent: their project file could not be moved into the
        // scratch folder, and sending them as they are could write over the
        // user's file.
        std::vector<size_t> unsent;
    };

    // Sends every entry in order except the skipped ones (by index).
    Outcome replay(PipeClient& client, const std::set<size_t>& skipped = {});

    // The request that replays entry index: its head and body, with any
    // project file moved into the scratch folder. False when it cannot be.
    bool requestFor(size_t index, tgMessageHead& head, std::string& body);

    const std::vector<journal::JournalEntry>& entries() const { return entries_; }

  private:
    std::string journalPath_;
    std::vector<journal::JournalEntry> entries_;
    std::string scratchFolder_;
};

// The body with the "FileName" of its one command's content set to file.
bool withProjectFile(const std::string& body, const std::string& file, std::string& out);
