// A track of the timeline: its clip placements in order, the transitions
// between neighbouring placements, and the filters on the whole track. In
// MLT XML it is a "tractor" whose tracks are its placements' playlists; a
// main track lays its placements end to end and overlaps them at each
// transition.
#pragma once

#include <libxml/tree.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "messages/parse_json.h"
#include "timeline/filter.h"
#include "timeline/multi_filter.h"
#include "timeline/placement_list.h"
#include "timeline/playlist.h"
#include "timeline/service.h"
#include "timeline/transition.h"
#include "timeline/xml_sink.h"

class MeTractor {
  public:
    using Placements = PlacementList;
    using Filters = std::vector<std::shared_ptr<MeFilter>>;
    using MultiFilters = std::map<std::string, std::shared_ptr<MeMultiFilter>>;
    using Transitions = std::map<std::string, std::shared_ptr<MeTransition>>;

    MeTractor();
    virtual ~MeTractor() = default;

    // Needs "ID" and "Type"; "Main" selects the main-track layout.
    bool initFromJson(CParseJson& json);

    // Places a clip at "Index" (required; -1 appends).
    bool addClip(CParseJson& json, const std::string& mediaId);
    // Refills a placement and may move it from "IndexOld" to "IndexNew".
    bool alterClip(CParseJson& json, const std::string& mediaId);
    void removeClip(const std::string& placementId);
    void removeAllPlacements();
    std::shared_ptr<MePlayList> placementAt(int index) const;
    std::shared_ptr<MePlayList> findPlacement(const std::string& placementId) const;
    int indexOf(const std::string& placementId) const;
    // Sum of the durations of the placements before it; -1 when absent.
    int positionOf(const std::string& placementId) const;
    bool insertAt(int index, std::shared_ptr<MePlayList> placement);
    bool removeAt(int index);
    // Gives every placement the blank that starts it where the one before ends.
    void relayout();
    std::vector<std::string> mediaIds() const;

    // "Index" -1 (or absent) addresses the whole track, others a placement.
    bool addFilter(CParseJson& json);
    bool alterFilter(CParseJson& json);
    bool addMultiFilter(CParseJson& json);
    bool alterMultiFilter(CParseJson& json);
    bool deleteFilter(CParseJson& json);
    bool deleteFilter(int index, const std::string& filterId);

    // Joins the placements at "Index_A" and "Index_B", then follows them by
    // identifier.
    bool addTransition(CParseJson& json);
    bool alterTransition(CParseJson& json);
    bool eraseTransition(const std::string& transitionId);

    // The project-file "Track" element.
    bool readXml(xmlNodePtr track);
    bool writeXml(XmlSink& sink) const;
    bool writeXml(xmlNodePtr parent) const;

    // Writes the placements' playlists and the track's tractor. The main
    // form recomputes the stored blank lengths first.
    void writeMltXml(XmlSink& sink);
    void writeMltXml(xmlNodePtr container);

    // A "track" reference to producerId, hiding what the track type excludes.
    static void writeTrackReference(XmlSink& sink, const std::string& producerId,
                                    const std::string& trackType);

    const MeService& service() const { return service_; }
    const std::string& id() const { return service_.id(); }
    const std::string& title() const { return service_.title(); }
    const std::string& in() const { return service_.in(); }
    const std::string& out() const { return service_.out(); }
    const std::string& trackType() const { return trackType_; }
    bool visible() const { return visible_; }
    bool main() const { return main_; }
    const Placements& placements() const { return placements_; }
    const Filters& filters() const { return filters_; }
    const Filters& webvfxFilters() const { return webvfxFilters_; }
    const MultiFilters& multiFilters() const { return multiFilters_; }
    const Transitions& transitions() const { return transitions_; }

  private:
    void writeMainForm(XmlSink& sink);
    // Begins the tractor element with one track per placement and the track
    // filters; the caller ends it.
    void beginTractorElement(XmlSink& sink) const;
    void keepFilter(std::shared_ptr<MeFilter> filter);
    // Refills a placement from the command; its identifier may change.
    bool refill(MePlayList& placement, CParseJson& json);

    MeService service_;
    MultiFilters multiFilters_;
    Filters filters_;
    Filters webvfxFilters_;
    Transitions transitions_;
    Placements placements_;
    bool visible_ = true;
    bool main_ = false;
    std::string trackType_;
};
