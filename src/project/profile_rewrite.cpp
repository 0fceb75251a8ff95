#include "project/profile_rewrite.h"

#include <libxml/parser.h>

#include "log/log.h"
#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_file.h"
#include "timeline/xml_tree.h"

namespace {

const char kNotParsedLog[] = "Document not parsed successfully";
const char kEmptyDocumentLog[] = "empty document";
const char kNotMltRootLog[] = "Mlt is not root";
const char kProfileFoundLog[] = "Mlt is not root %s";

struct ProfileValue {
    const char* attribute;
    const char* value;
};

// Every attribute but the picture size; absent attributes are not added.
constexpr ProfileValue kFixedProfile[] = {
    {"description", "720p"},      {"frame_rate_num", "25"},    {"frame_rate_den", "1"},
    {"progressive", "1"},         {"sample_aspect_num", "1"},  {"sample_aspect_den", "1"},
    {"display_aspect_num", "16"}, {"display_aspect_den", "9"}, {"colorspace", "709"},
};
const char kWidthAttribute[] = "width";
const char kHeightAttribute[] = "height";

void overwriteIfPresent(xmlNodePtr node, const char* attribute, const std::string& value) {
    std::string current;
    if (xmltree::readAttribute(node, attribute, current)) {
        xmltree::setAttribute(node, attribute, value);
    }
}

void rewriteProfile(xmlNodePtr profile, int width, int height) {
    writeLog(kLogDebug, kProfileFoundLog, reinterpret_cast<const char*>(profile->name));
    for (const ProfileValue& fixed : kFixedProfile) {
        overwriteIfPresent(profile, fixed.attribute, fixed.value);
    }
    overwriteIfPresent(profile, kWidthAttribute, decimalText(width));
    overwriteIfPresent(profile, kHeightAttribute, decimalText(height));
}

// The leading "track" children of the first audio track hide their video.
void hideVideoOfAudioTracks(xmlNodePtr tractor) {
    for (xmlNodePtr track = tractor->children; xmltree::hasName(track, mltxml::kTrack);
         track = track->next) {
        std::string hide;
        if (!xmltree::readAttribute(track, mltxml::kHideAttribute, hide)) {
            xmltree::setAttribute(track, mltxml::kHideAttribute, mltxml::kHideVideo);
        }
    }
}

bool isFirstAudioTrack(xmlNodePtr node) {
    std::string id;
    return xmltree::hasName(node, mltxml::kTractor) &&
           xmltree::readAttribute(node, mltxml::kIdAttribute, id) && id == modelkind::kAudioTrack0;
}

}  // namespace

void rewriteMltProfile(const std::string& path, int width, int height) {
    XmlDocument document = readXmlFile(path, XML_PARSE_NOBLANKS);
    if (!document) {
        writeLog(kLogError, kNotParsedLog);
        return;
    }
    xmlNodePtr root = xmlDocGetRootElement(document.get());
    if (root == nullptr) {
        writeLog(kLogError, kEmptyDocumentLog);
        return;
    }
    if (!xmltree::hasName(root, mltxml::kRoot)) {
        writeLog(kLogError, kNotMltRootLog);
        return;
    }
    for (xmlNodePtr child = root->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, mltxml::kProfile)) {
            rewriteProfile(child, width, height);
        } else if (isFirstAudioTrack(child)) {
            hideVideoOfAudioTracks(child);
        }
    }
    writeXmlDocument(document.get(), path);
}
