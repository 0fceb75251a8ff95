// Small helpers over libxml2's tree API, shared by every element the model
// reads and by the profile rewrite: names, attributes, and the "content" rule
// of the project file (an element without text leaves its field unchanged).
#pragma once

#include <libxml/tree.h>

#include <cstring>
#include <memory>
#include <string>

struct XmlDocumentFree {
    void operator()(xmlDocPtr document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, XmlDocumentFree>;

namespace xmltree {

inline bool isElement(xmlNodePtr node) {
    return node != nullptr && node->type == XML_ELEMENT_NODE;
}

// An element whose name is exactly name. Readers ask this of every child
// for every name they know, so most answers come from the first byte.
inline bool hasName(xmlNodePtr node, const char* name) {
    if (!isElement(node)) {
        return false;
    }
    const char* own = reinterpret_cast<const char*>(node->name);
    return own[0] == name[0] && std::strcmp(own, name) == 0;
}

// Calls visit with every element child of parent, in document order.
template <typename Visit>
void forEachElement(xmlNodePtr parent, Visit visit) {
    for (xmlNodePtr child = parent->children; child != nullptr; child = child->next) {
        if (isElement(child)) {
            visit(child);
        }
    }
}

void setAttribute(xmlNodePtr node, const char* name, const std::string& value);

// The attribute's value; false when the node has no such attribute.
bool readAttribute(xmlNodePtr node, const char* name, std::string& out);
// The node's whole text; false (out untouched) when it has none.
bool readText(xmlNodePtr node, std::string& out);
// The node's whole text as a decimal number; false (out untouched) when it
// has no text.
bool readNumber(xmlNodePtr node, int& out);
// The node's whole text, empty when it has none.
std::string wholeText(xmlNodePtr node);

}  // namespace xmltree
