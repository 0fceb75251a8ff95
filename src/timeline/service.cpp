#include "timeline/service.h"

#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {

// An absent, mistyped or empty point is unset.
std::string readPoint(CParseJson& json, const char* key) {
    std::string point;
    if (!json.getString(key, point) || point.empty()) {
        return std::string(modelkind::kUnset);
    }
    return point;
}

}  // namespace

MeService::MeService(const char* element)
    : element_(element), in_(modelkind::kUnset), out_(modelkind::kUnset) {}

bool MeService::initFromJson(CParseJson& json) {
    if (!json.getString(jsonkey::kId, id_)) {
        return false;
    }
    in_ = readPoint(json, jsonkey::kIn);
    out_ = readPoint(json, jsonkey::kOut);
    title_.clear();
    json.getString(jsonkey::kTitle, title_);
    return true;
}

bool MeService::initFromJsonText(const std::string& text) {
    return initFromParsedText(*this, text);
}

void MeService::writeMltElement(XmlSink& sink, bool withInOut) const {
    sink.begin(element_);
    sink.attribute(mltxml::kIdAttribute, id_);
    if (!title_.empty()) {
        sink.attribute(mltxml::kTitleAttribute, title_);
    }
    if (global_) {
        sink.attribute(mltxml::kGlobalFeedAttribute, "1");
    }
    if (withInOut && !(in_ == modelkind::kUnset && out_ == modelkind::kUnset)) {
        sink.attribute(mltxml::kInAttribute, in_);
        sink.attribute(mltxml::kOutAttribute, out_);
    }
}

bool MeService::readXml(xmlNodePtr firstChild) {
    for (xmlNodePtr node = firstChild; node != nullptr; node = node->next) {
        if (xmltree::hasName(node, projectxml::kId)) {
            xmltree::readText(node, id_);
        } else if (xmltree::hasName(node, projectxml::kTitle)) {
            xmltree::readText(node, title_);
        } else if (xmltree::hasName(node, projectxml::kIn)) {
            xmltree::readText(node, in_);
        } else if (xmltree::hasName(node, projectxml::kOut)) {
            xmltree::readText(node, out_);
        } else if (xmltree::hasName(node, projectxml::kGlobal)) {
            int flag = 0;
            if (xmltree::readNumber(node, flag)) {
                global_ = flag != 0;
            }
        }
    }
    return true;
}

bool MeService::writeXml(XmlSink& owner) const {
    owner.textElement(projectxml::kId, id_);
    if (in_ != modelkind::kUnset) {
        owner.textElement(projectxml::kIn, in_);
    }
    if (out_ != modelkind::kUnset) {
        owner.textElement(projectxml::kOut, out_);
    }
    if (!title_.empty()) {
        owner.textElement(projectxml::kTitle, title_);
    }
    if (global_) {
        owner.textElement(projectxml::kGlobal, "1");
    }
    return true;
}
