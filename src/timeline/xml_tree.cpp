#include "timeline/xml_tree.h"

#include "timeline/decimal_text.h"
#include "timeline/model_names.h"

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

bool isElement(xmlNodePtr node) {
    return node != nullptr && node->type == XML_ELEMENT_NODE;
}

bool hasName(xmlNodePtr node, const char* name) {
    return isElement(node) && xmlStrcmp(node->name, xmlText(name)) == 0;
}

xmlNodePtr appendElement(xmlNodePtr parent, const char* name) {
    return xmlNewChild(parent, nullptr, xmlText(name), nullptr);
}

xmlNodePtr appendText(xmlNodePtr parent, const char* name, const std::string& text) {
    return xmlNewTextChild(parent, nullptr, xmlText(name), xmlText(text.c_str()));
}

xmlNodePtr appendMltProperty(xmlNodePtr parent, const std::string& name, const std::string& value) {
    xmlNodePtr property = appendText(parent, mltxml::kProperty, value);
    setAttribute(property, mltxml::kNameAttribute, name);
    return property;
}

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
