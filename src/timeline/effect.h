// A named effect: the MLT service that realises it (its "mlt_service"
// property) and the property values set on that service. The catalogue holds
// the defaults; filters and transitions hold adjusted copies.
#pragma once

#include <framework/mlt_types.h>
#include <libxml/tree.h>

#include <map>
#include <string>

#include "messages/parse_json.h"
#include "timeline/xml_sink.h"

class MeEffect {
  public:
    static constexpr int kFilterType = 1;
    static constexpr int kOtherType = 2;

    MeEffect() = default;
    virtual ~MeEffect() = default;

    const std::string& name() const { return name_; }
    int type() const { return type_; }
    std::map<std::string, std::string>& properties() { return properties_; }
    const std::map<std::string, std::string>& properties() const { return properties_; }

    // Fills the effect from one entry of the effect catalogue.
    void readCatalogueEntry(xmlNodePtr entry);
    // Stores every member of the JSON "Property" object, replacing values.
    bool mergeJsonProperties(CParseJson& json);
    // Sets every property on an MLT service, in name order.
    bool applyTo(mlt_properties properties) const;
    // Writes one MLT "property" child per property.
    void writeMltProperties(XmlSink& sink) const;

    // The project-file "Effect" element.
    bool readXml(xmlNodePtr effect);
    bool writeXml(XmlSink& sink) const;

  private:
    // Adds a property from an element with a "name" attribute; the first value
    // of a name stays.
    void addNamedProperty(xmlNodePtr node);

    std::string name_;
    int type_ = 0;
    std::map<std::string, std::string> properties_;
};
