#include "timeline/compose_clip.h"

#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {

const char kSubClipPropertyPrefix[] = "producer.";
const char kResourceSuffix[] = "resource";
const char kTypeSuffix[] = "type";
const char kInSuffix[] = "in";
const char kOutSuffix[] = "out";
const char kStartSuffix[] = "start";
const char kEndSuffix[] = "end";
const char kWidthSuffix[] = "profile.width";
const char kHeightSuffix[] = "profile.height";
const char kFpsSuffix[] = "profile.fps";

MeSubClip subClipFromJson(const Json::Value& element) {
    MeSubClip subClip;
    CParseJson fields(element);
    fields.getString(jsonkey::kName, subClip.name);
    fields.getString(jsonkey::kResource, subClip.resource);
    fields.getString(jsonkey::kIn, subClip.in);
    fields.getString(jsonkey::kOut, subClip.out);
    fields.getString(jsonkey::kStart, subClip.start);
    fields.getString(jsonkey::kEnd, subClip.end);
    fields.getString(jsonkey::kType, subClip.type);
    Json::Value profileValue;
    fields.getObject(jsonkey::kProfile, profileValue);
    CParseJson profile(profileValue);
    profile.getInt(jsonkey::kWidth, subClip.width);
    profile.getInt(jsonkey::kHeight, subClip.height);
    // A whole frame rate such as 25 arrives as an integer.
    int wholeRate = 0;
    if (!profile.getDouble(jsonkey::kFrameRate, subClip.fps) &&
        profile.getInt(jsonkey::kFrameRate, wholeRate)) {
        subClip.fps = wholeRate;
    }
    return subClip;
}

MeSubClip subClipFromXml(xmlNodePtr node) {
    MeSubClip subClip;
    xmltree::readText(node, subClip.resource);
    xmltree::readAttribute(node, projectxml::kNameAttribute, subClip.name);
    xmltree::readAttribute(node, projectxml::kTypeAttribute, subClip.type);
    xmltree::readAttribute(node, projectxml::kInAttribute, subClip.in);
    xmltree::readAttribute(node, projectxml::kOutAttribute, subClip.out);
    xmltree::readAttribute(node, projectxml::kStartAttribute, subClip.start);
    xmltree::readAttribute(node, projectxml::kEndAttribute, subClip.end);
    std::string number;
    if (xmltree::readAttribute(node, projectxml::kWidthAttribute, number)) {
        subClip.width = decimalValue(number);
    }
    if (xmltree::readAttribute(node, projectxml::kHeightAttribute, number)) {
        subClip.height = decimalValue(number);
    }
    if (xmltree::readAttribute(node, projectxml::kFpsAttribute, number)) {
        subClip.fps = realValue(number);
    }
    return subClip;
}

}  // namespace

bool MeComposeClip::initFromJson(CParseJson& json) {
    if (!MeClip::initFromJson(json)) {
        return false;
    }
    Json::Value subClips;
    if (!json.getArray(jsonkey::kSubClips, subClips) || !subClips.isArray()) {
        return true;
    }
    for (const Json::Value& element : subClips) {
        MeSubClip subClip = subClipFromJson(element);
        subClips_[subClip.name] = subClip;
    }
    return true;
}

void MeComposeClip::writeMltXml(XmlSink& sink) const {
    beginMltElement(sink);
    for (const auto& [name, subClip] : subClips_) {
        const std::string prefix = kSubClipPropertyPrefix + name + ".";
        sink.mltProperty(prefix + kResourceSuffix, subClip.resource);
        sink.mltProperty(prefix + kTypeSuffix, subClip.type);
        sink.mltProperty(prefix + kInSuffix, subClip.in);
        sink.mltProperty(prefix + kOutSuffix, subClip.out);
        sink.mltProperty(prefix + kStartSuffix, subClip.start);
        sink.mltProperty(prefix + kEndSuffix, subClip.end);
        sink.mltProperty(prefix + kWidthSuffix, decimalText(subClip.width));
        sink.mltProperty(prefix + kHeightSuffix, decimalText(subClip.height));
        sink.mltProperty(prefix + kFpsSuffix, fixedSixText(subClip.fps));
    }
    sink.end();
}

bool MeComposeClip::readXml(xmlNodePtr clip) {
    MeClip::readXml(clip);
    for (xmlNodePtr child = clip->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, projectxml::kSubClips)) {
            readSubClips(child);
        }
    }
    return true;
}

void MeComposeClip::readSubClips(xmlNodePtr subClips) {
    for (xmlNodePtr node = subClips->children; node != nullptr; node = node->next) {
        if (xmltree::hasName(node, projectxml::kSubClip)) {
            MeSubClip subClip = subClipFromXml(node);
            subClips_.emplace(subClip.name, subClip);
        }
    }
}

bool MeComposeClip::writeXml(XmlSink& sink) const {
    beginXmlElement(sink, projectxml::kComposeClip);
    sink.begin(projectxml::kSubClips);
    for (const auto& [name, subClip] : subClips_) {
        sink.begin(projectxml::kSubClip);
        sink.attribute(projectxml::kNameAttribute, subClip.name);
        sink.attribute(projectxml::kTypeAttribute, subClip.type);
        sink.attribute(projectxml::kInAttribute, subClip.in);
        sink.attribute(projectxml::kOutAttribute, subClip.out);
        sink.attribute(projectxml::kStartAttribute, subClip.start);
        sink.attribute(projectxml::kEndAttribute, subClip.end);
        sink.attribute(projectxml::kWidthAttribute, decimalText(subClip.width));
        sink.attribute(projectxml::kHeightAttribute, decimalText(subClip.height));
        sink.attribute(projectxml::kFpsAttribute, fixedSixText(subClip.fps));
        sink.text(subClip.resource);
        sink.end();
    }
    sink.end();
    sink.end();
    return true;
}
