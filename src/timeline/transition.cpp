#include "timeline/transition.h"

#include "timeline/decimal_text.h"
#include "timeline/effect_catalogue.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"
#include "timeline/xml_tree_builder.h"

MeTransition::MeTransition() : service_(mltxml::kTransition) {}

bool MeTransition::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json) || !json.getString(jsonkey::kTrackIdA, trackIdA_) ||
        !json.getString(jsonkey::kTrackIdB, trackIdB_)) {
        return false;
    }
    json.getInt(jsonkey::kIndexA, aIndex_);
    json.getInt(jsonkey::kIndexB, bIndex_);
    const MeEffect* effect = MeEffectCatalogue::instance().findEffect(service_.title());
    if (effect == nullptr) {
        return true;
    }
    effect_ = *effect;
    return effect_.mergeJsonProperties(json);
}

bool MeTransition::initFromJsonText(const std::string& text) {
    return service_.initFromJsonText(text);
}

void MeTransition::writeMltXml(XmlSink& sink) const {
    service_.writeMltElement(sink, true);
    effect_.writeMltProperties(sink);
    sink.end();
}

void MeTransition::writeMltXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeMltXml(sink); });
}

void MeTransition::setTracks(int a, int b) {
    auto& properties = effect_.properties();
    auto currentTrack = [&properties](const char* name) {
        auto found = properties.find(name);
        return found == properties.end() ? 0 : decimalValue(found->second);
    };
    const bool inOrder =
        currentTrack(mltxml::kATrackProperty) <= currentTrack(mltxml::kBTrackProperty);
    auto setTrack = [&properties](const char* name, int track) {
        auto found = properties.find(name);
        if (found != properties.end()) {
            found->second = decimalText(track);
        }
    };
    setTrack(mltxml::kATrackProperty, inOrder ? a : b);
    setTrack(mltxml::kBTrackProperty, inOrder ? b : a);
}

bool MeTransition::readXml(xmlNodePtr transition) {
    service_.readXml(transition->children);
    for (xmlNodePtr child = transition->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, projectxml::kATrackId)) {
            xmltree::readText(child, trackIdA_);
        } else if (xmltree::hasName(child, projectxml::kBTrackId)) {
            xmltree::readText(child, trackIdB_);
        } else if (xmltree::hasName(child, projectxml::kAPlaylistId)) {
            xmltree::readText(child, aPlaylistId_);
        } else if (xmltree::hasName(child, projectxml::kBPlaylistId)) {
            xmltree::readText(child, bPlaylistId_);
        } else if (xmltree::hasName(child, projectxml::kAIndex)) {
            xmltree::readNumber(child, aIndex_);
        } else if (xmltree::hasName(child, projectxml::kBIndex)) {
            xmltree::readNumber(child, bIndex_);
        } else if (xmltree::hasName(child, projectxml::kEffect)) {
            effect_.readXml(child);
        }
    }
    return true;
}

bool MeTransition::writeXml(XmlSink& sink) const {
    sink.begin(projectxml::kTransition);
    service_.writeXml(sink);
    sink.textElement(projectxml::kATrackId, trackIdA_);
    sink.textElement(projectxml::kAIndex, decimalText(aIndex_));
    sink.textElement(projectxml::kBTrackId, trackIdB_);
    sink.textElement(projectxml::kBIndex, decimalText(bIndex_));
    sink.textElement(projectxml::kAPlaylistId, aPlaylistId_);
    sink.textElement(projectxml::kBPlaylistId, bPlaylistId_);
    effect_.writeXml(sink);
    sink.end();
    return true;
}

bool MeTransition::writeXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeXml(sink); });
    return true;
}
