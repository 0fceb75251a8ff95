// A linear history of project states for UNDO_LAST_ACTION and
// REDO_LAST_ACTION. A state is the project's five containers; the timeline
// objects in them are shared with the live project, not duplicated, so an
// object changed in place is changed in every state that holds it.
//
// Each recorded point keeps only the entries that changed since the point
// before it, and the history keeps one copy of the state at the current
// index. Recording is a comparison walk and stepping applies the changes, so
// neither costs a copy of the whole timeline however long the history grows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "project/project.h"

class UndoHistory {
  public:
    UndoHistory();
    ~UndoHistory();

    // Records the project as it is now as the newest state, after dropping
    // the states that an undo stepped back over. Returns the new index.
    int recordPoint(const MeProject& project);
    // Steps back one state and puts it into the project; false (and the
    // project unchanged) when there is no earlier state.
    bool undo(MeProject& project);
    // Steps forward one state and puts it into the project; false when there
    // is no later state.
    bool redo(MeProject& project);

    // Position of the state that matches the live project; -1 while empty.
    int index() const { return index_; }
    int size() const { return static_cast<int>(points_.size()); }

  private:
    struct State;
    struct StoredState;
    struct Changes;

    static State liveState(MeProject& project);
    // Makes the live project hold exactly the state at the current index,
    // whatever it was edited to without recording.
    void bringBack(MeProject& project);

    std::vector<std::unique_ptr<Changes>> points_;
    std::unique_ptr<StoredState> current_;
    int index_ = -1;
};
