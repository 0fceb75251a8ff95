#include "timeline/service.h"

#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {

// An absent, mistyped or empty point is unset.
std::string readPoint(CParseJson& json, const char* key) {
    std::string point;
    if (!json.getString(key, point) || point.empty()) {
        return modelkind::kUnset;
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

xmlNodePtr MeService::writeMltElement(xmlNodePtr parent, bool withInOut) const {
    xmlNodePtr node = xmltree::appendElement(parent, element_.c_str());
    xmltree::setAttribute(node, mltxml::kIdAttribute, id_);
    if (!title_.empty()) {
        xmltree::setAttribute(node, mltxml::kTitleAttribute, title_);
    }
    if (global_) {
        xmltree::setAttribute(node, mltxml::kGlobalFeedAttribute, "1");
    }
    if (withInOut && !(in_ == modelkind::kUnset && out_ == modelkind::kUnset)) {
        xmltree::setAttribute(node, mltxml::kInAttribute, in_);
        xmltree::setAttribute(node, mltxml::kOutAttribute, out_);
    }
    return node;
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

bool MeService::writeXml(xmlNodePtr owner) const {
    xmltree::appendText(owner, projectxml::kId, id_);
    if (in_ != modelkind::kUnset) {
        xmltree::appendText(owner, projectxml::kIn, in_);
    }
    if (out_ != modelkind::kUnset) {
        xmltree::appendText(owner, projectxml::kOut, out_);
    }
    if (!title_.empty()) {
        xmltree::appendText(owner, projectxml::kTitle, title_);
    }
    if (global_) {
        xmltree::appendText(owner, projectxml::kGlobal, "1");
    }
    return true;
}
