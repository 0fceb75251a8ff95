// One catalogue effect, copied and adjusted by the client, on a track, on a
// clip placement or on the whole timeline.
#pragma once

#include <libxml/tree.h>

#include <string>

#include "messages/parse_json.h"
#include "timeline/effect.h"
#include "timeline/service.h"
#include "timeline/xml_sink.h"

class MeFilter {
  public:
    MeFilter();
    virtual ~MeFilter() = default;

    // Needs "ID", "TrackID" and a "Title" the catalogue knows; the catalogue
    // effect is copied and the JSON "Property" object merged into it.
    virtual bool initFromJson(CParseJson& json);
    virtual bool initFromJsonText(const std::string& text);
    virtual void writeMltXml(XmlSink& sink, bool withInOut) const;
    void writeMltXml(xmlNodePtr parent, bool withInOut) const;

    // The project-file "Filter" element.
    bool readXml(xmlNodePtr filter);
    bool writeXml(XmlSink& sink) const;
    bool writeXml(xmlNodePtr parent) const;

    const MeService& service() const { return service_; }
    MeService& service() { return service_; }
    const MeEffect& effect() const { return effect_; }
    const std::string& effectName() const { return effect_.name(); }
    const std::string& id() const { return service_.id(); }
    const std::string& trackId() const { return trackId_; }
    int index() const { return index_; }
    const std::string& in() const { return service_.in(); }
    const std::string& out() const { return service_.out(); }

  private:
    MeService service_;
    MeEffect effect_;
    std::string trackId_;
    int index_ = -1;
};
