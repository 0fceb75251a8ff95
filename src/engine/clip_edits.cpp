// Clip edits: building, altering, moving and removing the clip playlists of a
// track tractor and their source producers.
#include <optional>

#include "engine/engine_names.h"
#include "engine/graph.h"
#include "engine/mlt_helper.h"
#include "log/log.h"
#include "media/mlt_handles.h"

using namespace mltnames;

struct MltHelper::ClipRequest {
    std::string trackId;
    std::string id;
    std::string mltService;
    std::string resource;  // already made absolute against the cache path
    int in = 0;
    int out = 0;
    int length = 0;  // 0 when not given
};

namespace {

// Reads an optional time value; false when it is absent.
bool optionalFrames(CParseJson& content, const char* key, int& value) {
    std::string text;
    if (!content.getString(key, text)) {
        return false;
    }
    value = mltgraph::frames(text);
    return true;
}

// A clip's source producer, through the default loader: "<service>:<resource>".
media::ProducerHandle makeSource(mlt_profile profile, const std::string& service,
                                 const std::string& resource) {
    const std::string locator = service + ":" + resource;
    return media::ProducerHandle::adopt(mlt_factory_producer(profile, nullptr, locator.c_str()));
}

void resizeFreeze(mlt_playlist playlist, int index, int frame) {
    if (mltgraph::entryRepeat(playlist, index) > 1) {
        mlt_playlist_resize_clip(playlist, index, frame, frame);
    }
}

// Puts producer in place of a freeze at index, keeping its repeat count.
void replaceFreeze(mlt_playlist playlist, int index, mlt_producer producer, int frame) {
    int repeat = mltgraph::entryRepeat(playlist, index);
    if (repeat <= 1) {
        return;
    }
    mlt_playlist_remove(playlist, index);
    mlt_playlist_insert(playlist, producer, index, frame, frame);
    mlt_playlist_repeat_clip(playlist, index, repeat);
}

// The leading blank of an altered clip: n frames, none when n is 0.
void applyBlankLength(mlt_playlist playlist, int n) {
    if (n < 0) {
        return;
    }
    if (mltgraph::entryIsBlank(playlist, 0)) {
        if (n > 0) {
            mlt_playlist_resize_clip(playlist, 0, 0, n - 1);
        } else {
            mlt_playlist_remove(playlist, 0);
        }
    } else if (n > 0) {
        mlt_playlist_insert_blank(playlist, 0, n - 1);
    }
}

}  // namespace

mlt_playlist MltHelper::createClipTrack(CParseJson& content, mlt_profile profile) {
    std::string trackId;
    std::string id;
    int index = 0;
    if (!content.getString(kTrackId, trackId) || !content.getString(kId, id) ||
        !content.getInt(kIndex, index)) {
        return nullptr;
    }
    mlt_tractor tractor = findTractor(trackId);
    if (tractor == nullptr) {
        return nullptr;
    }
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    int count = mlt_multitrack_count(multitrack);
    if (index == -1) {
        index = count;
    }
    if (index < 0 || index > count) {
        return nullptr;
    }
    media::ProducerHandle created =
        media::ProducerHandle::adopt(mlt_playlist_producer(mlt_playlist_new(profile)));
    if (!created) {
        return nullptr;
    }
    mlt_properties_set(MLT_PRODUCER_PROPERTIES(created.get()), kPropId, id.c_str());
    {
        // The caller refreshes the tractor once its edit is complete.
        Unheard unheard(MLT_MULTITRACK_PROPERTIES(multitrack), tractor);
        mlt_tractor_insert_track(tractor, created.get(), index);
    }
    created.reset();  // the multitrack holds its own reference
    return mltgraph::trackPlaylist(multitrack, index);
}

