// The clip placements of one track in track order. A long track is edited by
// index and by identifier all the time, so both lookups take constant time;
// inserting and removing move the pointers behind the place, nothing more.
//
// An identifier may be held by several placements: the first in track order
// is the one found. A placement's identifier changes only when its track
// refills it, and the track then refiles it here.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class MePlayList;

class PlacementList {
  public:
    using Placement = std::shared_ptr<MePlayList>;
    using const_iterator = std::vector<Placement>::const_iterator;

    const_iterator begin() const { return order_.begin(); }
    const_iterator end() const { return order_.end(); }
    size_t size() const { return order_.size(); }
    bool empty() const { return order_.empty(); }

    // The placement at index, or none past either end.
    Placement at(int index) const;
    // The first placement with the identifier, or none.
    Placement find(const std::string& id) const;
    // Index of the first placement with the identifier, or -1.
    int indexOf(const std::string& id) const;

    // Inserts in front of the placement at index; -1 or the size appends.
    // False (and nothing inserted) for any other index.
    bool insert(int index, Placement placement);
    void append(Placement placement);
    bool removeAt(int index);
    void clear();

    // Files the placement under its identifier again after a refill that
    // may have changed it from previousId.
    void refile(const MePlayList& placement, const std::string& previousId);

  private:
    int indexOfPlacement(const MePlayList* placement) const;
    // Takes the placement out of the identifier index; none when it was not
    // filed under id.
    Placement unfile(const std::string& id, const MePlayList* placement);

    std::vector<Placement> order_;
    std::unordered_multimap<std::string, Placement> byId_;
};
