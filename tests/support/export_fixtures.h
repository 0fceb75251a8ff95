// What the export tests render and how they look at the result: a small
// multi-track MLT timeline over media made with ffmpeg, and ffprobe's view of
// a written file.
#pragma once

#include <string>
#include <vector>

namespace testsupport {

// Laid out the way the engine saves its graph: "maintractor" over the track
// tractors "Track0" (a test pattern), "Track1" (a smaller coloured picture
// composited over the middle third) and "AudioTrack0" (a tone mixed in), each
// holding one playlist per clip, at 25 fps.
struct ExportTimeline {
    std::string path;
    int frames = 0;
    int width = 0;
    int height = 0;
};
// Writes the timeline's MLT XML into directory. frames is its length; the
// profile and the bars are width x height with square pixels.
ExportTimeline writeExportTimeline(const std::string& directory, int frames = 75, int width = 320,
                                   int height = 240);

// One stream of a media file as ffprobe reports it after decoding every
// packet; numbers it does not report are 0.
struct ProbedStream {
    std::string codecType;  // "video", "audio"
    std::string codecName;
    int width = 0;
    int height = 0;
    std::string frameRate;  // "25/1"
    long bitRate = 0;
    int sampleRate = 0;
    int channels = 0;
    long decodedFrames = 0;
    double duration = 0.0;
};
struct ProbedFile {
    bool readable = false;
    double duration = 0.0;
    std::vector<ProbedStream> streams;
    // The first stream of a type, or null.
    const ProbedStream* stream(const std::string& codecType) const;
};
ProbedFile probeFile(const std::string& path);

// The text of the hardware encoder table on a machine without a GPU, where
// every hardware encoder fails to open: groups in key order, entries in table
// order, "hwAccel" enabled as given.
std::string expectedHwAccelTable(bool hwAccelAllowed);

}  // namespace testsupport