bool MltHelper::addClip(CParseJson& content, mlt_profile profile) {
    ClipRequest request;
    std::string in;
    std::string out;
    int index = 0;
    if (!content.getString(kTrackId, request.trackId) ||
        !content.getString(kMltService, request.mltService) ||
        !content.getString(kResource, request.resource) || !content.getString(kOut, out) ||
        !content.getString(kIn, in) || !content.getString(kId, request.id) ||
        !content.getInt(kIndex, index)) {
        return false;
    }
    request.in = mltgraph::frames(in);
    request.out = mltgraph::frames(out);
    mlt_playlist playlist = createClipTrack(content, profile);
    mlt_tractor tractor = findTractor(request.trackId);
    // An index beyond the track is no failure: the clip simply has no engine playlist.
    if (playlist != nullptr) {
        bool filled = false;
        {
            Unheard unheard(MLT_PLAYLIST_PROPERTIES(playlist), mlt_tractor_multitrack(tractor));
            filled = fillClipTrack(playlist, request, content, profile);
        }
        if (!filled) {
            mlt_tractor_refresh(tractor);
            return false;
        }
    }
    if (tractor != nullptr) {
        if (request.trackId == kMainTrack) {
            relayoutMainTrack(tractor);
        } else {
            mlt_tractor_refresh(tractor);
        }
    }
    graphChanged();
    return true;
}

bool MltHelper::fillClipTrack(mlt_playlist playlist, const ClipRequest& request,
                              CParseJson& content, mlt_profile profile) {
    int blank = 0;
    if (optionalFrames(content, kBlankLength, blank) && blank > 0) {
        mlt_playlist_insert_blank(playlist, 0, blank - 1);
    }
    // A clip sent with the identifier of an existing one shares its source producer.
    mlt_producer source = nullptr;
    media::ProducerHandle created;
    std::string oldId;
    if (content.getString(kOldId, oldId)) {
        mlt_playlist old = findPlaylist(oldId);
        int main = mainEntryIndex(old);
        if (main >= 0) {
            source = mltgraph::entrySource(old, main);
        }
    }
    if (source == nullptr) {
        created = makeSource(profile, request.mltService, qualifyPath(request.resource));
        source = created.get();
    }
    if (source == nullptr) {
        writeLog(kLogError, "%s", mltlog::kCreateProducerFailed);
        return false;
    }
    mlt_properties properties = MLT_PRODUCER_PROPERTIES(source);
    int length = 0;
    if (optionalFrames(content, kLength, length) && length > 0) {
        mlt_properties_set_int(properties, kPropLength, length);
    }
    applyPropertyObject(properties, content);
    qualifyProducerPaths(properties);
    applySubClips(properties, content);
    mlt_properties_set_int(properties, kPropCache, 10);
    mlt_playlist_append_io(playlist, source, request.in, request.out);
    int repeat = 0;
    if (optionalFrames(content, kRepeat, repeat) && repeat > 0) {
        mlt_playlist_repeat_clip(playlist, mlt_playlist_count(playlist) - 1, repeat);
    }
    std::string type;
    if (content.getString(kType, type) && type == kMediaVideo) {
        mlt_properties_set_int(MLT_PLAYLIST_PROPERTIES(playlist), kPropHide, 2);
    }
    return true;
}

