#include "timeline/filter.h"

#include "timeline/decimal_text.h"
#include "timeline/effect_catalogue.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

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

void MeFilter::writeMltXml(xmlNodePtr parent, bool withInOut) const {
    effect_.writeMltProperties(service_.writeMltElement(parent, withInOut));
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

bool MeFilter::writeXml(xmlNodePtr parent) const {
    xmlNodePtr filter = xmltree::appendElement(parent, projectxml::kFilter);
    service_.writeXml(filter);
    xmltree::appendText(filter, projectxml::kTrackId, trackId_);
    xmltree::appendText(filter, projectxml::kIndex, decimalText(index_));
    effect_.writeXml(filter);
    return true;
}
