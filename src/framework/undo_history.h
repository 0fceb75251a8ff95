// A linear history of project states for UNDO_LAST_ACTION and
// REDO_LAST_ACTION. A state is the project's five containers; the timeline
// objects in them are shared with the live project, not duplicated, so an
// object changed in place is changed in every state that holds it.
//
// Each recorded point keeps only the entries that changed since the point
// before it, and the history keeps one copy of the state at the current
// index. The project notes which entries its edits touch; recording compares
// only those, and stepping applies the recorded changes, so neither costs
// more than the edits changed, however long the timeline or the history.
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
    int recordPoint(MeProject& project);
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
    struct StoredState;
    struct Changes;

    // Makes the live project hold exactly the state at the current index,
    // whatever it was edited to without recording.
    void bringBack(MeProject& project);
    // Applies a step both to the live project and to the stored state.
    void step(MeProject& project, const Changes& changes, bool forward);
    // The live project and the stored state now match entry for entry.
    static void forgetChanges(MeProject& project);

    std::vector<std::unique_ptr<Changes>> points_;
    std::unique_ptr<StoredState> current_;
    int index_ = -1;
};
