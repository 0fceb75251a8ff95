// The timing model of the main video track: every clip playlist starts where
// the previous clip's main entry ends, a transition's freezes overlap the cut,
// and each transition covers exactly its two freezes.
#include "engine/graph.h"
#include "engine/mlt_helper.h"

namespace {

// Drops a trailing repeated entry (a tail freeze) unless a transition uses it.
void dropTailFreeze(mlt_playlist playlist, bool used) {
    int last = mltgraph::entryCount(playlist) - 1;
    if (last >= 0 && mltgraph::entryRepeat(playlist, last) > 1 && !used) {
        mlt_playlist_remove(playlist, last);
    }
}

// Gives a clip playlist a leading blank of length frames. A blank that would
// have no frames is removed rather than handed to MLT, which reads a negative
// out point as its own default length; a playlist that starts with anything
// but a blank gets one inserted instead of having that entry resized.
void setLeadingBlank(mlt_playlist playlist, int length) {
    if (!mltgraph::entryIsBlank(playlist, 0)) {
        if (length > 0) {
            mlt_playlist_insert_blank(playlist, 0, length - 1);
        }
        return;
    }
    // Every resize makes the multitrack re-measure all its tracks, so a blank
    // that already has its length is left alone.
    if (mltgraph::entryFrames(playlist, 0) == length) {
        return;
    }
    if (length > 0) {
        mlt_playlist_resize_clip(playlist, 0, 0, length - 1);
    } else {
        mlt_playlist_remove(playlist, 0);
    }
}

// The frames of a head freeze: a repeated entry right after the blank (or
// first, without a blank) that is not the playlist's last entry.
int headFreezeLength(mlt_playlist playlist) {
    int head = mltgraph::entryIsBlank(playlist, 0) ? 1 : 0;
    int repeat = mltgraph::entryRepeat(playlist, head);
    return repeat > 1 && head < mltgraph::entryCount(playlist) - 1 ? repeat : 0;
}

}  // namespace

int MltHelper::mainEntryIndex(mlt_playlist playlist) {
    int count = mltgraph::entryCount(playlist);
    for (int i = 0; i < count; ++i) {
        mlt_playlist_clip_info info;
        if (mltgraph::readEntry(playlist, i, info) && info.producer != nullptr &&
            !mltgraph::entryIsBlank(playlist, i) && info.repeat == 1) {
            return i;
        }
    }
    return -1;
}

int MltHelper::trackStart(mlt_multitrack multitrack, int i) {
    if (multitrack == nullptr || i < 1 || i > mlt_multitrack_count(multitrack)) {
        return 0;
    }
    mlt_playlist previous = mltgraph::trackPlaylist(multitrack, i - 1);
    int count = mltgraph::entryCount(previous);
    int start = 0;
    for (int entry = 0; entry < count; ++entry) {
        mlt_playlist_clip_info info;
        if (!mltgraph::readEntry(previous, entry, info)) {
            continue;
        }
        // A repeated last entry is the tail freeze, which overlaps the next clip.
        if (info.repeat == 1 || (info.repeat > 1 && entry != count - 1)) {
            start += info.frame_count;
        }
    }
    return start;
}

int MltHelper::positionOfTrack(mlt_multitrack multitrack, mlt_service playlist) {
    if (multitrack == nullptr || playlist == nullptr) {
        return -1;
    }
    int count = mlt_multitrack_count(multitrack);
    for (int i = 0; i < count; ++i) {
        mlt_producer track = mlt_multitrack_track(multitrack, i);
        if (track != nullptr && MLT_PRODUCER_SERVICE(track) == playlist) {
            return i;
        }
    }
    return -1;
}

bool MltHelper::isEdgeUsed(mlt_tractor tractor, int track, bool tail) {
    bool used = false;
    mltgraph::forEachBelow(MLT_TRACTOR_SERVICE(tractor), [&](mlt_service service) {
        if (mlt_transition transition = mltgraph::asTransition(service)) {
            used = tail ? mlt_transition_get_a_track(transition) == track
                        : mlt_transition_get_b_track(transition) == track;
        }
        return !used;
    });
    return used;
}

void MltHelper::dropOrphanFreezes(mlt_tractor tractor) {
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    int count = mlt_multitrack_count(multitrack);
    for (int i = 0; i < count; ++i) {
        mlt_playlist playlist = mltgraph::trackPlaylist(multitrack, i);
        if (mltgraph::entryCount(playlist) <= 1) {
            continue;
        }
        // The first clip has no head: a repeated entry 0 there is always stale.
        int head = i == 0 ? 0 : 1;
        if (mltgraph::entryRepeat(playlist, head) > 1 &&
            (i == 0 || !isEdgeUsed(tractor, i, false))) {
            mlt_playlist_remove(playlist, head);
        }
        dropTailFreeze(playlist, isEdgeUsed(tractor, i, true));
    }
}

void MltHelper::retimeTransitions(mlt_tractor tractor) {
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    mltgraph::forEachBelow(MLT_TRACTOR_SERVICE(tractor), [&](mlt_service service) {
        mlt_transition transition = mltgraph::asTransition(service);
        if (transition == nullptr) {
            return true;
        }
        int a = mlt_transition_get_a_track(transition);
        int b = mlt_transition_get_b_track(transition);
        mlt_playlist trackA = mltgraph::trackPlaylist(multitrack, a);
        mlt_playlist trackB = mltgraph::trackPlaylist(multitrack, b);
        int tailRepeat = mltgraph::entryRepeat(trackA, mltgraph::entryCount(trackA) - 1);
        int tail = tailRepeat > 1 ? tailRepeat : 0;
        int headRepeat = mltgraph::entryCount(trackB) > 1 ? mltgraph::entryRepeat(trackB, 1) : 0;
        int head = headRepeat > 1 ? headRepeat : 0;
        int start = trackStart(multitrack, b);
        mlt_transition_set_in_and_out(transition, start - head, start + tail - 1);
        return true;
    });
}

void MltHelper::relayoutMainTrack(mlt_tractor tractor) {
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    int count = multitrack ? mlt_multitrack_count(multitrack) : 0;
    if (count == 0) {
        return;
    }
    dropOrphanFreezes(tractor);
    mlt_playlist first = mltgraph::trackPlaylist(multitrack, 0);
    if (mltgraph::entryCount(first) > 0 && mltgraph::entryIsBlank(first, 0)) {
        mlt_playlist_remove(first, 0);
    }
    for (int i = 1; i < count; ++i) {
        mlt_playlist playlist = mltgraph::trackPlaylist(multitrack, i);
        if (playlist == nullptr) {
            continue;
        }
        // The head freeze lies in front of the clip's start, taken out of the blank.
        setLeadingBlank(playlist, trackStart(multitrack, i) - headFreezeLength(playlist));
    }
    retimeTransitions(tractor);
    mlt_tractor_refresh(tractor);
}
