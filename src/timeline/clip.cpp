#include "timeline/clip.h"

#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"
#include "timeline/xml_tree_builder.h"

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

void MeClip::writeMltXml(XmlSink& sink) const {
    beginMltElement(sink);
    sink.end();
}

xmlNodePtr MeClip::writeMltXml(xmlNodePtr parent) const {
    return writeUnder(parent, [this](XmlSink& sink) { writeMltXml(sink); });
}

void MeClip::beginMltElement(XmlSink& sink) const {
    service_.writeMltElement(sink, false);
    if (length_ > 0) {
        sink.mltProperty(mltxml::kLengthProperty, decimalText(length_));
    }
    sink.mltProperty(mltxml::kResourceProperty, resource_);
    sink.mltProperty(mltxml::kMltServiceProperty, mltService_);
    // A video clip plays no sound and an audio clip shows no picture.
    if (mediaType_ == modelkind::kVideo) {
        sink.mltProperty(mltxml::kAudioIndexProperty, modelkind::kUnset);
    } else if (mediaType_ == modelkind::kAudio) {
        sink.mltProperty(mltxml::kVideoIndexProperty, modelkind::kUnset);
    }
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

bool MeClip::writeXml(XmlSink& sink) const {
    beginXmlElement(sink, projectxml::kClip);
    sink.end();
    return true;
}

bool MeClip::writeXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeXml(sink); });
    return true;
}

void MeClip::beginXmlElement(XmlSink& sink, const char* name) const {
    sink.begin(name);
    service_.writeXml(sink);
    if (length_ > 0) {
        sink.textElement(projectxml::kLength, decimalText(length_));
    }
    sink.textElement(projectxml::kMltService, mltService_);
    sink.textElement(projectxml::kResource, resource_);
    sink.textElement(projectxml::kType, mediaType_);
}
