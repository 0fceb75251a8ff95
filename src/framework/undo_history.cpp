#include "framework/undo_history.h"

int UndoHistory::recordPoint(const MeProject& project) {
    if (!snapshots_.empty() && index_ < size() - 1) {
        snapshots_.resize(index_ + 1);
    }
    auto snapshot = std::make_unique<MeProject>();
    MeProject::copy(project, *snapshot);
    snapshots_.push_back(std::move(snapshot));
    ++index_;
    return index_;
}

bool UndoHistory::undo(MeProject& project) {
    if (snapshots_.empty() || index_ <= 0) {
        return false;
    }
    --index_;
    MeProject::copy(*snapshots_[index_], project);
    return true;
}

bool UndoHistory::redo(MeProject& project) {
    if (snapshots_.empty() || index_ >= size() - 1) {
        return false;
    }
    ++index_;
    MeProject::copy(*snapshots_[index_], project);
    return true;
}
