#include "timeline/tractor.h"

#include <algorithm>
#include <unordered_map>

#include "log/log.h"
#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"
#include "timeline/xml_tree_builder.h"

namespace {

const char kAddClipLog[] = "Add Clip : track=%s index=%d clipid=%s";
const char kDeleteFilterNoIdLog[] = "MeTractor: deleteFilter Failed to get filterID [%s]";
const char kDeleteFilterFailedLog[] = "MeTractor: deleteFilter Failed nIndex =%d strId = %s";

// The optional "Index" of a filter command: absent means the whole track.
int readIndex(CParseJson& json) {
    int index = -1;
    json.getInt(jsonkey::kIndex, index);
    return index;
}

template <typename Filters>
bool eraseFirstWithId(Filters& filters, const std::string& id) {
    auto found = std::find_if(filters.begin(), filters.end(),
                              [&id](const auto& filter) { return filter->id() == id; });
    if (found == filters.end()) {
        return false;
    }
    filters.erase(found);
    return true;
}

}  // namespace

MeTractor::MeTractor() : service_(mltxml::kTractor) {}

bool MeTractor::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json) || !json.getString(jsonkey::kType, trackType_)) {
        return false;
    }
    if (!json.getBool(jsonkey::kMain, main_)) {
        main_ = false;
    }
    return true;
}

bool MeTractor::addClip(CParseJson& json, const std::string& mediaId) {
    auto placement = std::make_shared<MePlayList>();
    placement->initFromJson(json);
    placement->setMediaId(mediaId);
    int index = 0;
    if (!json.getInt(jsonkey::kIndex, index)) {
        return false;
    }
    writeLog(kLogVerbose, kAddClipLog, service_.id().c_str(), index, placement->id().c_str());
    return insertAt(index, placement);
}

bool MeTractor::alterClip(CParseJson& json, const std::string& mediaId) {
    int indexOld = 0;
    int indexNew = 0;
    std::string trackId;
    if (!json.getInt(jsonkey::kIndexOld, indexOld) || !json.getInt(jsonkey::kIndexNew, indexNew) ||
        !json.getString(jsonkey::kTrackId, trackId)) {
        return false;
    }
    std::string id;
    const bool byIdentifier = indexOld == -1 || indexNew == -1 ||
                              trackId == modelkind::kAudioTrack0 ||
                              trackId == modelkind::kAudioTrack1;
    if (byIdentifier) {
        if (!json.getString(jsonkey::kId, id)) {
            return false;
        }
        if (auto placement = findPlacement(id)) {
            refill(*placement, json);
            placement->setMediaId(mediaId);
            return true;
        }
        // On the audio tracks an unknown identifier may still refill the
        // placement in place; nothing is moved there by index.
        if (indexOld == -1 || indexNew == -1 || indexOld != indexNew) {
            return false;
        }
    }
    auto placement = placementAt(indexOld);
    if (!placement || !refill(*placement, json)) {
        return false;
    }
    placement->setMediaId(mediaId);
    if (indexOld != indexNew) {
        auto moved = std::make_shared<MePlayList>(*placement);
        removeAt(indexOld);
        insertAt(indexNew, moved);
    }
    return true;
}

bool MeTractor::refill(MePlayList& placement, CParseJson& json) {
    const std::string previousId = placement.id();
    const bool filled = placement.initFromJson(json);
    placements_.refile(placement, previousId);
    return filled;
}

void MeTractor::removeClip(const std::string& placementId) {
    placements_.removeAt(placements_.indexOf(placementId));
}

void MeTractor::removeAllPlacements() {
    placements_.clear();
}

std::shared_ptr<MePlayList> MeTractor::placementAt(int index) const {
    return placements_.at(index);
}

std::shared_ptr<MePlayList> MeTractor::findPlacement(const std::string& placementId) const {
    return placements_.find(placementId);
}

int MeTractor::indexOf(const std::string& placementId) const {
    return placements_.indexOf(placementId);
}

int MeTractor::positionOf(const std::string& placementId) const {
    const int index = placements_.indexOf(placementId);
    if (index < 0) {
        return -1;
    }
    long long position = 0;
    for (auto placement = placements_.begin(); placement != placements_.begin() + index;
         ++placement) {
        position += decimalValue((*placement)->duration());
    }
    return static_cast<int>(position);
}

bool MeTractor::insertAt(int index, std::shared_ptr<MePlayList> placement) {
    return placements_.insert(index, std::move(placement));
}

bool MeTractor::removeAt(int index) {
    return placements_.removeAt(index);
}

void MeTractor::relayout() {
    long long position = 0;
    for (const auto& placement : placements_) {
        placement->setBlankLength(decimalText(position));
        position += decimalValue(placement->duration());
    }
}

std::vector<std::string> MeTractor::mediaIds() const {
    std::vector<std::string> ids;
    for (const auto& placement : placements_) {
        ids.push_back(placement->mediaId());
    }
    return ids;
}

