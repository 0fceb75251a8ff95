// The fixture of the engine suite: a fresh cache folder, real media made with
// ffmpeg, the standard timeline loaded with MLT's "xml" producer, and an
// MltHelper on its producer, as the player builds one for each edit.
//
// The standard timeline (25 fps):
//   Track0 (main): c1 frames 0-99 at 0, c2 0-49 at 100, c3 0-49 at 150 (200 frames)
//   Track1: v1 0-49
//   AudioTrack0: a1 0-99 of a tone
//   maintractor: filter mf1 (brightness) on frames 100-200
// It is made with the project's editing operations from the same command
// contents the player later hands to MltHelper.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "engine_graph_view.h"
#include "engine_timeline.h"
#include "project/mlt_helper.h"

namespace enginetest {

// Writes a small effect catalogue and loads it into the process's catalogue.
void loadTestCatalogue();

class EngineGraphTest : public ::testing::Test {
  protected:
    void SetUp() override;

    // The standard timeline's project; tests add to it before loading.
    TimelineProject standardProject() const;
    void load(const TimelineProject& project);
    // Loads an MLT XML document written by the test itself.
    void loadXml(const std::string& xml);

    void loadFile(const std::string& path);

    MltHelper& helper() { return *helper_; }
    mlt_profile profile() const { return timeline_->profile(); }
    mlt_producer producer() const { return timeline_->producer(); }
    mlt_tractor tractor(const std::string& id) { return findTractor(*helper_, id); }
    mlt_playlist playlist(const std::string& id) { return findPlaylist(*helper_, id); }
    // describePlaylist / describeTracks of the service with that identifier.
    std::string entries(const std::string& playlistId) {
        return describePlaylist(playlist(playlistId));
    }
    std::string tracks(const std::string& tractorId) { return describeTracks(tractor(tractorId)); }

    // An ADD_CLIP content for the standard media; extra is appended as members.
    // The project and MltHelper read the same content.
    std::string addClipJson(const std::string& trackId, const std::string& id, int index, int in,
                            int out, const std::string& extra = "") const;

    std::string cache_;
    std::string media_;     // 100 frames of colour bars with a tone
    std::string tone_;      // 100 frames of tone
    EventRecorder events_;  // declared before the timeline, which it outlives
    std::unique_ptr<LoadedTimeline> timeline_;
    std::unique_ptr<MltHelper> helper_;
};

}  // namespace enginetest
