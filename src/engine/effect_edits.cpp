// Transitions and filters planted in the running graph from the effect
// catalogue. A transition between two clips of the main track is made of
// freezes: the incoming clip's first frame held before the cut and the
// outgoing clip's last frame held after it.
#include "engine/engine_names.h"
#include "engine/graph.h"
#include "engine/mlt_helper.h"
#include "log/log.h"
#include "media/mlt_handles.h"
#include "timeline/effect_catalogue.h"

using namespace mltnames;

namespace {

constexpr int kVideoTrackType = 0;

// The catalogue entry of a title and the MLT service it names.
MeEffect* catalogueEffect(const std::string& title, std::string& service) {
    MeEffect* effect = MeEffectCatalogue::instance().findEffect(title);
    if (effect != nullptr) {
        auto found = effect->properties().find(kPropMltService);
        service = found == effect->properties().end() ? std::string() : found->second;
    }
    return effect;
}

// The first entry of a clip playlist that is the clip itself: not a blank,
// not repeated, with a named source.
mlt_producer clipSource(mlt_producer track) {
    mlt_playlist playlist = mltgraph::asPlaylist(track);
    if (playlist == nullptr ||
        !mltgraph::equals(mltgraph::text(MLT_PRODUCER_PROPERTIES(track), kPropResource),
                          kResourcePlaylist)) {
        return nullptr;
    }
    int count = mlt_playlist_count(playlist);
    for (int i = 0; i < count; ++i) {
        mlt_playlist_clip_info info;
        if (!mltgraph::readEntry(playlist, i, info) || info.producer == nullptr ||
            mltgraph::equals(info.resource, kServiceBlank) || info.repeat > 1) {
            continue;
        }
        mlt_producer source = mlt_producer_cut_parent(info.producer);
        if (mltgraph::text(MLT_PRODUCER_PROPERTIES(source), kPropMltService) != nullptr) {
            return source;
        }
    }
    return nullptr;
}

// Inserts a one-frame cut of the main entry's source at index, repeated n times.
void insertFreeze(mlt_playlist playlist, int index, mlt_producer source, int frame, int n) {
    mlt_playlist_insert(playlist, source, index, frame, frame);
    mlt_playlist_repeat_clip(playlist, index, n);
}

}  // namespace

void MltHelper::addHeadFreeze(mlt_playlist playlist, int start, int n) {
    int main = mainEntryIndex(playlist);
    mlt_playlist_clip_info info;
    if (!mltgraph::readEntry(playlist, main, info)) {
        return;
    }
    insertFreeze(playlist, main, mlt_producer_cut_parent(info.producer), info.frame_in, n);
    // The freeze is taken out of the blank in front of the clip.
    if (mltgraph::entryIsBlank(playlist, 0)) {
        if (start - n > 0) {
            mlt_playlist_resize_clip(playlist, 0, 0, start - n - 1);
        } else {
            mlt_playlist_remove(playlist, 0);
        }
    }
    mlt_producer_optimise(MLT_PLAYLIST_PRODUCER(playlist));
}

void MltHelper::addTailFreeze(mlt_playlist playlist, int n) {
    int main = mainEntryIndex(playlist);
    mlt_playlist_clip_info info;
    if (!mltgraph::readEntry(playlist, main, info)) {
        return;
    }
    insertFreeze(playlist, main + 1, mlt_producer_cut_parent(info.producer), info.frame_out, n);
}

void MltHelper::plantFreezes(mlt_multitrack multitrack, int a, int b, int& in, int& out) {
    mlt_playlist trackA = mltgraph::trackPlaylist(multitrack, a);
    mlt_playlist trackB = mltgraph::trackPlaylist(multitrack, b);
    if (trackA == nullptr || trackB == nullptr) {
        writeLog(kLogError, mltlog::kPlantFreezesFailed, a, b);
        return;
    }
    int start = b >= 1 ? trackStart(multitrack, b) : 0;
    if (in > 0) {
        addHeadFreeze(trackB, start, in);
    }
    if (out > 0) {
        addTailFreeze(trackA, out);
    }
    // "In" and "Out" count frames before and after the cut.
    in = start - in;
    out = start - 1 + out;
}

