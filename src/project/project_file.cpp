// The project document: the object model itself, under a "Quillavant" root.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include "log/log.h"
#include "project/project.h"
#include "timeline/compose_clip.h"
#include "timeline/model_names.h"
#include "timeline/xml_file.h"
#include "timeline/xml_tree.h"

namespace {

// libxml2's XML_PARSE_RECOVER, and never a fetch over the network. Short
// texts are kept inside their nodes (the tree is only read, never changed),
// which spares a third of the allocations of a large document.
constexpr int kProjectParseOptions = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_COMPACT;
const char kEntitiesRefused[] = "Refused project file %s: it declares entities";

// Our project documents never declare entities; one that does is either
// damaged or made to expand without bound or to pull in another file.
bool declaresEntities(xmlDocPtr document) {
    for (xmlDtdPtr subset : {document->intSubset, document->extSubset}) {
        if (subset != nullptr && (subset->entities != nullptr || subset->pentities != nullptr)) {
            return true;
        }
    }
    return false;
}

template <typename Object>
const Object& heldObject(const std::shared_ptr<Object>& object) {
    return *object;
}

template <typename Key, typename Object>
const Object& heldObject(const std::pair<const Key, std::shared_ptr<Object>>& entry) {
    return *entry.second;
}

// Writes a container element with every object's own element, or nothing
// when there are no objects.
template <typename Objects>
void writeContainer(XmlSink& sink, const char* name, const char* type, const Objects& objects) {
    if (objects.empty()) {
        return;
    }
    sink.begin(name);
    if (type != nullptr) {
        sink.attribute(projectxml::kTypeAttribute, type);
    }
    for (const auto& object : objects) {
        heldObject(object).writeXml(sink);
    }
    sink.end();
}

}  // namespace

bool MeProject::saveProject(const std::string& file) const {
    // The client is told the save succeeded even when the file could not be
    // written; the previous file then stays as it was.
    writeProjectFile(file);
    return true;
}

bool MeProject::writeProjectFile(const std::string& file) const {
    return writeXmlFile(file, [this](XmlSink& document) {
        document.begin(projectxml::kRoot);
        writeContainer(document, projectxml::kClips, nullptr, clips());
        writeContainer(document, projectxml::kTracks, projectxml::kVideoTracksType, videoTracks());
        writeContainer(document, projectxml::kTracks, projectxml::kAudioTracksType, audioTracks());
        writeContainer(document, projectxml::kTransitions, nullptr, transitions());
        writeContainer(document, projectxml::kFilters, nullptr, mainFilters_);
        document.end();
    });
}

bool MeProject::loadProject(const std::string& file) {
    clear();
    XmlDocument document = readXmlFile(file, kProjectParseOptions);
    if (document && declaresEntities(document.get())) {
        writeLog(kLogError, kEntitiesRefused, file.c_str());
        return false;
    }
    xmlNodePtr root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!xmltree::hasName(root, projectxml::kRoot)) {
        return false;
    }
    xmltree::forEachElement(root, [this](xmlNodePtr container) {
        if (xmltree::hasName(container, projectxml::kClips)) {
            xmltree::forEachElement(container, [this](xmlNodePtr node) {
                std::shared_ptr<MeClip> clip;
                if (xmltree::hasName(node, projectxml::kComposeClip)) {
                    clip = std::make_shared<MeComposeClip>();
                } else {
                    clip = std::make_shared<MeClip>();
                }
                clip->readXml(node);
                clips_.emplace(clip->id(), clip);
            });
        } else if (xmltree::hasName(container, projectxml::kTracks)) {
            std::string type;
            xmltree::readAttribute(container, projectxml::kTypeAttribute, type);
            TrackedTracks& tracks =
                type == projectxml::kAudioTracksType ? audioTracks_ : videoTracks_;
            xmltree::forEachElement(container, [&tracks](xmlNodePtr node) {
                auto track = std::make_shared<MeTractor>();
                track->readXml(node);
                tracks.emplace(track->id(), track);
            });
        } else if (xmltree::hasName(container, projectxml::kTransitions)) {
            xmltree::forEachElement(container, [this](xmlNodePtr node) {
                auto transition = std::make_shared<MeTransition>();
                transition->readXml(node);
                transitions_.emplace(transition->id(), transition);
            });
        } else if (xmltree::hasName(container, projectxml::kFilters)) {
            xmltree::forEachElement(container, [this](xmlNodePtr node) {
                auto filter = std::make_shared<MeFilter>();
                filter->readXml(node);
                mainFilters_.push_back(filter);
            });
        }
    });
    return true;
}
