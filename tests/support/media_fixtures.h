// Media made with ffmpeg for the media suite, ffprobe's and ffmpeg's view of
// files to compare against, and a log recorder.
#pragma once

#include <json/value.h>

#include <mutex>
#include <string>
#include <vector>

#include "support/test_media.h"

namespace mediatest {

// 10 s, 320x240 H.264 (B-frames, a key frame every 50) with the frame number
// drawn large in every picture, stereo AAC sine; rate as ffmpeg names it.
std::string counterVideo(const std::string& rate = "25");
// The 25 fps counter video run through ffmpeg with extra output arguments.
std::string counterVariant(const std::string& name, const std::string& arguments);
// key "rotate" makes ffmpeg write a display matrix turning the picture
// degrees counter-clockwise; "ROTATE" stays a plain stream tag.
std::string rotated(const std::string& key, int degrees);
std::string intraOnlyMjpeg();
// The first 7.6 s (190 frames) of the counter as an MPEG-2 program stream with B-frames.
std::string mpeg2ProgramStream();
std::string stillPicture();  // 200x100 PNG
// 4 s of 16-bit PCM, every channel a square wave of period 100 samples at
// exactly +-amplitude (0 gives silence).
std::string squareWav(int amplitude, int channels = 2, int sampleRate = 48000);

// ffprobe's first stream of a kind ("v", "a"); null when there is none.
Json::Value firstStream(const std::string& path, const std::string& kind);

// Frames of a file as gray pixels in presentation order, turned upright the
// way ffmpeg turns them, then through filter (ending in a comma) and scaled.
using Gray = std::string;
std::vector<Gray> grayFrames(const std::string& path, int width, int height,
                             const std::string& filter = "");
// JPEG files (whatever their extension) one after another: as gray pixels
// scaled to width x height, and their own sizes as "WIDTHxHEIGHT" lines.
std::vector<Gray> jpegFrames(const std::vector<std::string>& paths, int width, int height);
std::string jpegSizes(const std::vector<std::string>& paths);
// The frame closest to the picture by mean pixel difference, if under tolerance; else -1.
int matchingFrame(const Gray& picture, const std::vector<Gray>& frames, double tolerance = 4.0);

// Records every log line while it lives.
struct LogRecorder {
    LogRecorder();
    ~LogRecorder();
    // Lines of the level ("Info", "Error") that end with message.
    int count(const std::string& level, const std::string& message = "") const;

    mutable std::mutex lock;
    std::vector<std::string> lines;
};

}  // namespace mediatest