bool MltHelper::addTransition(CParseJson& content, mlt_profile profile) {
    std::string trackA;
    std::string trackB;
    std::string title;
    std::string inText;
    std::string outText;
    std::string id;
    int indexA = 0;
    int indexB = 0;
    int trackType = 0;
    if (!content.getString(kTrackIdA, trackA) || !content.getString(kTrackIdB, trackB) ||
        !content.getInt(kIndexA, indexA) || !content.getInt(kIndexB, indexB) ||
        !content.getString(kTitle, title) || !content.getString(kIn, inText) ||
        !content.getString(kOut, outText) || !content.getString(kId, id) ||
        !content.getInt(kTrackType, trackType)) {
        return false;
    }
    // Between two clips of one track the tracks are its clip playlists;
    // between tracks they are the main tractor's tracks.
    bool sameTrack = trackA == trackB;
    std::string parent = sameTrack ? trackA : kMainTractor;
    int a = sameTrack ? indexA : trackIndexOf(trackA);
    int b = sameTrack ? indexB : trackIndexOf(trackB);
    writeLog(kLogInfo, mltlog::kAddTransition, parent.c_str(), a, b);

    std::string service;
    MeEffect* effect = catalogueEffect(title, service);
    if (effect == nullptr) {
        return false;
    }
    mlt_tractor tractor = findTractor(parent);
    if (tractor == nullptr) {
        return false;
    }
    media::TransitionHandle transition =
        media::TransitionHandle::adopt(mlt_factory_transition(profile, service.c_str(), nullptr));
    if (!transition) {
        return false;
    }
    mlt_properties properties = MLT_TRANSITION_PROPERTIES(transition.get());
    // The catalogue entry itself keeps the new values for later transitions.
    effect->mergeJsonProperties(content);
    effect->applyTo(properties);
    qualifyTransitionPaths(properties);

    int in = mltgraph::frames(inText);
    int out = mltgraph::frames(outText);
    if (trackType == kVideoTrackType) {
        plantFreezes(mlt_tractor_multitrack(tractor), a, b, in, out);
    }
    mlt_properties_set_int(properties, kPropIn, in);
    mlt_properties_set_int(properties, kPropOut, out);
    mlt_properties_set(properties, kPropId, id.c_str());
    mlt_field_plant_transition(mlt_tractor_field(tractor), transition.get(), a, b);
    mlt_transition_set_in_and_out(transition.get(), in, out);
    transition.reset();  // the field holds its own reference
    graphChanged();
    return true;
}

void MltHelper::removeMainTrackTransition(mlt_tractor tractor, mlt_transition transition) {
    mlt_properties properties = MLT_TRANSITION_PROPERTIES(transition);
    int a = mlt_properties_get_int(properties, kPropATrack);
    int b = mlt_properties_get_int(properties, kPropBTrack);
    mlt_field_disconnect_service(mlt_tractor_field(tractor), MLT_TRANSITION_SERVICE(transition));

    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    mlt_playlist trackA = mltgraph::trackPlaylist(multitrack, a);
    int last = mltgraph::entryCount(trackA) - 1;
    if (last >= 0 && mltgraph::entryRepeat(trackA, last) > 1) {
        mlt_playlist_remove(trackA, last);
    }
    mlt_playlist trackB = mltgraph::trackPlaylist(multitrack, b);
    int head = mltgraph::entryCount(trackB) > 1 ? mltgraph::entryRepeat(trackB, 1) : 0;
    if (head > 1) {
        // The blank grows back by the frames the freeze took from it.
        if (mlt_playlist_is_blank(trackB, 0)) {
            mlt_playlist_resize_clip(trackB, 0, 0, mltgraph::entryFrames(trackB, 0) - 1 + head);
        }
        mlt_playlist_remove(trackB, 1);
    }
}

bool MltHelper::deleteTransition(CParseJson& content) {
    std::string id;
    int trackType = 0;
    if (!content.getString(kTransitionId, id) || !content.getInt(kTrackType, trackType)) {
        writeLog(kLogError, "%s", mltlog::kDeleteTransitionNoId);
        return false;
    }
    const char* parent = trackType == kVideoTrackType ? kMainTrack : kMainTractor;
    writeLog(kLogInfo, mltlog::kDeleteTransition, id.c_str());
    // A producer carrying the identifier would match too; only a transition counts.
    ServiceQuery query{ServiceKind::Transition, id};
    findService(query);
    mlt_transition transition = mltgraph::asTransition(query.found);
    mlt_tractor tractor = findTractor(parent);
    if (transition != nullptr && tractor != nullptr) {
        if (trackType == kVideoTrackType) {
            removeMainTrackTransition(tractor, transition);
        } else {
            mlt_field_disconnect_service(mlt_tractor_field(tractor), query.found);
        }
    } else {
        writeLog(kLogInfo, mltlog::kFindTransitionFailed, id.c_str());
    }
    graphChanged();
    return true;
}

