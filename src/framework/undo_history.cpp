#include "framework/undo_history.h"

#include <tuple>

namespace {

// The entries of one keyed container that differ between two states: the
// key, the entry before (null when absent) and the entry after.
template <class Map>
using MapChanges =
    std::vector<std::tuple<std::string, typename Map::mapped_type, typename Map::mapped_type>>;

template <class Map>
MapChanges<Map> compareMaps(const Map& before, const Map& after) {
    MapChanges<Map> changes;
    auto b = before.begin();
    auto a = after.begin();
    while (b != before.end() || a != after.end()) {
        if (a == after.end() || (b != before.end() && b->first < a->first)) {
            changes.emplace_back(b->first, b->second, nullptr);
            ++b;
        } else if (b == before.end() || a->first < b->first) {
            changes.emplace_back(a->first, nullptr, a->second);
            ++a;
        } else {
            if (a->second != b->second) {
                changes.emplace_back(a->first, b->second, a->second);
            }
            ++a;
            ++b;
        }
    }
    return changes;
}

template <class Map>
void applyMapChanges(Map& target, const MapChanges<Map>& changes, bool forward) {
    for (const auto& [key, before, after] : changes) {
        const auto& value = forward ? after : before;
        if (value) {
            target.insert_or_assign(key, value);
        } else {
            target.erase(key);
        }
    }
}

}  // namespace

// The five containers of a state, wherever they live: in the live project or
// in the history's copy of the current state.
struct UndoHistory::State {
    MeProject::Tracks& videoTracks;
    MeProject::Tracks& audioTracks;
    MeProject::TransitionMap& transitions;
    MeProject::FilterList& mainFilters;
    MeProject::Clips& clips;
};

struct UndoHistory::StoredState {
    MeProject::Tracks videoTracks;
    MeProject::Tracks audioTracks;
    MeProject::TransitionMap transitions;
    MeProject::FilterList mainFilters;
    MeProject::Clips clips;

    State view() { return {videoTracks, audioTracks, transitions, mainFilters, clips}; }
};

struct UndoHistory::Changes {
    MapChanges<MeProject::Tracks> videoTracks;
    MapChanges<MeProject::Tracks> audioTracks;
    MapChanges<MeProject::TransitionMap> transitions;
    // Timeline filters are a short list in insertion order: kept whole when
    // they changed at all.
    bool filtersChanged = false;
    MeProject::FilterList filtersBefore;
    MeProject::FilterList filtersAfter;
    MapChanges<MeProject::Clips> clips;

    Changes(const State& before, const State& after)
        : videoTracks(compareMaps(before.videoTracks, after.videoTracks)),
          audioTracks(compareMaps(before.audioTracks, after.audioTracks)),
          transitions(compareMaps(before.transitions, after.transitions)),
          filtersChanged(before.mainFilters != after.mainFilters),
          clips(compareMaps(before.clips, after.clips)) {
        if (filtersChanged) {
            filtersBefore = before.mainFilters;
            filtersAfter = after.mainFilters;
        }
    }

    void applyTo(State target, bool forward) const {
        applyMapChanges(target.videoTracks, videoTracks, forward);
        applyMapChanges(target.audioTracks, audioTracks, forward);
        applyMapChanges(target.transitions, transitions, forward);
        if (filtersChanged) {
            target.mainFilters = forward ? filtersAfter : filtersBefore;
        }
        applyMapChanges(target.clips, clips, forward);
    }
};

UndoHistory::UndoHistory() : current_(std::make_unique<StoredState>()) {}

UndoHistory::~UndoHistory() = default;

UndoHistory::State UndoHistory::liveState(MeProject& project) {
    return {project.videoTracks_, project.audioTracks_, project.transitions_, project.mainFilters_,
            project.clips_};
}

int UndoHistory::recordPoint(const MeProject& project) {
    if (!points_.empty() && index_ < size() - 1) {
        points_.resize(static_cast<size_t>(index_ + 1));
    }
    // Only reads the project: the comparison takes its containers as they are.
    auto changes =
        std::make_unique<Changes>(current_->view(), liveState(const_cast<MeProject&>(project)));
    changes->applyTo(current_->view(), true);
    points_.push_back(std::move(changes));
    ++index_;
    return index_;
}

void UndoHistory::bringBack(MeProject& project) {
    Changes(liveState(project), current_->view()).applyTo(liveState(project), true);
}

bool UndoHistory::undo(MeProject& project) {
    if (points_.empty() || index_ <= 0) {
        return false;
    }
    bringBack(project);
    const Changes& step = *points_[static_cast<size_t>(index_)];
    step.applyTo(liveState(project), false);
    step.applyTo(current_->view(), false);
    --index_;
    return true;
}

bool UndoHistory::redo(MeProject& project) {
    if (points_.empty() || index_ >= size() - 1) {
        return false;
    }
    bringBack(project);
    ++index_;
    const Changes& step = *points_[static_cast<size_t>(index_)];
    step.applyTo(liveState(project), true);
    step.applyTo(current_->view(), true);
    return true;
}
