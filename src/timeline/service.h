// The identity and timing record that every timeline object holds as a
// member: identifier, title, in and out points and the global-feed flag, with
// their JSON keys, project-document children and MLT XML attributes.
#pragma once

#include <libxml/tree.h>

#include <string>

#include "messages/parse_json.h"
#include "timeline/xml_sink.h"

class MeService {
  public:
    // element is the MLT XML element name of the owner's kind.
    explicit MeService(const char* element);
    virtual ~MeService() = default;

    // "ID" is required; "In" and "Out" absent or empty give "-1".
    bool initFromJson(CParseJson& json);
    bool initFromJsonText(const std::string& text);

    // Begins the owner's MLT element with "id", "title", "global_feed" and,
    // when asked and set, "in" and "out"; the owner writes its content and
    // ends it.
    void writeMltElement(XmlSink& sink, bool withInOut) const;

    // Takes the service's children from the siblings starting at firstChild.
    bool readXml(xmlNodePtr firstChild);
    // Writes the service's children into the owner's project-file element.
    bool writeXml(XmlSink& owner) const;

    const std::string& id() const { return id_; }
    const std::string& title() const { return title_; }
    const std::string& element() const { return element_; }
    const std::string& in() const { return in_; }
    const std::string& out() const { return out_; }
    bool global() const { return global_; }

    void setId(const std::string& id) { id_ = id; }
    void setTitle(const std::string& title) { title_ = title; }
    void setIn(const std::string& in) { in_ = in; }
    void setOut(const std::string& out) { out_ = out; }
    void setGlobal(bool global) { global_ = global; }

  private:
    std::string title_;
    std::string id_;
    std::string element_;
    std::string in_;
    std::string out_;
    bool global_ = false;
};

// The shared body of the initFromJsonText operations: parse the text into a
// fresh CParseJson and fill the object from it.
template <typename Target>
bool initFromParsedText(Target& target, const std::string& text) {
    CParseJson json;
    json.parse(text);
    return target.initFromJson(json);
}
