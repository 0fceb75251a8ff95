#include "timeline/placement_list.h"

#include <algorithm>
#include <iterator>

#include "timeline/playlist.h"

PlacementList::Placement PlacementList::at(int index) const {
    if (index < 0 || index >= static_cast<int>(order_.size())) {
        return nullptr;
    }
    return order_[static_cast<size_t>(index)];
}

PlacementList::Placement PlacementList::find(const std::string& id) const {
    auto [first, last] = byId_.equal_range(id);
    if (first != last && std::next(first) == last) {
        return first->second;
    }
    const int index = indexOf(id);
    return index < 0 ? nullptr : order_[static_cast<size_t>(index)];
}

int PlacementList::indexOf(const std::string& id) const {
    auto [first, last] = byId_.equal_range(id);
    if (first == last) {
        return -1;
    }
    if (std::next(first) == last) {
        return indexOfPlacement(first->second.get());
    }
    auto found = std::find_if(order_.begin(), order_.end(),
                              [&id](const Placement& placement) { return placement->id() == id; });
    return static_cast<int>(std::distance(order_.begin(), found));
}

int PlacementList::indexOfPlacement(const MePlayList* placement) const {
    // Comparing the pointers alone is cheap even on a long track.
    auto found = std::find_if(order_.begin(), order_.end(), [placement](const Placement& held) {
        return held.get() == placement;
    });
    return found == order_.end() ? -1 : static_cast<int>(std::distance(order_.begin(), found));
}

bool PlacementList::insert(int index, Placement placement) {
    const int count = static_cast<int>(order_.size());
    if (index > count || index < -1) {
        return false;
    }
    byId_.emplace(placement->id(), placement);
    auto before = index == -1 ? order_.end() : order_.begin() + index;
    order_.insert(before, std::move(placement));
    return true;
}

void PlacementList::append(Placement placement) {
    insert(-1, std::move(placement));
}

bool PlacementList::removeAt(int index) {
    if (index < 0 || index >= static_cast<int>(order_.size())) {
        return false;
    }
    auto removed = order_.begin() + index;
    unfile((*removed)->id(), removed->get());
    order_.erase(removed);
    return true;
}

void PlacementList::clear() {
    order_.clear();
    byId_.clear();
}

void PlacementList::refile(const MePlayList& placement, const std::string& previousId) {
    if (placement.id() == previousId) {
        return;
    }
    if (Placement filed = unfile(previousId, &placement)) {
        byId_.emplace(placement.id(), std::move(filed));
    }
}

PlacementList::Placement PlacementList::unfile(const std::string& id, const MePlayList* placement) {
    auto [first, last] = byId_.equal_range(id);
    for (auto entry = first; entry != last; ++entry) {
        if (entry->second.get() == placement) {
            Placement filed = std::move(entry->second);
            byId_.erase(entry);
            return filed;
        }
    }
    return nullptr;
}
