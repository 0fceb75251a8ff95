#include "timeline/effect.h"

#include <framework/mlt.h>

#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {
const char kCatalogueNameAttribute[] = "name";
const char kCatalogueTypeAttribute[] = "type";
const char kFilterTypeName[] = "filter";
}  // namespace

void MeEffect::readCatalogueEntry(xmlNodePtr entry) {
    xmltree::readAttribute(entry, kCatalogueNameAttribute, name_);
    std::string type;
    xmltree::readAttribute(entry, kCatalogueTypeAttribute, type);
    type_ = type == kFilterTypeName ? kFilterType : kOtherType;
    for (xmlNodePtr child = entry->children; child != nullptr; child = child->next) {
        addNamedProperty(child);
    }
}

void MeEffect::addNamedProperty(xmlNodePtr node) {
    std::string name;
    if (!xmltree::isElement(node) || !xmltree::readAttribute(node, kCatalogueNameAttribute, name)) {
        return;
    }
    properties_.emplace(name, xmltree::wholeText(node));
}

bool MeEffect::mergeJsonProperties(CParseJson& json) {
    Json::Value object;
    if (!json.getObject(jsonkey::kProperty, object) || !object.isObject()) {
        return true;
    }
    for (const std::string& name : object.getMemberNames()) {
        const Json::Value& value = object[name];
        // Nested arrays and objects have no text form an MLT property could take.
        if (value.isArray() || value.isObject()) {
            continue;
        }
        properties_[name] = value.asString();
    }
    return true;
}

bool MeEffect::applyTo(mlt_properties properties) const {
    if (properties == nullptr) {
        return false;
    }
    for (const auto& [name, value] : properties_) {
        mlt_properties_set(properties, name.c_str(), value.c_str());
    }
    return true;
}

void MeEffect::writeMltProperties(XmlSink& sink) const {
    for (const auto& [name, value] : properties_) {
        sink.mltProperty(name, value);
    }
}

bool MeEffect::readXml(xmlNodePtr effect) {
    for (xmlNodePtr child = effect->children; child != nullptr; child = child->next) {
        if (xmltree::hasName(child, projectxml::kEffectName)) {
            xmltree::readText(child, name_);
        } else if (xmltree::hasName(child, projectxml::kType)) {
            xmltree::readNumber(child, type_);
        } else if (xmltree::hasName(child, projectxml::kProperty)) {
            addNamedProperty(child);
        }
    }
    return true;
}

bool MeEffect::writeXml(XmlSink& sink) const {
    sink.begin(projectxml::kEffect);
    sink.textElement(projectxml::kEffectName, name_);
    sink.textElement(projectxml::kType, decimalText(type_));
    for (const auto& [name, value] : properties_) {
        sink.begin(projectxml::kProperty);
        sink.attribute(projectxml::kNameAttribute, name);
        sink.text(value);
        sink.end();
    }
    sink.end();
    return true;
}
