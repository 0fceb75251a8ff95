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

// A cut of one clip in the engine's saved layout: the clip's first half in
// playlist "clip1", its second half after a blank in "clip2", both tracks of
// the "Track0" tractor under "maintractor". A transition across the cut holds
// the last frame of the first half and the first of the second for
// transitionFrames / 2 frames each, as the engine's dissolves do.
struct CutTimeline {
    std::string source;  // media file both halves come from
    int frames = 50;     // length of the timeline, and of the part of source it plays
    int width = 320;     // the document's profile: square pixels, 25 fps
    int height = 240;
    int colorspace = 601;
    std::string transition;  // engine service of a transition across the cut, or none
    int transitionFrames = 10;
    std::string filter;  // engine service of a filter on the first half, or none
};
// Writes the timeline's MLT XML to path; returns path.
std::string writeCutTimeline(const std::string& path, const CutTimeline& timeline);

// Sources for cut timelines, made with ffmpeg like the other test media: a
// progressive 4:2:0 test pattern with a tone, the same interlaced, and the
// same with full-range luma.
std::string interlacedBarsWithTone(int seconds, int width, int height);
std::string fullRangeBarsWithTone(int seconds, int width, int height);

// One stream of a media file as ffprobe reports it after decoding every
// packet; numbers it does not report are 0.
struct ProbedStream {
    std::string codecType;  // "video", "audio"
    std::string codecName;
    int width = 0;
    int height = 0;
    std::string frameRate;     // "25/1"
    std::string pixelFormat;   // "yuv420p"
    std::string sampleFormat;  // "fltp"
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

// Peak signal-to-noise ratio of the pictures of two movies, frame by frame,
// per plane, as FFmpeg's psnr filter averages it; identical pictures give
// kIdenticalPsnr. Every value is 0 when the comparison cannot run.
constexpr double kIdenticalPsnr = 1000.0;
struct PicturePsnr {
    double y = 0.0;
    double u = 0.0;
    double v = 0.0;
    double lowest() const;
};
PicturePsnr picturePsnr(const std::string& first, const std::string& second);

// The text of the hardware encoder table on a machine without a GPU, where
// every hardware encoder fails to open: groups in key order, entries in table
// order, "hwAccel" enabled as given.
std::string expectedHwAccelTable(bool hwAccelAllowed);

}  // namespace testsupport
