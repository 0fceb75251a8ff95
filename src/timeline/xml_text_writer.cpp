#include "timeline/xml_text_writer.h"

#include <algorithm>
#include <array>

#include "timeline/model_names.h"

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
// libxml2 indents by two spaces a level and stops deeper than 30 levels.
constexpr std::string_view kDeepestIndent =
    "                                                            ";
constexpr size_t kIndentPerLevel = 2;
// Pieces of this size make few writes yet fit the buffer's first room, so
// the writer never asks for fresh memory while it writes; larger pieces
// measured slower, fresh pages being dear on these machines.
constexpr size_t kOutputPieceBytes = 48 * 1024;

// How the bytes of a value are written: most as they are, a few replaced,
// and NUL ends the value.
struct Escapes {
    std::array<bool, 256> plain;
    std::array<std::string_view, 256> replacement;

    Escapes() {
        plain.fill(true);
        plain[0] = false;
    }
    void replace(char byte, std::string_view with) {
        plain[static_cast<unsigned char>(byte)] = false;
        replacement[static_cast<unsigned char>(byte)] = with;
    }
};

// The longest replacement below, in bytes.
constexpr size_t kLongestEscape = 6;

// libxml2 escapes these in text content.
Escapes textEscapes() {
    Escapes escapes;
    escapes.replace('&', "&amp;");
    escapes.replace('<', "&lt;");
    escapes.replace('>', "&gt;");
    escapes.replace('\r', "&#13;");
    return escapes;
}

// And these in attribute values, where white space other than the blank
// would otherwise be normalised away by a reader.
Escapes attributeEscapes() {
    Escapes escapes = textEscapes();
    escapes.replace('"', "&quot;");
    escapes.replace('\t', "&#9;");
    escapes.replace('\n', "&#10;");
    return escapes;
}

const Escapes kTextEscapes = textEscapes();
const Escapes kAttributeEscapes = attributeEscapes();

// Copies one block of a value, escaped, into room made for the worst case,
// then gives back what it did not use. False when the block held a NUL.
bool appendEscapedBlock(TextBuffer& out, std::string_view block, const Escapes& escapes) {
    const size_t room = block.size() * kLongestEscape;
    char* const start = out.extend(room);
    char* at = start;
    bool whole = true;
    for (const char byte : block) {
        const auto code = static_cast<unsigned char>(byte);
        if (escapes.plain[code]) {
            *at++ = byte;
        } else if (code == 0) {
            whole = false;
            break;
        } else {
            at = std::copy(escapes.replacement[code].begin(), escapes.replacement[code].end(), at);
        }
    }
    out.takeBack(room - static_cast<size_t>(at - start));
    return whole;
}

// Values are short and mostly plain, so they are copied byte by byte; a long
// one goes a block at a time, never asking for six times its size at once.
void appendEscaped(TextBuffer& out, std::string_view value, const Escapes& escapes) {
    constexpr size_t kBlock = 4096;
    for (size_t from = 0; from < value.size(); from += kBlock) {
        if (!appendEscapedBlock(out, value.substr(from, kBlock), escapes)) {
            return;
        }
    }
}

}  // namespace

XmlTextWriter::XmlTextWriter(Output output) : output_(std::move(output)) {
    out_.append(kDeclaration);
}

void XmlTextWriter::flush() {
    if (output_ && out_.size() > 0) {
        output_(out_.view());
        out_.clear();
    }
}

void XmlTextWriter::elementWritten() {
    if (out_.size() >= kOutputPieceBytes) {
        flush();
    }
}

void XmlTextWriter::startChild() {
    if (!open_.empty() && open_.back().content == Content::None) {
        out_.append(">\n", 2);
        open_.back().content = Content::Elements;
    }
    out_.append(kDeepestIndent.substr(0, kIndentPerLevel * open_.size()));
}

void XmlTextWriter::appendStartTag(std::string_view name) {
    startChild();
    out_.append('<');
    out_.append(name);
}

void XmlTextWriter::appendEndTag(std::string_view name) {
    char* at = out_.extend(name.size() + 4);
    at[0] = '<';
    at[1] = '/';
    std::memcpy(at + 2, name.data(), name.size());
    at[name.size() + 2] = '>';
    at[name.size() + 3] = '\n';
}

void XmlTextWriter::begin(std::string_view name) {
    appendStartTag(name);
    open_.push_back({openNames_.size(), name.size(), Content::None});
    openNames_.append(name);
}

void XmlTextWriter::attribute(std::string_view name, std::string_view value) {
    out_.append(' ');
    out_.append(name);
    out_.append("=\"", 2);
    appendEscaped(out_, value, kAttributeEscapes);
    out_.append('"');
}

void XmlTextWriter::text(std::string_view value) {
    if (open_.back().content == Content::None) {
        out_.append('>');
        open_.back().content = Content::Text;
    }
    appendEscaped(out_, value, kTextEscapes);
}

void XmlTextWriter::end() {
    const OpenElement element = open_.back();
    open_.pop_back();
    switch (element.content) {
        case Content::None:
            out_.append("/>\n", 3);
            break;
        case Content::Elements:
            out_.append(kDeepestIndent.substr(0, kIndentPerLevel * open_.size()));
            [[fallthrough]];
        case Content::Text:
            appendEndTag(std::string_view(openNames_).substr(element.nameAt, element.nameLength));
            break;
    }
    openNames_.resize(element.nameAt);
    elementWritten();
}

void XmlTextWriter::textElement(std::string_view name, std::string_view value) {
    appendStartTag(name);
    out_.append('>');
    appendEscaped(out_, value, kTextEscapes);
    appendEndTag(name);
    elementWritten();
}

void XmlTextWriter::mltProperty(std::string_view name, std::string_view value) {
    const std::string_view element = mltxml::kProperty;
    appendStartTag(element);
    attribute(mltxml::kNameAttribute, name);
    out_.append('>');
    appendEscaped(out_, value, kTextEscapes);
    appendEndTag(element);
    elementWritten();
}
