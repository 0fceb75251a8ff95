// A filter preset on a track or a clip placement: the catalogue's command
// list, copied and adjusted command by command by the client.
#pragma once

#include <libxml/tree.h>

#include <string>

#include "messages/parse_json.h"
#include "timeline/effect_catalogue.h"
#include "timeline/service.h"
#include "timeline/xml_sink.h"

class MeMultiFilter {
  public:
    MeMultiFilter();
    virtual ~MeMultiFilter() = default;

    // Needs "ID", "TrackID" and a "Title" the multi-effect catalogue knows;
    // "Properties" then adjusts the copied commands.
    virtual bool initFromJson(CParseJson& json);
    virtual bool initFromJsonText(const std::string& text);

    // The project-file "MultiFilter" element.
    bool readXml(xmlNodePtr multiFilter);
    bool writeXml(XmlSink& sink) const;
    bool writeXml(xmlNodePtr parent) const;

    const MeService& service() const { return service_; }
    const MeMultiEffect& effect() const { return effect_; }
    const std::string& id() const { return service_.id(); }
    const std::string& trackId() const { return trackId_; }
    const std::string& xmlFile() const { return xmlFile_; }
    int index() const { return index_; }
    const std::string& in() const { return service_.in(); }
    const std::string& out() const { return service_.out(); }

  private:
    // Each element of "Properties" names a command by its content "ID" and
    // sets members of its "Content" and of its "Content"."Property".
    void applyPropertyOverrides(CParseJson& json);
    void readMultiEffect(xmlNodePtr multiEffect);

    MeService service_;
    MeMultiEffect effect_;
    std::string trackId_;
    std::string xmlFile_;
    int index_ = -1;
};
