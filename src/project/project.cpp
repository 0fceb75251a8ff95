#include "project/project.h"

#include <memory>

#include "log/log.h"
#include "timeline/compose_clip.h"
#include "timeline/model_names.h"

namespace {

const char kTrackIdMissingLog[] = "Get Transition Id Failed";
const char kFilterIdMissingLog[] = "Get FilterID Id Failed";
const char kClipReplacedLog[] = "find difference clip";
const char kDeleteFilterFailedLog[] = "MeProject:deleteFilter Failed [%s]";

bool isVideoTrackType(const std::string& type) {
    return type == modelkind::kComposite || type == modelkind::kVideoOnly;
}

bool isAudioTrackType(const std::string& type) {
    return type == modelkind::kAudioOnly || type == modelkind::kAudio;
}

// The "TrackID" of a filter command; its absence is logged.
bool readFilterTrack(CParseJson& json, std::string& trackId) {
    if (json.getString(jsonkey::kTrackId, trackId)) {
        return true;
    }
    writeLog(kLogError, kTrackIdMissingLog);
    return false;
}

void eraseFiltersWithId(MeProject::FilterList& filters, const std::string& filterId) {
    filters.remove_if([&filterId](const auto& filter) { return filter->id() == filterId; });
}

}  // namespace

std::shared_ptr<MeTractor> MeProject::findTrack(const std::string& trackId) const {
    for (const Tracks* tracks : {&videoTracks(), &audioTracks()}) {
        auto found = tracks->find(trackId);
        if (found != tracks->end()) {
            return found->second;
        }
    }
    return nullptr;
}

void MeProject::eraseClipsOf(const MeTractor& track) {
    for (const std::string& mediaId : track.mediaIds()) {
        clips_.erase(mediaId);
    }
}

bool MeProject::addTrack(CParseJson& json) {
    auto track = std::make_shared<MeTractor>();
    if (!track->initFromJson(json)) {
        return false;
    }
    if (isVideoTrackType(track->trackType())) {
        videoTracks_.emplace(track->id(), track);
    } else if (isAudioTrackType(track->trackType())) {
        audioTracks_.emplace(track->id(), track);
    } else {
        return false;
    }
    return true;
}

bool MeProject::deleteTrack(CParseJson& json) {
    std::string trackId;
    if (!json.getString(jsonkey::kTrackId, trackId)) {
        return false;
    }
    if (auto track = findTrack(trackId)) {
        eraseClipsOf(*track);
    }
    if (videoTracks_.erase(trackId) == 0) {
        audioTracks_.erase(trackId);
    }
    return true;
}

bool MeProject::deleteAllTrack() {
    videoTracks_.clear();
    audioTracks_.clear();
    clips_.clear();
    return true;
}

// A plain clip is a compose clip without sub-clips, so both commands store one.
bool MeProject::addClip(CParseJson& json) {
    return placeClip(json, std::make_shared<MeComposeClip>());
}

bool MeProject::addComposeClip(CParseJson& json) {
    return addClip(json);
}

bool MeProject::placeClip(CParseJson& json, std::shared_ptr<MeClip> clip) {
    std::string trackId;
    if (!json.getString(jsonkey::kTrackId, trackId) || !clip->initFromJson(json)) {
        return false;
    }
    clips_.emplace(clip->id(), clip);
    auto track = findTrack(trackId);
    return track && track->addClip(json, clip->id());
}

bool MeProject::alterClip(CParseJson& json) {
    return replaceClip(json, std::make_shared<MeClip>());
}

bool MeProject::alterComposeClip(CParseJson& json) {
    return replaceClip(json, std::make_shared<MeComposeClip>());
}

bool MeProject::replaceClip(CParseJson& json, std::shared_ptr<MeClip> clip) {
    std::string trackId;
    if (!json.getString(jsonkey::kTrackId, trackId) || !clip->initFromJson(json)) {
        return false;
    }
    auto track = findTrack(trackId);
    std::string oldMedia = trackId;
    std::string placementId;
    if (track && json.getString(jsonkey::kId, placementId)) {
        if (auto placement = track->findPlacement(placementId)) {
            oldMedia = placement->mediaId();
        }
    }
    auto existing = clips().find(clip->id());
    if (existing != clips().end()) {
        // The clip keeps its identity: other snapshots may share it.
        existing->second->initFromJson(json);
    } else {
        clips_.erase(oldMedia);
        clips_.emplace(clip->id(), clip);
        writeLog(kLogInfo, kClipReplacedLog);
    }
    return track && track->alterClip(json, clip->id());
}

bool MeProject::deleteClip(CParseJson& json) {
    std::string trackId;
    if (!json.getString(jsonkey::kTrackId, trackId)) {
        return false;
    }
    int index = -1;
    json.getInt(jsonkey::kIndex, index);
    std::string clipId;
    json.getString(jsonkey::kClipId, clipId);
    auto track = findTrack(trackId);
    if (!track) {
        return false;
    }
    auto placement = index == -1 ? track->findPlacement(clipId) : track->placementAt(index);
    if (!placement) {
        return false;
    }
    track->removeClip(placement->id());
    clips_.erase(placement->mediaId());
    return true;
}

