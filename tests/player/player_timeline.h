// Timelines for the player tests, written by hand in the form the project
// writes them: one clip playlist per clip on the main track "Track0" (each
// after a blank as long as the clips before it), "maintractor" and
// "interface_tractor" on top.
#pragma once

#include <string>
#include <vector>

#include "player/player.h"

namespace playertest {

struct TimelineClip {
    std::string id;  // the placement; its media element is id + "_p"
    std::string resource;
    int in = 0;
    int out = 0;
};

// Writes the timeline to path; returns path.
std::string writeTimeline(const std::string& path, const std::vector<TimelineClip>& clips);

// A 2 s, 25 fps clip of one flat colour (an ffmpeg colour name) with a tone.
std::string solidColourClip(const std::string& colour);

// The ADD_CLIP content that appends a clip of frames in..out of resource to "Track0".
std::string addClipContent(const std::string& id, const std::string& resource, int in, int out);

// Preview the tests look at: the profile they all use and a private display.
constexpr char kProfile[] = "atsc_720p_25";
void preparePreviewEnvironment();

}  // namespace playertest

// Reads the player's engine state for the assertions.
struct PlayerTestAccess {
    static mlt_consumer transport(const MePlayer& player) { return player.transport(); }
    static mlt_consumer windowed(const MePlayer& player) { return player.consumer_.get(); }
    static mlt_consumer fullScreen(const MePlayer& player) {
        return player.fullScreenConsumer_.get();
    }
    static mlt_producer producer(const MePlayer& player) { return player.producer_.get(); }
    static mlt_profile profile(const MePlayer& player) { return player.profile_.get(); }
    static bool isFullScreen(const MePlayer& player) { return player.isFullScreen_; }
    static double speed(const MePlayer& player) { return player.producerSpeed(); }
    static double consumerDouble(const MePlayer& player, const char* name);
    static int consumerInt(const MePlayer& player, const char* name);
};