void MeTractor::keepFilter(std::shared_ptr<MeFilter> filter) {
    // Webvfx filters draw over everything else, so they always come last.
    if (filter->effectName() == modelkind::kWebvfxFilter) {
        webvfxFilters_.push_back(std::move(filter));
    } else {
        filters_.push_back(std::move(filter));
    }
}

bool MeTractor::addFilter(CParseJson& json) {
    const int index = readIndex(json);
    if (index != -1) {
        auto placement = placementAt(index);
        return placement && placement->addFilter(json);
    }
    auto filter = std::make_shared<MeFilter>();
    if (!filter->initFromJson(json)) {
        return false;
    }
    keepFilter(filter);
    return true;
}

bool MeTractor::alterFilter(CParseJson& json) {
    std::string id;
    if (!json.getString(jsonkey::kId, id)) {
        return false;
    }
    deleteFilter(readIndex(json), id);
    return addFilter(json);
}

bool MeTractor::addMultiFilter(CParseJson& json) {
    const int index = readIndex(json);
    if (index != -1) {
        auto placement = placementAt(index);
        return placement && placement->addMultiFilter(json);
    }
    auto multiFilter = std::make_shared<MeMultiFilter>();
    if (!multiFilter->initFromJson(json)) {
        return false;
    }
    multiFilters_.emplace(multiFilter->id(), multiFilter);
    return true;
}

bool MeTractor::alterMultiFilter(CParseJson& json) {
    std::string id;
    if (!json.getString(jsonkey::kId, id)) {
        return false;
    }
    deleteFilter(readIndex(json), id);
    return addMultiFilter(json);
}

bool MeTractor::deleteFilter(CParseJson& json) {
    std::string filterId;
    if (!json.getString(jsonkey::kFilterId, filterId)) {
        writeLog(kLogError, kDeleteFilterNoIdLog, json.styledText().c_str());
        return false;
    }
    return deleteFilter(readIndex(json), filterId);
}

bool MeTractor::deleteFilter(int index, const std::string& filterId) {
    if (index == -1) {
        if (eraseFirstWithId(filters_, filterId) || eraseFirstWithId(webvfxFilters_, filterId) ||
            multiFilters_.erase(filterId) > 0) {
            return true;
        }
    } else if (auto placement = placementAt(index)) {
        return placement->deleteFilter(filterId);
    }
    writeLog(kLogError, kDeleteFilterFailedLog, index, filterId.c_str());
    return false;
}

bool MeTractor::addTransition(CParseJson& json) {
    auto transition = std::make_shared<MeTransition>();
    if (!transition->initFromJson(json)) {
        return false;
    }
    auto a = placementAt(transition->aIndex());
    auto b = placementAt(transition->bIndex());
    if (!a || !b) {
        return false;
    }
    transition->setAPlaylistId(a->id());
    transition->setBPlaylistId(b->id());
    transitions_.emplace(transition->id(), transition);
    return true;
}

bool MeTractor::alterTransition(CParseJson& json) {
    std::string id;
    if (!json.getString(jsonkey::kId, id)) {
        return false;
    }
    transitions_.erase(id);
    return addTransition(json);
}

bool MeTractor::eraseTransition(const std::string& transitionId) {
    return transitions_.erase(transitionId) > 0;
}

bool MeTractor::readXml(xmlNodePtr track) {
    service_.readXml(track->children);
    for (xmlNodePtr child = track->children; child != nullptr; child = child->next) {
        int flag = 0;
        if (xmltree::hasName(child, projectxml::kType)) {
            xmltree::readText(child, trackType_);
        } else if (xmltree::hasName(child, projectxml::kVisible)) {
            if (xmltree::readNumber(child, flag)) {
                visible_ = flag != 0;
            }
        } else if (xmltree::hasName(child, projectxml::kMain)) {
            if (xmltree::readNumber(child, flag)) {
                main_ = flag != 0;
            }
        } else if (xmltree::hasName(child, projectxml::kPlaylists)) {
            xmltree::forEachElement(child, [this](xmlNodePtr node) {
                auto placement = std::make_shared<MePlayList>();
                placement->readXml(node);
                placements_.append(placement);
            });
        } else if (xmltree::hasName(child, projectxml::kTransitions)) {
            xmltree::forEachElement(child, [this](xmlNodePtr node) {
                auto transition = std::make_shared<MeTransition>();
                transition->readXml(node);
                transitions_.emplace(transition->id(), transition);
            });
        } else if (xmltree::hasName(child, projectxml::kFilters)) {
            xmltree::forEachElement(child, [this](xmlNodePtr node) {
                auto filter = std::make_shared<MeFilter>();
                filter->readXml(node);
                keepFilter(filter);
            });
        } else if (xmltree::hasName(child, projectxml::kMultiFilters)) {
            xmltree::forEachElement(child, [this](xmlNodePtr node) {
                auto multiFilter = std::make_shared<MeMultiFilter>();
                multiFilter->readXml(node);
                multiFilters_.emplace(multiFilter->id(), multiFilter);
            });
        }
    }
    return true;
}

