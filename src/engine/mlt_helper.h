// MltHelper: the binding between editing commands and the running MLT graph.
// The player builds one per edit on its preview producer, runs one operation
// with the command's content and drops it; nothing is kept between edits.
//
// The graph it edits is the loaded timeline XML: the producer leads to the
// tractor "maintractor", whose tracks are track tractors ("Track0", "Track1",
// "AudioTrack0", "AudioTrack1"), each of which holds one playlist per clip
// placement. "Track0" is the main video track: its clips are laid end to end
// and its transitions are made of held (frozen) first and last frames.
#pragma once

#include <framework/mlt_types.h>

#include <cstdint>
#include <string>

#include "engine/graph_xml.h"
#include "messages/parse_json.h"

class GraphDumpSchedule;

// What findService looks for. The values are those the engine has always used.
enum class ServiceKind : int32_t {
    Filter = 0,
    Playlist = 2,
    Transition = 4,
    Tractor = 5,
};

struct ServiceQuery {
    ServiceKind kind = ServiceKind::Tractor;
    std::string id;                // the "id" property sought, compared byte by byte
    mlt_service found = nullptr;   // the first matching service
    mlt_service parent = nullptr;  // the container it was found in
};

class MltHelper {
  public:
    // producer: the root of the graph, not owned. cachePath: where relative
    // resources live and below which the graph dump is written; may be empty.
    // With a schedule, edits mark the dump due there instead of writing it.
    MltHelper(mlt_producer producer, const std::string& cachePath,
              GraphDumpSchedule* dumps = nullptr);

    // Clip placements (each a playlist of its own inside a track tractor).
    bool addClip(CParseJson& content, mlt_profile profile);
    // A change of in and out on the same resource resizes the clip in place
    // and fires "subclip-changed" (no event data) on its source producer.
    bool alterClip(CParseJson& content, mlt_profile profile);
    bool deleteClip(CParseJson& content);
    bool deleteAllClip(CParseJson& content);
    // Fires "scene-changed" on the clip's source producer. The event data is
    // an object (mlt_event_data_to_object) pointing at an array of three
    // const char*: Type, Name and Para of the command, valid during the call.
    bool alterSceneResource(CParseJson& content);

    // Transitions and filters made from the effect catalogue.
    bool addTransition(CParseJson& content, mlt_profile profile);
    bool deleteTransition(CParseJson& content);
    bool addFilter(CParseJson& content, mlt_profile profile);
    bool alterFilter(CParseJson& content);
    bool deleteFilter(CParseJson& content);

    // Tells the services a jump of the play position from one frame to another crossed.
    void refresh(int from, int to);
    // Writes the graph below "maintractor" as MLT XML to dumpPath(), through a
    // temporary file renamed over it, so a reader never finds half a dump.
    // False when keepGoing stopped it before anything was written.
    bool dumpGraph(const graphxml::KeepGoing& keepGoing = {});
    // Writes the graph below "maintractor" as MLT XML to cachePath + name.
    void saveMltFile(const std::string& name);

    // Depth-first search by kind and "id", in the order MLT's XML consumer
    // serialises the graph. Fills found and parent; false when nothing matches.
    bool findService(ServiceQuery& query);

    // A relative path made absolute against the cache path.
    std::string qualifyPath(const std::string& path) const;
    // Where dumpGraph writes.
    std::string dumpPath() const;

    // Readers of the graph's layout; they change nothing.
    // The multitrack index of a fixed track name (unknown names give 0).
    static int trackIndexOf(const std::string& name);
    // The first entry that is neither a blank nor repeated; -1 when none.
    static int mainEntryIndex(mlt_playlist playlist);
    // Where the main entry of the clip before track i ends, its tail freeze not counted.
    static int trackStart(mlt_multitrack multitrack, int i);

