#include "timeline/clip.h"

#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {

const char kProducerIdSuffix[] = "_p";

}  // namespace

MeClip::MeClip() : service_(mltxml::kProducer) {}

bool MeClip::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json)) {
        return false;
    }
    service_.setTitle(std::string());
    std::string lengthText;
    if (json.getString(jsonkey::kLength, lengthText) && !lengthText.empty()) {
        length_ = decimalValue(lengthText);
    }
    if (!json.getString(jsonkey::kMltService, mltService_) ||
        !json.getString(jsonkey::kResource, resource_)) {
        return false;
    }
    if (!json.getString(jsonkey::kType, mediaType_)) {
        mediaType_ = modelkind::kComposite;
    }
    json.getInt(jsonkey::kLength, length_);
    std::string id;
    if (!json.getString(jsonkey::kId, id)) {
        return false;
    }
    service_.setId(id + kProducerIdSuffix);
    return true;
}

bool MeClip::initFromJsonText(const std::string& text) {
    return initFromParsedText(*this, text);
}

xmlNodePtr MeClip::writeMltXml(xmlNodePtr parent) const {
    xmlNodePtr producer = service_.writeMltElement(parent, false);
    if (length_ > 0) {
        xmltree::appendMltProperty(producer, mltxml::kLengthProperty, decimalText(length_));
    }
    xmltree::appendMltProperty(producer, mltxml::kResourceProperty, resource_);
    xmltree::appendMltProperty(producer, mltxml::kMltServiceProperty, mltService_);
    // A video clip plays no sound and an audio clip shows no picture.
    if (mediaType_ == modelkind::kVideo) {
        xmltree::appendMltProperty(producer, mltxml::kAudioIndexProperty, modelkind::kUnset);
    } else if (mediaType_ == modelkind::kAudio) {
        xmltree::appendMltProperty(producer, mltxml::kVideoIndexProperty, modelkind::kUnset);
    }
    return producer;
}

bool MeClip::readXml(xmlNodePtr clip) {
    service_.readXml(clip->children);
    for (xmlNodePtr child = clip->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, projectxml::kLength)) {
            xmltree::readNumber(child, length_);
        } else if (xmltree::hasName(child, projectxml::kMltService)) {
            xmltree::readText(child, mltService_);
        } else if (xmltree::hasName(child, projectxml::kResource)) {
            xmltree::readText(child, resource_);
        } else if (xmltree::hasName(child, projectxml::kType)) {
            xmltree::readText(child, mediaType_);
        }
    }
    return true;
}

bool MeClip::writeXml(xmlNodePtr parent) const {
    writeXmlElement(parent, projectxml::kClip);
    return true;
}

xmlNodePtr MeClip::writeXmlElement(xmlNodePtr parent, const char* name) const {
    xmlNodePtr clip = xmltree::appendElement(parent, name);
    service_.writeXml(clip);
    if (length_ > 0) {
        xmltree::appendText(clip, projectxml::kLength, decimalText(length_));
    }
    xmltree::appendText(clip, projectxml::kMltService, mltService_);
    xmltree::appendText(clip, projectxml::kResource, resource_);
    xmltree::appendText(clip, projectxml::kType, mediaType_);
    return clip;
}
