// An XmlSink that makes the document's text directly, byte for byte as
// libxml2 2.9 saves the tree XmlTreeBuilder would have built
// (xmlSaveFormatFileEnc with the encoding "utf-8" and formatting on): the
// declaration, two spaces of indentation per level below the root, an empty
// element as "<name/>", a text element on one line, and libxml2's escapes.
// Building and saving the tree costs several times as much as the text.
//
// Given somewhere to send the text, the writer hands it on in pieces as it
// goes, so that a large document is never held whole: on this kind of
// machine fresh memory for a few megabytes costs more than making the text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "timeline/text_buffer.h"
#include "timeline/xml_sink.h"

class XmlTextWriter final : public XmlSink {
  public:
    using Output = std::function<void(std::string_view)>;

    // Starts the document with its XML declaration. Without an output the
    // whole document stays in the writer.
    explicit XmlTextWriter(Output output = nullptr);

    void begin(std::string_view name) override;
    void attribute(std::string_view name, std::string_view value) override;
    // An element holds either text or child elements, never both.
    void text(std::string_view value) override;
    void end() override;
    void textElement(std::string_view name, std::string_view value) override;
    void mltProperty(std::string_view name, std::string_view value) override;

    // Hands the text not yet handed on to the output.
    void flush();
    // The text not handed on; without an output, the whole document once the
    // root element has ended.
    std::string_view document() const { return out_.view(); }

  private:
    enum class Content { None, Text, Elements };
    // An element begun and not yet ended, with where its name is kept.
    struct OpenElement {
        size_t nameAt;
        size_t nameLength;
        Content content;
    };

    // Ends the parent's start tag if need be and indents a new child.
    void startChild();
    void appendStartTag(std::string_view name);
    void appendEndTag(std::string_view name);
    // Hands a full buffer on between two elements.
    void elementWritten();

    Output output_;
    std::vector<OpenElement> open_;
    // The names of the open elements, one after the other.
    std::string openNames_;
    TextBuffer out_;
};
