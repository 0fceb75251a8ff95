// The timing model of the main video track: every clip playlist starts where
// the previous clip's main entry ends, a transition's freezes overlap the cut,
// and each transition covers exactly its two freezes.
#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

#include "engine/engine_names.h"
#include "engine/graph.h"
#include "engine/mlt_helper.h"

namespace {

// A clip playlist's entries as the layout reads them, each read once.
struct Entry {
    int frames = 0;
    int repeat = 0;
    bool blank = false;
};

std::vector<Entry> readEntries(mlt_playlist playlist) {
    std::vector<Entry> entries(static_cast<size_t>(mltgraph::entryCount(playlist)));
    for (size_t i = 0; i < entries.size(); ++i) {
        mlt_playlist_clip_info info;
        if (mltgraph::readEntry(playlist, static_cast<int>(i), info)) {
            entries[i].frames = info.frame_count;
            entries[i].repeat = info.repeat;
            entries[i].blank =
                info.producer != nullptr &&
                mltgraph::equals(mltgraph::text(MLT_PRODUCER_PROPERTIES(info.producer),
                                                mltnames::kPropMltService),
                                 mltnames::kServiceBlank);
        }
    }
    return entries;
}

// Where the next clip starts: the frames of every entry but a tail freeze
// (a repeated last entry), which overlaps the next clip.
int endOf(const std::vector<Entry>& entries) {
    int end = 0;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].repeat == 1 || (entries[i].repeat > 1 && i + 1 != entries.size())) {
            end += entries[i].frames;
        }
    }
    return end;
}

// The frames of a head freeze: a repeated entry right after the blank (or
// first, without a blank) that is not the playlist's last entry.
int headFreezeLength(const std::vector<Entry>& entries) {
    size_t head = !entries.empty() && entries[0].blank ? 1 : 0;
    bool freeze = head + 1 < entries.size() && entries[head].repeat > 1;
    return freeze ? entries[head].repeat : 0;
}

// Gives a clip playlist a leading blank of length frames. A blank that would
// have no frames is removed rather than handed to MLT, which reads a negative
// out point as its own default length; a playlist that starts with anything
// but a blank gets one inserted instead of having that entry resized.
// Called before the first change of a playlist.
using BeforeChange = std::function<void()>;

// True when the playlist changed.
bool setLeadingBlank(mlt_playlist playlist, const std::vector<Entry>& entries, int length,
                     const BeforeChange& beforeChange) {
    if (entries.empty() || !entries[0].blank) {
        if (length > 0) {
            beforeChange();
            mlt_playlist_insert_blank(playlist, 0, length - 1);
        }
        return length > 0;
    }
    if (entries[0].frames == length) {
        return false;
    }
    beforeChange();
    if (length > 0) {
        mlt_playlist_resize_clip(playlist, 0, 0, length - 1);
    } else {
        mlt_playlist_remove(playlist, 0);
    }
    return true;
}

// Which edges of the main track's clips the transitions use: a transition
// takes its A track's tail freeze and its B track's head freeze.
struct UsedEdges {
    std::unordered_set<int> tails;
    std::unordered_set<int> heads;
};

UsedEdges usedEdges(mlt_tractor tractor) {
    UsedEdges used;
    mltgraph::forEachBelow(MLT_TRACTOR_SERVICE(tractor), [&](mlt_service service) {
        if (mlt_transition transition = mltgraph::asTransition(service)) {
            used.tails.insert(mlt_transition_get_a_track(transition));
            used.heads.insert(mlt_transition_get_b_track(transition));
        }
        return true;
    });
    return used;
}

// Drops freezes no transition uses: a repeated head (entry 0 of the first
// clip, which has no head, is always stale) and a repeated last entry.
// True when something was dropped.
bool dropOrphanFreezes(mlt_playlist playlist, int track, const std::vector<Entry>& entries,
                       const UsedEdges& used, const BeforeChange& beforeChange) {
    if (entries.size() <= 1) {
        return false;
    }
    bool dropped = false;
    size_t head = track == 0 ? 0 : 1;
    size_t last = entries.size() - 1;
    if (entries[head].repeat > 1 && (track == 0 || used.heads.count(track) == 0)) {
        beforeChange();
        mlt_playlist_remove(playlist, static_cast<int>(head));
        dropped = true;
        --last;
    }
    // The tail is read again after a head went: the entries moved up.
    int tailRepeat =
        dropped ? mltgraph::entryRepeat(playlist, static_cast<int>(last)) : entries[last].repeat;
    if (tailRepeat > 1 && used.tails.count(track) == 0) {
        beforeChange();
        mlt_playlist_remove(playlist, static_cast<int>(last));
        dropped = true;
    }
    return dropped;
}

}  // namespace

MltHelper::Unheard::Unheard(mlt_properties source, void* listener)
    : source_(source), listener_(listener) {
    if (source_ != nullptr && listener_ != nullptr) {
        mlt_events_block(source_, listener_);
    }
}

MltHelper::Unheard::~Unheard() {
    if (source_ != nullptr && listener_ != nullptr) {
        mlt_events_unblock(source_, listener_);
    }
}

MltHelper::RetimeOnce::~RetimeOnce() {
    if (tractor_ != nullptr) {
        mlt_tractor_refresh(tractor_);
    }
}

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
    // One pass in track order: each clip's blank follows from the clip before
    // it, which is final by then. The multitrack is told once, at the end.
    const UsedEdges used = usedEdges(tractor);
    int start = 0;
    for (int i = 0; i < count; ++i) {
        mlt_playlist playlist = mltgraph::trackPlaylist(multitrack, i);
        if (playlist == nullptr) {
            start = 0;
            continue;
        }
        std::optional<Unheard> unheard;
        const BeforeChange quiet = [&] {
            if (!unheard) {
                unheard.emplace(MLT_PLAYLIST_PROPERTIES(playlist), multitrack);
            }
        };
        std::vector<Entry> entries = readEntries(playlist);
        if (dropOrphanFreezes(playlist, i, entries, used, quiet)) {
            entries = readEntries(playlist);
        }
        if (i == 0) {
            if (!entries.empty() && entries[0].blank) {
                quiet();
                mlt_playlist_remove(playlist, 0);
                entries.erase(entries.begin());
            }
        } else {
            // The head freeze lies in front of the clip's start, taken out of the blank.
            if (setLeadingBlank(playlist, entries, start - headFreezeLength(entries), quiet)) {
                entries = readEntries(playlist);
            }
        }
        start = endOf(entries);
    }
    retimeTransitions(tractor);
    mlt_tractor_refresh(tractor);
}
