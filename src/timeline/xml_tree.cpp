#include "timeline/xml_tree.h"

#include "timeline/decimal_text.h"

namespace {

struct XmlCharFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlText = std::unique_ptr<xmlChar, XmlCharFree>;

const xmlChar* xmlText(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

}  // namespace

namespace xmltree {

void setAttribute(xmlNodePtr node, const char* name, const std::string& value) {
    xmlSetProp(node, xmlText(name), xmlText(value.c_str()));
}

bool readAttribute(xmlNodePtr node, const char* name, std::string& out) {
    XmlText value(xmlGetProp(node, xmlText(name)));
    if (!value) {
        return false;
    }
    out = reinterpret_cast<const char*>(value.get());
    return true;
}

bool readText(xmlNodePtr node, std::string& out) {
    // An element holding one text node, as every value the model writes
    // does: its text as it stands, without the copy xmlNodeGetContent makes.
    xmlNodePtr child = isElement(node) ? node->children : nullptr;
    if (child != nullptr && child->next == nullptr && child->type == XML_TEXT_NODE) {
        if (child->content == nullptr || child->content[0] == '\0') {
            return false;
        }
        out.assign(reinterpret_cast<const char*>(child->content));
        return true;
    }
    XmlText value(xmlNodeGetContent(node));
    if (!value || value.get()[0] == '\0') {
        return false;
    }
    out = reinterpret_cast<const char*>(value.get());
    return true;
}

bool readNumber(xmlNodePtr node, int& out) {
    std::string text;
    if (!readText(node, text)) {
        return false;
    }
    out = decimalValue(text);
    return true;
}

std::string wholeText(xmlNodePtr node) {
    std::string text;
    readText(node, text);
    return text;
}

}  // namespace xmltree