bool MltHelper::alterClip(CParseJson& content, mlt_profile profile) {
    ClipRequest request;
    std::string in;
    std::string out;
    int indexNew = 0;
    int indexOld = 0;
    if (!content.getString(kId, request.id) || !content.getString(kTrackId, request.trackId) ||
        !content.getInt(kIndexNew, indexNew) || !content.getInt(kIndexOld, indexOld) ||
        !content.getString(kIn, in) || !content.getString(kOut, out) ||
        !content.getString(kResource, request.resource) ||
        !content.getString(kMltService, request.mltService)) {
        writeLog(kLogError, "%s", mltlog::kAlterGetPropertyFailed);
        return false;
    }
    request.in = mltgraph::frames(in);
    request.out = mltgraph::frames(out);
    optionalFrames(content, kLength, request.length);
    request.resource = qualifyPath(request.resource);

    // On the main track the multitrack is re-timed once, by the relayout at the
    // end; the clip's own changes need not each re-time the whole track list.
    mlt_tractor mainTractor = request.trackId == kMainTrack ? findTractor(kMainTrack) : nullptr;
    RetimeOnce retime(mainTractor);

    // Without a playlist of that identifier only the move is done.
    if (mlt_playlist playlist = findPlaylist(request.id)) {
        std::optional<Unheard> unheard;
        if (mainTractor != nullptr) {
            unheard.emplace(MLT_PLAYLIST_PROPERTIES(playlist), mlt_tractor_multitrack(mainTractor));
        }
        int main = mainEntryIndex(playlist);
        if (main < 0) {
            writeLog(kLogError, "%s", mltlog::kAlterGetProducerFailed);
            return false;
        }
        mlt_producer source = mltgraph::entrySource(playlist, main);
        bool force = false;
        std::string type;
        if (content.getString(kType, type)) {
            mlt_properties playlistProperties = MLT_PLAYLIST_PROPERTIES(playlist);
            if (type == kMediaVideo) {
                mlt_properties_set_int(playlistProperties, kPropHide, 2);
            } else if (type == kMediaComposite) {
                mlt_properties_set_int(playlistProperties, kPropHide, 0);
                force = true;
            }
        }
        const char* old = mltgraph::text(MLT_PRODUCER_PROPERTIES(source), kPropResource);
        bool replace = (old != nullptr && request.resource != old) ||
                       (force && request.mltService == kServiceAvformat);
        if (replace) {
            if (!replaceSource(playlist, main, request, content, profile)) {
                return false;
            }
        } else {
            resizeInPlace(playlist, main, request, content);
        }
        int blank = 0;
        if (optionalFrames(content, kBlankLength, blank)) {
            writeLog(kLogInfo, "%s", mltlog::kAlterResizeBlank);
            applyBlankLength(playlist, blank);
        }
    }

    mlt_tractor tractor = findTractor(request.trackId);
    if (tractor == nullptr) {
        return false;
    }
    if (indexNew != indexOld && !moveClipTrack(tractor, indexOld, indexNew)) {
        return false;
    }
    if (request.trackId == kMainTrack) {
        relayoutMainTrack(tractor);
        retime.done();
    }
    graphChanged();
    return true;
}

bool MltHelper::replaceSource(mlt_playlist playlist, int mainEntry, const ClipRequest& request,
                              CParseJson& content, mlt_profile profile) {
    mlt_producer source = mltgraph::entrySource(playlist, mainEntry);
    writeLog(
        kLogError, mltlog::kAlterNewProducer,
        mltgraph::orEmpty(mltgraph::text(MLT_PRODUCER_PROPERTIES(source), kPropResource)).c_str());
    media::ProducerHandle created = makeSource(profile, request.mltService, request.resource);
    if (!created) {
        writeLog(kLogError, "%s", mltlog::kAlterCreateProducerFailed);
        return false;
    }
    mlt_producer replacement = created.get();
    mlt_properties properties = MLT_PRODUCER_PROPERTIES(replacement);
    if (request.length > 0) {
        mlt_properties_set_int(properties, kPropLength, request.length);
    }
    applyPropertyObject(properties, content);
    qualifyProducerPaths(properties);
    applySubClips(properties, content);
    mlt_properties_set(properties, kPropId, request.id.c_str());

    mlt_playlist_remove(playlist, mainEntry);
    mlt_playlist_insert(playlist, replacement, mainEntry, request.in, request.out);
    if (mainEntry > 0) {
        replaceFreeze(playlist, mainEntry - 1, replacement, request.in);
    }
    replaceFreeze(playlist, mainEntry + 1, replacement, request.out);
    return true;
}

