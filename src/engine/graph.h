// Small readers for the MLT graph that MltHelper edits: safe casts between
// the framework's container kinds, playlist entry access that tolerates bad
// indexes, and event firing.
#pragma once

#include <framework/mlt.h>
#include <json/value.h>

#include <memory>
#include <string>

namespace mltgraph {

// Null-safe property access and comparison.
const char* text(mlt_properties properties, const char* name);
const char* text(mlt_service service, const char* name);
bool equals(const char* value, const char* expected);
std::string orEmpty(const char* value);

// The container behind a service or producer, or null when it is another kind.
mlt_tractor asTractor(mlt_service service);
mlt_multitrack asMultitrack(mlt_service service);
mlt_playlist asPlaylist(mlt_service service);
mlt_playlist asPlaylist(mlt_producer producer);
mlt_transition asTransition(mlt_service service);
mlt_filter asFilter(mlt_service service);

// Playlist entries; an index out of range reads as an empty entry.
bool readEntry(mlt_playlist playlist, int index, mlt_playlist_clip_info& info);
int entryRepeat(mlt_playlist playlist, int index);
int entryFrames(mlt_playlist playlist, int index);
// The entry's source producer (the cut's parent), or null.
mlt_producer entrySource(mlt_playlist playlist, int index);
// Whether the entry's source is MLT's blank producer.
bool entryIsBlank(mlt_playlist playlist, int index);
int entryCount(mlt_playlist playlist);

// The track tractor's clip playlists.
mlt_playlist trackPlaylist(mlt_multitrack multitrack, int index);

// Walks a tractor's service chain (tractor, planted transitions, multitrack).
// visit returns false to stop the walk.
template <typename Visit>
void forEachBelow(mlt_service top, Visit visit) {
    for (mlt_service service = mlt_service_producer(top); service;
         service = mlt_service_producer(service)) {
        if (!visit(service)) {
            return;
        }
    }
}

// MLT 7 delivers an event only when it was registered on the firing service;
// registering again is harmless.
void fireEvent(mlt_properties properties, const char* name, mlt_event_data data);
void fireEvent(mlt_properties properties, const char* name);

// Frame counts arrive as decimal texts and are read like C atoi.
int frames(const std::string& value);

// A JSON scalar as text: strings as they are, numbers in decimal form, bools
// as true/false. Arrays, objects and null give false.
bool scalarText(const Json::Value& value, std::string& out);

}  // namespace mltgraph