bool MltHelper::addFilter(CParseJson& content, mlt_profile profile) {
    std::string trackId;
    std::string id;
    std::string title;
    if (!content.getString(kTrackId, trackId) || !content.getString(kId, id) ||
        !content.getString(kTitle, title)) {
        return false;
    }
    std::string service;
    MeEffect* effect = catalogueEffect(title, service);
    if (effect == nullptr) {
        return false;
    }
    mlt_tractor tractor = findTractor(trackId);
    if (tractor == nullptr) {
        return false;
    }
    int index = 0;
    if (!content.getInt(kIndex, index)) {
        index = 0;
    }
    media::FilterHandle filter =
        media::FilterHandle::adopt(mlt_factory_filter(profile, service.c_str(), nullptr));
    if (!filter) {
        return false;
    }
    mlt_properties properties = MLT_FILTER_PROPERTIES(filter.get());
    effect->mergeJsonProperties(content);
    effect->applyTo(properties);
    qualifyFilterPaths(properties);
    mlt_properties_set(properties, kPropId, id.c_str());
    mlt_properties_set(properties, kPropMltService, service.c_str());

    std::string in;
    std::string out;
    bool hasIn = content.getString(kIn, in);
    bool hasOut = content.getString(kOut, out);
    if (index == -1) {
        // A filter on the whole track.
        if (!hasIn || !hasOut) {
            return false;
        }
        mlt_properties_set_int(properties, kPropIn, mltgraph::frames(in));
        mlt_properties_set_int(properties, kPropOut, mltgraph::frames(out));
        mlt_service_attach(MLT_TRACTOR_SERVICE(tractor), filter.get());
    } else {
        mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
        mlt_producer track = index >= 0 && index < mlt_multitrack_count(multitrack)
                                 ? mlt_multitrack_track(multitrack, index)
                                 : nullptr;
        if (mlt_producer source = track ? clipSource(track) : nullptr) {
            if ((hasIn && !in.empty()) || (hasOut && !out.empty())) {
                mlt_properties_set_int(properties, kPropIn, mltgraph::frames(in));
                mlt_properties_set_int(properties, kPropOut, mltgraph::frames(out));
            }
            mlt_service_attach(MLT_PRODUCER_SERVICE(source), filter.get());
        }
    }
    filter.reset();  // an attached filter is held by its service
    graphChanged();
    return true;
}

bool MltHelper::alterFilter(CParseJson& content) {
    std::string id;
    if (!content.getString(kId, id)) {
        return false;
    }
    ServiceQuery query{ServiceKind::Filter, id};
    findService(query);
    mlt_filter filter = mltgraph::asFilter(query.found);
    if (filter == nullptr) {
        return false;
    }
    mlt_properties properties = MLT_FILTER_PROPERTIES(filter);
    std::string in;
    std::string out;
    if (content.getString(kIn, in) && content.getString(kOut, out)) {
        mlt_properties_set_int(properties, kPropIn, mltgraph::frames(in));
        mlt_properties_set_int(properties, kPropOut, mltgraph::frames(out));
    }
    applyPropertyObject(properties, content);
    qualifyFilterPaths(properties);
    graphChanged();
    return true;
}

bool MltHelper::deleteFilter(CParseJson& content) {
    std::string filterId;
    if (!content.getString(kFilterId, filterId)) {
        writeLog(kLogError, mltlog::kDeleteFilterNoFilterId, content.styledText().c_str());
        return false;
    }
    std::string trackId;
    if (!content.getString(kTrackId, trackId)) {
        writeLog(kLogError, mltlog::kDeleteFilterNoTrackId, content.styledText().c_str());
        return false;
    }
    // "Index" is part of the command but the filter is found by identifier.
    ServiceQuery query{ServiceKind::Filter, filterId};
    findService(query);
    mlt_filter filter = mltgraph::asFilter(query.found);
    if (filter != nullptr && query.parent != nullptr) {
        mlt_service_detach(query.parent, filter);
    }
    graphChanged();
    return true;
}
