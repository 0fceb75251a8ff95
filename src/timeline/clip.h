// One media source the timeline places on its tracks: the MLT producer
// service that reads it, its resource, its kind and its length.
#pragma once

#include <libxml/tree.h>

#include <string>

#include "messages/parse_json.h"
#include "timeline/service.h"
#include "timeline/xml_sink.h"

class MeClip {
  public:
    MeClip();
    virtual ~MeClip() = default;

    // Needs "ID", "MltService" and "Resource"; the identifier is stored with
    // "_p" appended so the producer and its placement differ in MLT XML.
    virtual bool initFromJson(CParseJson& json);
    virtual bool initFromJsonText(const std::string& text);
    // The "producer" element; the tree form returns it.
    virtual void writeMltXml(XmlSink& sink) const;
    xmlNodePtr writeMltXml(xmlNodePtr parent) const;
    // The project-file element.
    virtual bool readXml(xmlNodePtr clip);
    virtual bool writeXml(XmlSink& sink) const;
    bool writeXml(xmlNodePtr parent) const;

    const MeService& service() const { return service_; }
    const std::string& id() const { return service_.id(); }
    const std::string& in() const { return service_.in(); }
    const std::string& out() const { return service_.out(); }
    const std::string& mltService() const { return mltService_; }
    const std::string& resource() const { return resource_; }
    const std::string& mediaType() const { return mediaType_; }
    int length() const { return length_; }

  protected:
    // Begin the element and write the clip's own content; the caller may add
    // more before it ends the element.
    void beginMltElement(XmlSink& sink) const;
    void beginXmlElement(XmlSink& sink, const char* name) const;

  private:
    MeService service_;
    std::string mltService_;
    std::string resource_;
    std::string mediaType_;
    int length_ = 0;
};