  private:
    // Search.
    bool walk(mlt_service service, mlt_service parent, ServiceQuery& query);
    bool visitTractor(mlt_service tractor, mlt_service parent, ServiceQuery& query);
    bool visitMultitrack(mlt_service multitrack, mlt_service parent, ServiceQuery& query);
    bool visitPlaylist(mlt_service playlist, mlt_service parent, ServiceQuery& query);
    bool visitProducer(mlt_service producer, mlt_service parent, ServiceQuery& query);
    bool visitFilter(mlt_service filter, ServiceQuery& query);
    bool visitTransition(mlt_service transition, mlt_service parent, ServiceQuery& query);
    bool searchFilters(mlt_service service, ServiceQuery& query);
    mlt_tractor findTractor(const std::string& id);
    mlt_playlist findPlaylist(const std::string& id);

    // Property helpers.
    void qualifyProperty(mlt_properties properties, const char* name) const;
    void qualifyProducerPaths(mlt_properties properties) const;
    void qualifyTransitionPaths(mlt_properties properties) const;
    void qualifyFilterPaths(mlt_properties properties) const;
    static void applyPropertyObject(mlt_properties properties, CParseJson& content);
    static void applySubClips(mlt_properties properties, CParseJson& content);

    // Clip playlists and the main track.
    struct ClipRequest;  // the fields of one clip command, read by the clip edits
    mlt_playlist createClipTrack(CParseJson& content, mlt_profile profile);
    bool fillClipTrack(mlt_playlist playlist, const ClipRequest& request, CParseJson& content,
                       mlt_profile profile);
    bool replaceSource(mlt_playlist playlist, int mainEntry, const ClipRequest& request,
                       CParseJson& content, mlt_profile profile);
    void resizeInPlace(mlt_playlist playlist, int mainEntry, const ClipRequest& request,
                       CParseJson& content);
    bool moveClipTrack(mlt_tractor tractor, int from, int to);
    // Lays the main track's clips end to end, drops freezes no transition
    // uses, re-times the transitions and refreshes the tractor.
    void relayoutMainTrack(mlt_tractor tractor);
    void retimeTransitions(mlt_tractor tractor);
    static int positionOfTrack(mlt_multitrack multitrack, mlt_service playlist);

    // While it lives, one listener does not hear the events of one service:
    // a multitrack re-measures every track on each change of a clip playlist,
    // and a tractor re-measures its multitrack again on each change of that.
    // The edit refreshes the tractor once when it is done.
    class Unheard {
      public:
        Unheard(mlt_properties source, void* listener);
        ~Unheard();
        Unheard(const Unheard&) = delete;
        Unheard& operator=(const Unheard&) = delete;

      private:
        mlt_properties source_;
        void* listener_;
    };

    // Refreshes a tractor whose changes went unheard when it goes out of
    // scope, unless done() says the edit's relayout already did: an edit that
    // fails half-way still leaves the tractor measured.
    class RetimeOnce {
      public:
        explicit RetimeOnce(mlt_tractor tractor) : tractor_(tractor) {}
        ~RetimeOnce();
        RetimeOnce(const RetimeOnce&) = delete;
        RetimeOnce& operator=(const RetimeOnce&) = delete;
        void done() { tractor_ = nullptr; }

      private:
        mlt_tractor tractor_;
    };

    // Freezes of main-track transitions.
    static void addHeadFreeze(mlt_playlist playlist, int start, int n);
    static void addTailFreeze(mlt_playlist playlist, int n);
    static void plantFreezes(mlt_multitrack multitrack, int a, int b, int& in, int& out);
    static void removeMainTrackTransition(mlt_tractor tractor, mlt_transition transition);

    // Refresh steps.
    void refreshClipsForward(int from, int to);
    void refreshFiltersForward(int from, int to);
    void refreshTransitionsForward(int from, int to);
    void refreshClipsBackward(int from, int to);
    void refreshFiltersBackward(int from, int to);
    void refreshTransitionsBackward(int from, int to);

    // Writes the graph below "maintractor" with MLT's XML consumer to the file target.
    void writeGraph(const std::string& target);
    // Every successful edit ends here: the dump now, or marked due.
    void graphChanged();

    mlt_producer producer_;
    std::string cachePath_;
    GraphDumpSchedule* dumps_ = nullptr;
};