bool MeProject::deleteAllClip(CParseJson& json) {
    std::string trackId;
    if (!json.getString(jsonkey::kTrackId, trackId)) {
        return false;
    }
    auto track = findTrack(trackId);
    if (!track) {
        return false;
    }
    eraseClipsOf(*track);
    track->removeAllPlacements();
    return true;
}

bool MeProject::addTransition(CParseJson& json) {
    return addTransition(json, false);
}

bool MeProject::alterTransition(CParseJson& json) {
    return addTransition(json, true);
}

bool MeProject::addTransition(CParseJson& json, bool replace) {
    std::string trackIdA;
    std::string trackIdB;
    if (!json.getString(jsonkey::kTrackIdA, trackIdA) ||
        !json.getString(jsonkey::kTrackIdB, trackIdB)) {
        return false;
    }
    if (trackIdA == trackIdB) {
        auto track = findTrack(trackIdA);
        if (!track) {
            return false;
        }
        return replace ? track->alterTransition(json) : track->addTransition(json);
    }
    // Between tracks a transition is kept even when its fields are incomplete.
    auto transition = std::make_shared<MeTransition>();
    transition->initFromJson(json);
    if (replace) {
        transitions_.erase(transition->id());
    }
    transitions_.emplace(transition->id(), transition);
    return true;
}

bool MeProject::deleteTransition(CParseJson& json) {
    std::string transitionId;
    if (!json.getString(jsonkey::kTransitionId, transitionId)) {
        writeLog(kLogError, kTrackIdMissingLog);
        return false;
    }
    for (const Tracks* tracks : {&videoTracks(), &audioTracks()}) {
        for (const auto& entry : *tracks) {
            if (entry.second->eraseTransition(transitionId)) {
                return true;
            }
        }
    }
    return transitions_.erase(transitionId) > 0;
}

bool MeProject::addFilter(CParseJson& json) {
    std::string trackId;
    if (!readFilterTrack(json, trackId)) {
        return false;
    }
    if (trackId == mltxml::kMainTractorId) {
        auto filter = std::make_shared<MeFilter>();
        if (!filter->initFromJson(json)) {
            return false;
        }
        mainFilters_.push_back(filter);
        return true;
    }
    auto track = findTrack(trackId);
    return track && track->addFilter(json);
}

bool MeProject::alterFilter(CParseJson& json) {
    std::string trackId;
    if (!readFilterTrack(json, trackId)) {
        return false;
    }
    if (trackId != mltxml::kMainTractorId) {
        auto track = findTrack(trackId);
        return track && track->alterFilter(json);
    }
    std::string filterId;
    if (!json.getString(jsonkey::kFilterId, filterId)) {
        return false;
    }
    eraseFiltersWithId(mainFilters_, filterId);
    auto filter = std::make_shared<MeFilter>();
    if (!filter->initFromJson(json)) {
        return false;
    }
    mainFilters_.push_back(filter);
    return true;
}

bool MeProject::deleteFilter(CParseJson& json) {
    std::string trackId;
    if (!readFilterTrack(json, trackId)) {
        return false;
    }
    if (trackId == mltxml::kMainTractorId) {
        std::string filterId;
        if (!json.getString(jsonkey::kFilterId, filterId)) {
            writeLog(kLogError, kFilterIdMissingLog);
            return false;
        }
        eraseFiltersWithId(mainFilters_, filterId);
        return true;
    }
    auto track = findTrack(trackId);
    if (!track) {
        return false;
    }
    if (!track->deleteFilter(json)) {
        writeLog(kLogError, kDeleteFilterFailedLog, json.styledText().c_str());
        return false;
    }
    return true;
}

bool MeProject::addMultiFilter(CParseJson& json) {
    std::string trackId;
    if (!readFilterTrack(json, trackId)) {
        return false;
    }
    auto track = findTrack(trackId);
    return track && track->addMultiFilter(json);
}

bool MeProject::alterMultiFilter(CParseJson& json) {
    std::string trackId;
    if (!readFilterTrack(json, trackId)) {
        return false;
    }
    auto track = findTrack(trackId);
    return track && track->alterMultiFilter(json);
}

void MeProject::clear() {
    videoTracks_.clear();
    audioTracks_.clear();
    transitions_.clear();
    mainFilters_.clear();
    clips_.clear();
}

void MeProject::copy(const MeProject& from, MeProject& to) {
    if (&from == &to) {
        return;
    }
    to.videoTracks_.assign(from.videoTracks());
    to.audioTracks_.assign(from.audioTracks());
    to.transitions_.assign(from.transitions());
    to.mainFilters_ = from.mainFilters_;
    to.clips_.assign(from.clips());
}
