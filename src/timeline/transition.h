// A catalogue effect that mixes an A side and a B side over a stretch of
// time: two neighbouring placements of one track, or two tracks.
#pragma once

#include <libxml/tree.h>

#include <string>

#include "messages/parse_json.h"
#include "timeline/effect.h"
#include "timeline/service.h"
#include "timeline/xml_sink.h"

class MeTransition {
  public:
    MeTransition();
    virtual ~MeTransition() = default;

    // Needs "ID", "TrackID_A" and "TrackID_B"; an unknown "Title" is kept
    // with an empty effect.
    virtual bool initFromJson(CParseJson& json);
    // Fills the service record only.
    virtual bool initFromJsonText(const std::string& text);
    virtual void writeMltXml(XmlSink& sink) const;
    void writeMltXml(xmlNodePtr parent) const;

    // Sets "a_track" and "b_track" to the engine track numbers, keeping the
    // catalogue's order of the two sides; missing properties are not added.
    void setTracks(int a, int b);

    // The project-file "Transition" element.
    bool readXml(xmlNodePtr transition);
    bool writeXml(XmlSink& sink) const;
    bool writeXml(xmlNodePtr parent) const;

    const MeService& service() const { return service_; }
    const MeEffect& effect() const { return effect_; }
    const std::string& id() const { return service_.id(); }
    const std::string& in() const { return service_.in(); }
    const std::string& out() const { return service_.out(); }
    const std::string& trackIdA() const { return trackIdA_; }
    const std::string& trackIdB() const { return trackIdB_; }
    const std::string& aPlaylistId() const { return aPlaylistId_; }
    const std::string& bPlaylistId() const { return bPlaylistId_; }
    int aIndex() const { return aIndex_; }
    int bIndex() const { return bIndex_; }

    void setAPlaylistId(const std::string& id) { aPlaylistId_ = id; }
    void setBPlaylistId(const std::string& id) { bPlaylistId_ = id; }
    void setIn(const std::string& in) { service_.setIn(in); }
    void setOut(const std::string& out) { service_.setOut(out); }

  private:
    MeService service_;
    MeEffect effect_;
    std::string trackIdA_;
    std::string trackIdB_;
    std::string aPlaylistId_;
    std::string bPlaylistId_;
    int aIndex_ = -1;
    int bIndex_ = -1;
};
