// A linear history of project states for UNDO_LAST_ACTION and
// REDO_LAST_ACTION. A state is the project's five containers; the timeline
// objects in them are shared with the live project, not duplicated, so an
// object changed in place is changed in every state that holds it.
#pragma once

#include <memory>
#include <vector>

#include "project/project.h"

class UndoHistory {
  public:
    // Records the project as it is now as the newest state, after dropping
    // the states that an undo stepped back over. Returns the new index.
    int recordPoint(const MeProject& project);
    // Steps back one state and copies it onto the project; false (and the
    // project unchanged) when there is no earlier state.
    bool undo(MeProject& project);
    // Steps forward one state and copies it onto the project; false when
    // there is no later state.
    bool redo(MeProject& project);

    // Position of the state that matches the live project; -1 while empty.
    int index() const { return index_; }
    int size() const { return static_cast<int>(snapshots_.size()); }

  private:
    std::vector<std::unique_ptr<MeProject>> snapshots_;
    int index_ = -1;
};