void MltHelper::resizeInPlace(mlt_playlist playlist, int mainEntry, const ClipRequest& request,
                              CParseJson& content) {
    mlt_producer source = mltgraph::entrySource(playlist, mainEntry);
    mlt_properties properties = MLT_PRODUCER_PROPERTIES(source);
    writeLog(kLogInfo, mltlog::kAlterResizeProducer,
             mltgraph::orEmpty(mltgraph::text(properties, kPropResource)).c_str());
    mlt_playlist_resize_clip(playlist, mainEntry, request.in, request.out);
    if (mainEntry > 0) {
        resizeFreeze(playlist, mainEntry - 1, request.in);
    }
    resizeFreeze(playlist, mainEntry + 1, request.out);
    if (request.length > 0) {
        mlt_properties_set_int(properties, kPropLength, request.length);
    }
    applySubClips(properties, content);
    // A compose-clip producer rebuilds its sub-clips on this event.
    mltgraph::fireEvent(properties, kEventSubclipChanged);
}

bool MltHelper::moveClipTrack(mlt_tractor tractor, int from, int to) {
    int count = mlt_multitrack_count(mlt_tractor_multitrack(tractor));
    if (to >= count) {
        writeLog(kLogError, mltlog::kAlterNewIndexTooBig, to);
        return false;
    }
    if (from >= count) {
        writeLog(kLogError, mltlog::kAlterOldIndexTooBig, from);
        return false;
    }
    // A negative index names a clip found by its identifier: nothing moves.
    if (from < 0 || to < 0) {
        return true;
    }
    mlt_producer track = mlt_tractor_get_track(tractor, from);
    if (track == nullptr) {
        return true;
    }
    // Keep the playlist alive between leaving and re-entering the multitrack.
    mlt_properties_inc_ref(MLT_PRODUCER_PROPERTIES(track));
    mlt_tractor_remove_track(tractor, from);
    mlt_tractor_insert_track(tractor, track, to);
    mlt_properties_dec_ref(MLT_PRODUCER_PROPERTIES(track));
    return true;
}

bool MltHelper::deleteClip(CParseJson& content) {
    std::string clipId;
    std::string trackId;
    if (!content.getString(kClipId, clipId) || !content.getString(kTrackId, trackId)) {
        return false;
    }
    ServiceQuery clip{ServiceKind::Playlist, clipId};
    findService(clip);
    mlt_tractor tractor = findTractor(trackId);
    if (tractor == nullptr) {
        return false;
    }
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    int index = -1;
    if (!content.getInt(kIndex, index) || index == -1) {
        index = positionOfTrack(multitrack, clip.found);
    }
    if (index < 0 || index >= mlt_multitrack_count(multitrack)) {
        return false;
    }
    mlt_tractor_remove_track(tractor, index);
    if (trackId == kMainTrack) {
        relayoutMainTrack(tractor);
    }
    graphChanged();
    return true;
}

bool MltHelper::deleteAllClip(CParseJson& content) {
    std::string trackId;
    if (!content.getString(kTrackId, trackId)) {
        return false;
    }
    mlt_tractor tractor = findTractor(trackId);
    if (tractor == nullptr) {
        return false;
    }
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    while (mlt_multitrack_count(multitrack) > 0 && mlt_tractor_remove_track(tractor, 0) == 0) {
    }
    graphChanged();
    return true;
}

bool MltHelper::alterSceneResource(CParseJson& content) {
    std::string id;
    std::string type;
    std::string name;
    std::string para;
    if (!content.getString(kId, id) || !content.getString(kType, type) ||
        !content.getString(kName, name) || !content.getString(kPara, para)) {
        writeLog(kLogError, "%s", mltlog::kAlterSceneFailed);
        return false;
    }
    mlt_playlist playlist = findPlaylist(id);
    int main = mainEntryIndex(playlist);
    if (main >= 0) {
        const char* texts[] = {type.c_str(), name.c_str(), para.c_str()};
        mltgraph::fireEvent(MLT_PRODUCER_PROPERTIES(mltgraph::entrySource(playlist, main)),
                            kEventSceneChanged, mlt_event_data_from_object(texts));
    }
    graphChanged();
    return true;
}
