// Reading the engine graph back in tests: compact texts of playlists, tracks,
// transitions and filters, listeners that record fired events, and a capture
// of the log lines an operation writes.
#pragma once

#include <framework/mlt.h>

#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "messages/parse_json.h"
#include "project/mlt_helper.h"

namespace enginetest {

// Entries of a playlist: "blank(90) 0-0x10 0-49" (in-out, then "x" and the
// repeat count when repeated).
std::string describePlaylist(mlt_playlist playlist);
// The "id" of each track of a tractor, in multitrack order: "c1 c2 c3".
std::string describeTracks(mlt_tractor tractor);
// Transitions planted below a tractor, nearest first: "tr1 0/1 90-104".
std::string describeTransitions(mlt_tractor tractor);
// Filters attached to a service that carry an "id": "f1 brightness 0-10".
std::string describeFilters(mlt_service service);

// An MLT XML file's playlists and tractors, one line each in document order:
// the element and its "id", then each child but properties with its "length",
// "in", "out", "repeat" and "producer" attributes.
std::string outlineMltFile(const std::string& path);

mlt_tractor findTractor(MltHelper& helper, const std::string& id);
mlt_playlist findPlaylist(MltHelper& helper, const std::string& id);
// The source producer (cut parent) of a clip playlist's main entry.
mlt_producer mainSource(mlt_playlist playlist);
mlt_playlist trackPlaylist(mlt_tractor tractor, int index);

// A command content from JSON text.
CParseJson content(const std::string& json);

// Records events fired on services: "event@id" per firing, in order.
class EventRecorder {
  public:
    void listen(mlt_properties properties, const char* event);
    const std::vector<std::string>& fired() const { return fired_; }
    // Texts carried by the last "scene-changed".
    const std::vector<std::string>& sceneTexts() const { return sceneTexts_; }
    void clear() { fired_.clear(); }

  private:
    struct Binding {
        EventRecorder* recorder;
        std::string event;
    };
    static void onEvent(mlt_properties owner, void* data, mlt_event_data eventData);

    std::list<Binding> bindings_;
    std::vector<std::string> fired_;
    std::vector<std::string> sceneTexts_;
};

// Sees every log line written while it lives.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Whether a line ends with this message.
    bool hasMessage(const std::string& message) const;
    std::vector<std::string> lines() const;

  private:
    mutable std::mutex lock_;
    std::vector<std::string> lines_;
};

}  // namespace enginetest
