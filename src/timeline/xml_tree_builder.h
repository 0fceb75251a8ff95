// An XmlSink that appends the elements to a libxml2 tree, under the node it
// was made with. The model's writers that take a tree node go through it.
#pragma once

#include <libxml/tree.h>

#include "timeline/xml_sink.h"

class XmlTreeBuilder final : public XmlSink {
  public:
    explicit XmlTreeBuilder(xmlNodePtr parent) : current_(parent) {}

    void begin(std::string_view name) override;
    void attribute(std::string_view name, std::string_view value) override;
    void text(std::string_view value) override;
    void end() override;

  private:
    xmlNodePtr current_;
};

// Runs write on a builder appending under parent; returns the last child of
// parent afterwards, which is the element write began last at that level.
template <typename Write>
xmlNodePtr writeUnder(xmlNodePtr parent, Write write) {
    XmlTreeBuilder builder(parent);
    write(builder);
    return parent->last;
}
