#include "timeline/filter.h"

#include "timeline/decimal_text.h"
#include "timeline/effect_catalogue.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"
#include "timeline/xml_tree_builder.h"

MeFilter::MeFilter() : service_(mltxml::kFilter) {}

bool MeFilter::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json) || !json.getString(jsonkey::kTrackId, trackId_)) {
        return false;
    }
    if (!json.getInt(jsonkey::kIndex, index_)) {
        index_ = -1;
    }
    const MeEffect* effect = MeEffectCatalogue::instance().findEffect(service_.title());
    if (effect == nullptr) {
        return false;
    }
    effect_ = *effect;
    return effect_.mergeJsonProperties(json);
}

bool MeFilter::initFromJsonText(const std::string& text) {
    return initFromParsedText(*this, text);
}

void MeFilter::writeMltXml(XmlSink& sink, bool withInOut) const {
    service_.writeMltElement(sink, withInOut);
    effect_.writeMltProperties(sink);
    sink.end();
}

void MeFilter::writeMltXml(xmlNodePtr parent, bool withInOut) const {
    writeUnder(parent, [&](XmlSink& sink) { writeMltXml(sink, withInOut); });
}

bool MeFilter::readXml(xmlNodePtr filter) {
    service_.readXml(filter->children);
    for (xmlNodePtr child = filter->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, projectxml::kTrackId)) {
            xmltree::readText(child, trackId_);
        } else if (xmltree::hasName(child, projectxml::kIndex)) {
            xmltree::readNumber(child, index_);
        } else if (xmltree::hasName(child, projectxml::kEffect)) {
            effect_.readXml(child);
        }
    }
    return true;
}

bool MeFilter::writeXml(XmlSink& sink) const {
    sink.begin(projectxml::kFilter);
    service_.writeXml(sink);
    sink.textElement(projectxml::kTrackId, trackId_);
    sink.textElement(projectxml::kIndex, decimalText(index_));
    effect_.writeXml(sink);
    sink.end();
    return true;
}

bool MeFilter::writeXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeXml(sink); });
    return true;
}
