#include "timeline/xml_tree_builder.h"

#include <string>

namespace {

// libxml2 takes C strings, which end at the first NUL.
class XmlText {
  public:
    explicit XmlText(std::string_view text) : text_(text) {}
    operator const xmlChar*() const { return reinterpret_cast<const xmlChar*>(text_.c_str()); }

  private:
    std::string text_;
};

}  // namespace

void XmlTreeBuilder::begin(std::string_view name) {
    current_ = xmlNewChild(current_, nullptr, XmlText(name), nullptr);
}

void XmlTreeBuilder::attribute(std::string_view name, std::string_view value) {
    xmlSetProp(current_, XmlText(name), XmlText(value));
}

void XmlTreeBuilder::text(std::string_view value) {
    // A text node even for empty text: the element then saves as a start and
    // an end tag rather than as an empty-element tag.
    xmlAddChild(current_, xmlNewDocText(current_->doc, XmlText(value)));
}

void XmlTreeBuilder::end() {
    current_ = current_->parent;
}
