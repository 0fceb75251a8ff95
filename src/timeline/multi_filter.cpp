#include "timeline/multi_filter.h"

#include "messages/styled_json.h"
#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"
#include "timeline/xml_tree_builder.h"

namespace {

// Sets every member of overrides on target; a target that is neither an
// object nor null cannot take members and is left alone.
void setMembers(const Json::Value& overrides, Json::Value& target) {
    if (!overrides.isObject() || !(target.isObject() || target.isNull())) {
        return;
    }
    for (const std::string& name : overrides.getMemberNames()) {
        target[name] = overrides[name];
    }
}

}  // namespace

MeMultiFilter::MeMultiFilter() : service_(mltxml::kFilter) {}

bool MeMultiFilter::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json) || !json.getString(jsonkey::kTrackId, trackId_)) {
        return false;
    }
    if (!json.getInt(jsonkey::kIndex, index_)) {
        index_ = -1;
    }
    if (!json.getString(jsonkey::kXml, xmlFile_)) {
        xmlFile_.clear();
    }
    const MeMultiEffect* effect = MeEffectCatalogue::instance().findMultiEffect(service_.title());
    if (effect == nullptr) {
        return false;
    }
    effect_.commands.load(effect->commands.root());
    effect_.name = effect->name;
    effect_.type = effect->type;
    applyPropertyOverrides(json);
    return true;
}

bool MeMultiFilter::initFromJsonText(const std::string& text) {
    return initFromParsedText(*this, text);
}

void MeMultiFilter::applyPropertyOverrides(CParseJson& json) {
    Json::Value overrides;
    if (!json.getArray(jsonkey::kProperties, overrides) || !overrides.isArray()) {
        return;
    }
    for (const Json::Value& change : overrides) {
        if (!change.isObject()) {
            continue;
        }
        const Json::Value id = change.get(jsonkey::kId, Json::Value());
        auto command = id.isString() ? effect_.commands.findByContentId(id.asString()) : nullptr;
        if (!command) {
            continue;
        }
        Json::Value& content = command->element()[jsonkey::kContent];
        setMembers(change.get(jsonkey::kContent, Json::Value()), content);
        const Json::Value properties = change.get(jsonkey::kProperty, Json::Value());
        if (properties.isObject()) {
            setMembers(properties, content[jsonkey::kProperty]);
        }
    }
}

bool MeMultiFilter::readXml(xmlNodePtr multiFilter) {
    service_.readXml(multiFilter->children);
    for (xmlNodePtr child = multiFilter->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, projectxml::kTrackId)) {
            xmltree::readText(child, trackId_);
        } else if (xmltree::hasName(child, projectxml::kIndex)) {
            xmltree::readNumber(child, index_);
        } else if (xmltree::hasName(child, projectxml::kXmlFile)) {
            xmltree::readText(child, xmlFile_);
        } else if (xmltree::hasName(child, projectxml::kMultiEffect)) {
            readMultiEffect(child);
        }
    }
    return true;
}

void MeMultiFilter::readMultiEffect(xmlNodePtr multiEffect) {
    for (xmlNodePtr child = multiEffect->children; child != nullptr; child = child->next) {
        std::string text;
        if (xmltree::hasName(child, projectxml::kEffectName)) {
            xmltree::readText(child, effect_.name);
        } else if (xmltree::hasName(child, projectxml::kType)) {
            xmltree::readNumber(child, effect_.type);
        } else if (xmltree::hasName(child, projectxml::kActionMessage) &&
                   xmltree::readText(child, text)) {
            effect_.commands.parse(text);
        }
    }
}

bool MeMultiFilter::writeXml(XmlSink& sink) const {
    sink.begin(projectxml::kMultiFilter);
    service_.writeXml(sink);
    sink.textElement(projectxml::kTrackId, trackId_);
    sink.textElement(projectxml::kIndex, decimalText(index_));
    sink.textElement(projectxml::kXmlFile, xmlFile_);
    sink.begin(projectxml::kMultiEffect);
    sink.textElement(projectxml::kEffectName, effect_.name);
    sink.textElement(projectxml::kType, decimalText(effect_.type));
    sink.textElement(projectxml::kActionMessage, toStyledJson(effect_.commands.root()));
    sink.end();
    sink.end();
    return true;
}

bool MeMultiFilter::writeXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeXml(sink); });
    return true;
}
