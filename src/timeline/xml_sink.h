// Where the model writes its XML elements, in document order: an element is
// begun, given its attributes, then either its text or its child elements,
// and ended. Two sinks take them: XmlTreeBuilder appends a libxml2 tree, and
// XmlTextWriter makes the indented text libxml2 would save for that tree,
// without building it.
//
// A value stops at its first NUL, as the C strings libxml2 takes do.
#pragma once

#include <string_view>

class XmlSink {
  public:
    virtual ~XmlSink() = default;

    // Begins a child element of the element being written (or the root).
    virtual void begin(std::string_view name) = 0;
    // An attribute of the element just begun, before any of its content.
    virtual void attribute(std::string_view name, std::string_view value) = 0;
    // The whole content of the element being written, as text.
    virtual void text(std::string_view value) = 0;
    virtual void end() = 0;

    // An element holding only text.
    virtual void textElement(std::string_view name, std::string_view value);
    // An MLT "property" element: the value as text, the name as attribute.
    virtual void mltProperty(std::string_view name, std::string_view value);
};
