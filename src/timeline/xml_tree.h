// Small helpers over libxml2's tree API, shared by every element the model
// reads or writes: named children with escaped text, attributes, and the
// "content" rule of the project file (an element without text leaves its
// field unchanged).
#pragma once

#include <libxml/tree.h>

#include <memory>
#include <string>

struct XmlDocumentFree {
    void operator()(xmlDocPtr document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, XmlDocumentFree>;

namespace xmltree {

bool isElement(xmlNodePtr node);
// An element whose name is exactly name.
bool hasName(xmlNodePtr node, const char* name);

// Calls visit with every element child of parent, in document order.
template <typename Visit>
void forEachElement(xmlNodePtr parent, Visit visit) {
    for (xmlNodePtr child = parent->children; child != nullptr; child = child->next) {
        if (isElement(child)) {
            visit(child);
        }
    }
}

// A new empty child element.
xmlNodePtr appendElement(xmlNodePtr parent, const char* name);
// A new child element holding text (escaped as needed).
xmlNodePtr appendText(xmlNodePtr parent, const char* name, const std::string& text);
// A new MLT "property" child: the value as text, the name as attribute.
xmlNodePtr appendMltProperty(xmlNodePtr parent, const std::string& name, const std::string& value);
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
