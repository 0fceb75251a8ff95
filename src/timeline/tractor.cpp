#include "timeline/tractor.h"

#include <algorithm>
#include <iterator>

#include "log/log.h"
#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {

const char kAddClipLog[] = "Add Clip : track=%s index=%d clipid=%s";
const char kDeleteFilterNoIdLog[] = "MeTractor: deleteFilter Failed to get filterID [%s]";
const char kDeleteFilterFailedLog[] = "MeTractor: deleteFilter Failed nIndex =%d strId = %s";

using Placements = MeTractor::Placements;

Placements::const_iterator findIn(const Placements& placements, const std::string& id) {
    return std::find_if(placements.begin(), placements.end(),
                        [&id](const auto& placement) { return placement->id() == id; });
}

std::shared_ptr<MePlayList> placementIn(const Placements& placements, const std::string& id) {
    auto found = findIn(placements, id);
    return found == placements.end() ? nullptr : *found;
}

int indexIn(const Placements& placements, const std::string& id) {
    auto found = findIn(placements, id);
    return found == placements.end() ? -1
                                     : static_cast<int>(std::distance(placements.begin(), found));
}

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
            placement->initFromJson(json);
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
    if (!placement || !placement->initFromJson(json)) {
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

void MeTractor::removeClip(const std::string& placementId) {
    auto found = findIn(placements_, placementId);
    if (found != placements_.end()) {
        placements_.erase(found);
    }
}

void MeTractor::removeAllPlacements() {
    placements_.clear();
}

std::shared_ptr<MePlayList> MeTractor::placementAt(int index) const {
    if (index < 0 || index >= static_cast<int>(placements_.size())) {
        return nullptr;
    }
    return *std::next(placements_.begin(), index);
}

std::shared_ptr<MePlayList> MeTractor::findPlacement(const std::string& placementId) const {
    return placementIn(placements_, placementId);
}

int MeTractor::indexOf(const std::string& placementId) const {
    return indexIn(placements_, placementId);
}

int MeTractor::positionOf(const std::string& placementId) const {
    long long position = 0;
    for (const auto& placement : placements_) {
        if (placement->id() == placementId) {
            return static_cast<int>(position);
        }
        position += decimalValue(placement->duration());
    }
    return -1;
}

bool MeTractor::insertAt(int index, std::shared_ptr<MePlayList> placement) {
    const int count = static_cast<int>(placements_.size());
    if (index > count || index < -1) {
        return false;
    }
    auto before = index == -1 ? placements_.end() : std::next(placements_.begin(), index);
    placements_.insert(before, std::move(placement));
    return true;
}

bool MeTractor::removeAt(int index) {
    if (index < 0 || index >= static_cast<int>(placements_.size())) {
        return false;
    }
    placements_.erase(std::next(placements_.begin(), index));
    return true;
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
                placements_.push_back(placement);
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

bool MeTractor::writeXml(xmlNodePtr parent) const {
    xmlNodePtr track = xmltree::appendElement(parent, projectxml::kTrack);
    service_.writeXml(track);
    xmltree::appendText(track, projectxml::kType, trackType_);
    xmltree::appendText(track, projectxml::kVisible, visible_ ? "1" : "0");
    xmltree::appendText(track, projectxml::kMain, main_ ? "1" : "0");
    if (!placements_.empty()) {
        xmlNodePtr playlists = xmltree::appendElement(track, projectxml::kPlaylists);
        for (const auto& placement : placements_) {
            placement->writeXml(playlists);
        }
    }
    if (!transitions_.empty()) {
        xmlNodePtr transitions = xmltree::appendElement(track, projectxml::kTransitions);
        for (const auto& entry : transitions_) {
            entry.second->writeXml(transitions);
        }
    }
    if (!filters_.empty() || !webvfxFilters_.empty()) {
        xmlNodePtr filters = xmltree::appendElement(track, projectxml::kFilters);
        for (const Filters* list : {&filters_, &webvfxFilters_}) {
            for (const auto& filter : *list) {
                filter->writeXml(filters);
            }
        }
    }
    if (!multiFilters_.empty()) {
        xmlNodePtr multiFilters = xmltree::appendElement(track, projectxml::kMultiFilters);
        for (const auto& entry : multiFilters_) {
            entry.second->writeXml(multiFilters);
        }
    }
    return true;
}

xmlNodePtr MeTractor::writeTrackReference(xmlNodePtr tractor, const std::string& producerId,
                                          const std::string& trackType) {
    xmlNodePtr track = xmltree::appendElement(tractor, mltxml::kTrack);
    xmltree::setAttribute(track, mltxml::kProducerAttribute, producerId);
    if (trackType == modelkind::kVideoOnly) {
        xmltree::setAttribute(track, mltxml::kHideAttribute, mltxml::kHideAudio);
    } else if (trackType == modelkind::kAudioOnly) {
        xmltree::setAttribute(track, mltxml::kHideAttribute, mltxml::kHideVideo);
    }
    return track;
}

void MeTractor::writeMltXml(xmlNodePtr container) {
    if (main_) {
        writeMainForm(container);
        return;
    }
    for (const auto& placement : placements_) {
        placement->writeMltXml(container);
    }
    writeTractorElement(container, placements_);
}

xmlNodePtr MeTractor::writeTractorElement(xmlNodePtr container,
                                          const Placements& placements) const {
    xmlNodePtr tractor = service_.writeMltElement(container, false);
    for (const auto& placement : placements) {
        writeTrackReference(tractor, placement->id(), trackType_);
    }
    for (const Filters* list : {&filters_, &webvfxFilters_}) {
        for (const auto& filter : *list) {
            filter->writeMltXml(tractor, true);
        }
    }
    return tractor;
}

void MeTractor::writeMainForm(xmlNodePtr container) {
    relayout();
    // Heads, tails and transition frames are worked out on copies: the
    // stored placements and transitions keep the client's values.
    Placements copies;
    for (const auto& placement : placements_) {
        copies.push_back(std::make_shared<MePlayList>(*placement));
    }
    std::vector<MeTransition> laidOut;
    for (const auto& entry : transitions_) {
        MeTransition transition = *entry.second;
        auto a = placementIn(copies, transition.aPlaylistId());
        auto b = placementIn(copies, transition.bPlaylistId());
        if (a && b) {
            const long long aLength =
                static_cast<long long>(decimalValue(a->out())) - decimalValue(a->in()) + 1;
            const int framesBefore = decimalValue(transition.in());
            const int framesAfter = decimalValue(transition.out());
            const long long startA = positionOf(a->id());
            const long long startB = positionOf(b->id());
            transition.setIn(decimalText(startA + aLength - framesBefore));
            transition.setOut(decimalText(startB + framesAfter - 1));
            a->setTailRepeat(framesAfter);
            b->setHeadRepeat(framesBefore);
        }
        laidOut.push_back(transition);
    }
    for (const auto& placement : copies) {
        placement->writeMltXml(container);
    }
    xmlNodePtr tractor = writeTractorElement(container, copies);
    for (MeTransition& transition : laidOut) {
        transition.setTracks(indexIn(copies, transition.aPlaylistId()),
                             indexIn(copies, transition.bPlaylistId()));
        transition.writeMltXml(tractor);
    }
}
