// The timeline's object model: tracks, the media clips they place, the
// transitions between tracks and the filters on the whole timeline, each
// under its client-chosen identifier. Editing commands change it; the project
// file and the timeline XML the player loads are written from it. It never
// touches the running engine.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>

#include "messages/parse_json.h"
#include "project/tracked_map.h"
#include "timeline/clip.h"
#include "timeline/filter.h"
#include "timeline/tractor.h"
#include "timeline/transition.h"
#include "timeline/xml_sink.h"

class MeProject {
  public:
    using Tracks = std::map<std::string, std::shared_ptr<MeTractor>>;
    using TransitionMap = std::map<std::string, std::shared_ptr<MeTransition>>;
    using FilterList = std::list<std::shared_ptr<MeFilter>>;
    using Clips = std::map<std::string, std::shared_ptr<MeClip>>;

    MeProject() = default;
    virtual ~MeProject() = default;

    // The editing operations, one per command; each takes the command's
    // content and reports whether it was carried out.
    bool addTrack(CParseJson& json);
    bool deleteTrack(CParseJson& json);
    bool deleteAllTrack();
    bool addClip(CParseJson& json);
    bool addComposeClip(CParseJson& json);
    bool alterClip(CParseJson& json);
    bool alterComposeClip(CParseJson& json);
    bool deleteClip(CParseJson& json);
    bool deleteAllClip(CParseJson& json);
    bool addTransition(CParseJson& json);
    bool alterTransition(CParseJson& json);
    bool deleteTransition(CParseJson& json);
    bool addFilter(CParseJson& json);
    bool alterFilter(CParseJson& json);
    bool deleteFilter(CParseJson& json);
    bool addMultiFilter(CParseJson& json);
    bool alterMultiFilter(CParseJson& json);
    void clear();

    // The project document: saving keeps the previous file until the new one
    // is complete; loading empties the project first. A save answers true
    // even when the file could not be written; writeProjectFile tells.
    bool saveProject(const std::string& file) const;
    bool writeProjectFile(const std::string& file) const;
    bool loadProject(const std::string& file);
    // The MLT XML document the player loads. A clip's multi-filter that names
    // an "Xml" file gets an empty timeline written there first.
    bool writeTimelineXml(const std::string& path) const;
    // The empty timeline: the two fixed tractors and nothing else.
    static bool writeEmptyTimelineXml(const std::string& path);

    // The undo copy: to's containers are emptied and refilled with from's
    // entries, sharing the same objects.
    static void copy(const MeProject& from, MeProject& to);

    // The video track of that identifier, else the audio track, else none.
    std::shared_ptr<MeTractor> findTrack(const std::string& trackId) const;

    const Tracks& videoTracks() const { return videoTracks_.entries(); }
    const Tracks& audioTracks() const { return audioTracks_.entries(); }
    const TransitionMap& transitions() const { return transitions_.entries(); }
    const FilterList& mainFilters() const { return mainFilters_; }
    const Clips& clips() const { return clips_.entries(); }

  private:
    using TrackedTracks = TrackedMap<MeTractor>;

    void writeMultiFilterTimelines() const;
    // "maintractor": every track stacked, the transitions between tracks and
    // the timeline filters.
    void writeMainTractor(XmlSink& document) const;

    // The history restores recorded states entry by entry rather than copying
    // whole containers, and reads which entries changed since its last look,
    // so it edits the containers directly.
    friend class UndoHistory;

    bool placeClip(CParseJson& json, std::shared_ptr<MeClip> clip);
    bool replaceClip(CParseJson& json, std::shared_ptr<MeClip> clip);
    bool addTransition(CParseJson& json, bool replace);
    void eraseClipsOf(const MeTractor& track);

    TrackedTracks videoTracks_;
    TrackedTracks audioTracks_;
    TrackedMap<MeTransition> transitions_;
    FilterList mainFilters_;
    TrackedMap<MeClip> clips_;
};
