// The command processor: owns the player, the project and the undo history,
// and turns each request body into operations on them.
#pragma once

#include <functional>
#include <string>

#include "framework/undo_history.h"
#include "messages/message_head.h"
#include "player/player.h"
#include "project/project.h"

namespace journal {
class EditJournal;
}

class CQuillavantFramework {
  public:
    // Creates the player, the empty project and the empty history, in that
    // order, then loads the effect catalogues from beside the host executable.
    CQuillavantFramework();
    CQuillavantFramework(const CQuillavantFramework&) = delete;
    CQuillavantFramework& operator=(const CQuillavantFramework&) = delete;

    // A command message (header type 1): exactly one command goes to the full
    // dispatcher and answers its own result; any other count is a batch of
    // editing commands that records one history point and answers true.
    std::string runCommandMessage(const std::string& body);
    // The same, for a request that came with head: messages that change the
    // project are kept in the journal, when one is set, before the answer
    // is given.
    std::string runCommandMessage(const tgMessageHead& head, const std::string& body);
    // A control message (header type 2): every control runs in order; the
    // answer is true whatever they did.
    std::string runControlMessage(const std::string& body);

    // Work the service defers until the client pauses (see MePlayer::runIdleWork).
    bool hasIdleWork() const { return player_.hasIdleWork(); }
    void runIdleWork(const std::function<bool()>& keepGoing) { player_.runIdleWork(keepGoing); }

    // Releases the preview and the engine at service end.
    void closeEngine();

    // The journal of this service's edits; none (nullptr) by default.
    void setJournal(journal::EditJournal* journal) { journal_ = journal; }

    MePlayer& player() { return player_; }
    MeProject& project() { return project_; }
    const UndoHistory& history() const { return history_; }

  private:
    MePlayer player_;
    MeProject project_;
    UndoHistory history_;
    journal::EditJournal* journal_ = nullptr;
};
