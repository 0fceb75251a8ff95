#include "framework/undo_history.h"

#include <algorithm>
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
typename Map::mapped_type entryAt(const Map& map, const std::string& key) {
    auto found = map.find(key);
    return found == map.end() ? nullptr : found->second;
}

template <class Map>
MapChanges<Map> compareKeys(const Map& before, const Map& after, std::vector<std::string> keys) {
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    MapChanges<Map> changes;
    for (std::string& key : keys) {
        auto was = entryAt(before, key);
        auto is = entryAt(after, key);
        if (was != is) {
            changes.emplace_back(std::move(key), std::move(was), std::move(is));
        }
    }
    return changes;
}

// Which way a comparison with the live project runs.
enum class Towards { Live, Stored };

// Entries the live container did not note as changed still match the stored
// state, so only the noted ones are compared.
template <class Object>
auto compareWithLive(const typename TrackedMap<Object>::Map& stored, const TrackedMap<Object>& live,
                     Towards towards) {
    const auto& before = towards == Towards::Live ? stored : live.entries();
    const auto& after = towards == Towards::Live ? live.entries() : stored;
    return live.allChanged() ? compareMaps(before, after)
                             : compareKeys(before, after, live.changedKeys());
}

template <class Target, class Changes>
void applyMapChanges(Target& target, const Changes& changes, bool forward) {
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

struct UndoHistory::StoredState {
    MeProject::Tracks videoTracks;
    MeProject::Tracks audioTracks;
    MeProject::TransitionMap transitions;
    MeProject::FilterList mainFilters;
    MeProject::Clips clips;
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

    // What differs between the stored state and the live project, seen from
    // one towards the other.
    Changes(const StoredState& stored, const MeProject& live, Towards towards)
        : videoTracks(compareWithLive(stored.videoTracks, live.videoTracks_, towards)),
          audioTracks(compareWithLive(stored.audioTracks, live.audioTracks_, towards)),
          transitions(compareWithLive(stored.transitions, live.transitions_, towards)),
          filtersChanged(stored.mainFilters != live.mainFilters_),
          clips(compareWithLive(stored.clips, live.clips_, towards)) {
        if (filtersChanged) {
            filtersBefore = towards == Towards::Live ? stored.mainFilters : live.mainFilters_;
            filtersAfter = towards == Towards::Live ? live.mainFilters_ : stored.mainFilters;
        }
    }

    void applyTo(StoredState& target, bool forward) const {
        applyTo(target.videoTracks, target.audioTracks, target.transitions, target.mainFilters,
                target.clips, forward);
    }

    void applyTo(MeProject& target, bool forward) const {
        applyTo(target.videoTracks_, target.audioTracks_, target.transitions_, target.mainFilters_,
                target.clips_, forward);
    }

    // The stored state's containers are plain maps, the live project's are
    // tracked ones; both take the changes the same way.
    template <class Tracks, class Transitions, class Clips>
    void applyTo(Tracks& videoTracksTarget, Tracks& audioTracksTarget,
                 Transitions& transitionsTarget, MeProject::FilterList& filtersTarget,
                 Clips& clipsTarget, bool forward) const {
        applyMapChanges(videoTracksTarget, videoTracks, forward);
        applyMapChanges(audioTracksTarget, audioTracks, forward);
        applyMapChanges(transitionsTarget, transitions, forward);
        applyFilters(filtersTarget, forward);
        applyMapChanges(clipsTarget, clips, forward);
    }

    void applyFilters(MeProject::FilterList& target, bool forward) const {
        if (filtersChanged) {
            target = forward ? filtersAfter : filtersBefore;
        }
    }
};

UndoHistory::UndoHistory() : current_(std::make_unique<StoredState>()) {}

UndoHistory::~UndoHistory() = default;

void UndoHistory::forgetChanges(MeProject& project) {
    project.videoTracks_.forgetChanges();
    project.audioTracks_.forgetChanges();
    project.transitions_.forgetChanges();
    project.clips_.forgetChanges();
}

int UndoHistory::recordPoint(MeProject& project) {
    if (!points_.empty() && index_ < size() - 1) {
        points_.resize(static_cast<size_t>(index_ + 1));
    }
    auto changes = std::make_unique<Changes>(*current_, project, Towards::Live);
    changes->applyTo(*current_, true);
    forgetChanges(project);
    points_.push_back(std::move(changes));
    ++index_;
    return index_;
}

void UndoHistory::bringBack(MeProject& project) {
    Changes(*current_, project, Towards::Stored).applyTo(project, true);
}

void UndoHistory::step(MeProject& project, const Changes& changes, bool forward) {
    bringBack(project);
    changes.applyTo(project, forward);
    changes.applyTo(*current_, forward);
    forgetChanges(project);
}

bool UndoHistory::undo(MeProject& project) {
    if (points_.empty() || index_ <= 0) {
        return false;
    }
    step(project, *points_[static_cast<size_t>(index_)], false);
    --index_;
    return true;
}

bool UndoHistory::redo(MeProject& project) {
    if (points_.empty() || index_ >= size() - 1) {
        return false;
    }
    ++index_;
    step(project, *points_[static_cast<size_t>(index_)], true);
    return true;
}