bool MeTractor::writeXml(XmlSink& sink) const {
    sink.begin(projectxml::kTrack);
    service_.writeXml(sink);
    sink.textElement(projectxml::kType, trackType_);
    sink.textElement(projectxml::kVisible, visible_ ? "1" : "0");
    sink.textElement(projectxml::kMain, main_ ? "1" : "0");
    if (!placements_.empty()) {
        sink.begin(projectxml::kPlaylists);
        for (const auto& placement : placements_) {
            placement->writeXml(sink);
        }
        sink.end();
    }
    if (!transitions_.empty()) {
        sink.begin(projectxml::kTransitions);
        for (const auto& entry : transitions_) {
            entry.second->writeXml(sink);
        }
        sink.end();
    }
    if (!filters_.empty() || !webvfxFilters_.empty()) {
        sink.begin(projectxml::kFilters);
        for (const Filters* list : {&filters_, &webvfxFilters_}) {
            for (const auto& filter : *list) {
                filter->writeXml(sink);
            }
        }
        sink.end();
    }
    if (!multiFilters_.empty()) {
        sink.begin(projectxml::kMultiFilters);
        for (const auto& entry : multiFilters_) {
            entry.second->writeXml(sink);
        }
        sink.end();
    }
    sink.end();
    return true;
}

bool MeTractor::writeXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeXml(sink); });
    return true;
}

void MeTractor::writeTrackReference(XmlSink& sink, const std::string& producerId,
                                    const std::string& trackType) {
    sink.begin(mltxml::kTrack);
    sink.attribute(mltxml::kProducerAttribute, producerId);
    if (trackType == modelkind::kVideoOnly) {
        sink.attribute(mltxml::kHideAttribute, mltxml::kHideAudio);
    } else if (trackType == modelkind::kAudioOnly) {
        sink.attribute(mltxml::kHideAttribute, mltxml::kHideVideo);
    }
    sink.end();
}

void MeTractor::writeMltXml(XmlSink& sink) {
    if (main_) {
        writeMainForm(sink);
        return;
    }
    for (const auto& placement : placements_) {
        placement->writeMltXml(sink);
    }
    beginTractorElement(sink);
    sink.end();
}

void MeTractor::writeMltXml(xmlNodePtr container) {
    writeUnder(container, [this](XmlSink& sink) { writeMltXml(sink); });
}

void MeTractor::beginTractorElement(XmlSink& sink) const {
    service_.writeMltElement(sink, false);
    for (const auto& placement : placements_) {
        writeTrackReference(sink, placement->id(), trackType_);
    }
    for (const Filters* list : {&filters_, &webvfxFilters_}) {
        for (const auto& filter : *list) {
            filter->writeMltXml(sink, true);
        }
    }
}

void MeTractor::writeMainForm(XmlSink& sink) {
    relayout();
    // Heads, tails and transition frames are worked out on copies: the
    // stored placements and transitions keep the client's values. Every
    // placement is looked up by the first index of its identifier, once.
    std::vector<PlacementTiming> timings;
    std::vector<int> starts;
    std::unordered_map<std::string, size_t> firstIndex;
    timings.reserve(placements_.size());
    starts.reserve(placements_.size());
    long long position = 0;
    for (const auto& placement : placements_) {
        firstIndex.emplace(placement->id(), timings.size());
        timings.push_back(placement->timing());
        starts.push_back(static_cast<int>(position));
        position += decimalValue(placement->duration());
    }
    auto indexOfId = [&firstIndex](const std::string& id) {
        auto found = firstIndex.find(id);
        return found == firstIndex.end() ? -1 : static_cast<int>(found->second);
    };
    std::vector<MeTransition> laidOut;
    laidOut.reserve(transitions_.size());
    for (const auto& entry : transitions_) {
        MeTransition transition = *entry.second;
        const int a = indexOfId(transition.aPlaylistId());
        const int b = indexOfId(transition.bPlaylistId());
        if (a >= 0 && b >= 0) {
            const MePlayList& placementA = *placements_.at(a);
            const MePlayList& placementB = *placements_.at(b);
            const long long aLength = static_cast<long long>(decimalValue(placementA.out())) -
                                      decimalValue(placementA.in()) + 1;
            const int framesBefore = decimalValue(transition.in());
            const int framesAfter = decimalValue(transition.out());
            const long long startA = starts[static_cast<size_t>(a)];
            const long long startB = starts[static_cast<size_t>(b)];
            transition.setIn(decimalText(startA + aLength - framesBefore));
            transition.setOut(decimalText(startB + framesAfter - 1));
            timings[static_cast<size_t>(a)].setTailRepeat(framesAfter, placementA.out());
            timings[static_cast<size_t>(b)].setHeadRepeat(framesBefore, placementB.in());
        }
        laidOut.push_back(std::move(transition));
    }
    size_t index = 0;
    for (const auto& placement : placements_) {
        placement->writeMltXml(sink, timings[index++]);
    }
    beginTractorElement(sink);
    for (MeTransition& transition : laidOut) {
        transition.setTracks(indexOfId(transition.aPlaylistId()),
                             indexOfId(transition.bPlaylistId()));
        transition.writeMltXml(sink);
    }
    sink.end();
}
