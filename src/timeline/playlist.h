// One placement of a clip on a track: the blank in front of it, an optional
// still head (its first frame repeated), the clip itself and an optional
// still tail (its last frame repeated), with the filters on that placement.
#pragma once

#include <libxml/tree.h>

#include <map>
#include <string>
#include <vector>

#include "messages/parse_json.h"
#include "timeline/filter.h"
#include "timeline/multi_filter.h"
#include "timeline/placement_timing.h"
#include "timeline/service.h"
#include "timeline/xml_sink.h"

class MePlayList {
  public:
    MePlayList();
    virtual ~MePlayList() = default;

    // Needs "ID"; the media identifier is set apart with setMediaId.
    virtual bool initFromJson(CParseJson& json);
    virtual bool initFromJsonText(const std::string& text);
    // The "playlist" element with its blank, entries and filters.
    virtual void writeMltXml(XmlSink& sink) const;
    void writeMltXml(xmlNodePtr parent) const;
    // The same with a main track's layout in place of the stored timing.
    void writeMltXml(XmlSink& sink, const PlacementTiming& timing) const;

    bool addFilter(CParseJson& json);
    bool addMultiFilter(CParseJson& json);
    // Removes a filter or multi-filter; an unknown identifier is logged and
    // still reported as removed.
    bool deleteFilter(const std::string& filterId);

    // The head eats into the blank, so the placement keeps its position.
    bool setHeadRepeat(int frames);
    bool setTailRepeat(int frames);
    const PlacementTiming& timing() const { return timing_; }

    // out - in + 1, as decimal text.
    std::string duration() const;

    // The project-file "Playlist" element.
    bool readXml(xmlNodePtr playlist);
    bool writeXml(XmlSink& sink) const;
    bool writeXml(xmlNodePtr parent) const;

    void setMediaId(const std::string& mediaId) { mediaId_ = mediaId; }
    void setBlankLength(const std::string& blankLength) { timing_.blankLength = blankLength; }
    const std::string& mediaId() const { return mediaId_; }
    const std::string& id() const { return service_.id(); }
    const std::string& in() const { return service_.in(); }
    const std::string& out() const { return service_.out(); }
    const MeService& service() const { return service_; }
    const std::vector<MeFilter>& filters() const { return filters_; }
    const std::map<std::string, MeMultiFilter>& multiFilters() const { return multiFilters_; }
    const std::string& repeat() const { return repeat_; }
    const std::string& blankLength() const { return timing_.blankLength; }
    const std::string& repeatHead() const { return timing_.repeatHead; }
    const std::string& headIn() const { return timing_.headIn; }
    const std::string& repeatTail() const { return timing_.repeatTail; }
    const std::string& tailOut() const { return timing_.tailOut; }

  private:
    void writeEntry(XmlSink& sink, const std::string& in, const std::string& out,
                    const std::string& repeat) const;

    std::vector<MeFilter> filters_;
    std::map<std::string, MeMultiFilter> multiFilters_;
    std::string mediaId_;
    std::string repeat_;
    PlacementTiming timing_;
    MeService service_;
};
