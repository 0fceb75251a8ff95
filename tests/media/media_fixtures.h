// Media and measuring tools for the media suite: counter videos and their
// rotated, re-rated and intra-only variants made with ffmpeg, WAV files whose
// samples the test writes itself, ffprobe's view of a file, reference frames
// decoded by ffmpeg, and a log recorder.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace mediatest {

// 10 s, 320x240 H.264 with B-frames and a drawn frame counter, stereo AAC.
std::string counterVideo();
std::string counterVideo2997();
std::string counterVideo50();
// The counter video with a stream tag ROTATE (read as "rotate") and no matrix.
std::string counterVideoRotateTag(int degrees);
// The counter video whose display matrix turns the picture by degrees
// counter-clockwise, as FFmpeg's display-matrix helpers count them.
std::string counterVideoDisplayMatrix(int degrees);
// The counter pictures as intra-only MJPEG in AVI, without audio.
std::string counterMjpeg();
// The counter video with two audio streams: 44.1 kHz mono, then 48 kHz stereo.
std::string counterVideoTwoAudio();
// A 200x100 PNG picture.
std::string stillPicture();

// A 16-bit PCM WAV file written sample by sample into the media folder.
// Every channel carries the same square wave of the given amplitude and
// period (amplitude 0 gives silence).
std::string squareWav(const std::string& name, int amplitude, int periodSamples, int seconds,
                      int channels = 2, int sampleRate = 48000);
// Silence in the first audio stream, a square wave at +-16384 in the second.
std::string silenceThenSquare();

// ffprobe's "streams" and "format" of a file as JSON.
Json::Value probeFile(const std::string& path);
// The first stream of a kind ("video", "audio") in a probe, or null.
Json::Value firstStream(const Json::Value& probe, const std::string& kind);

// Every frame of a video as width x height 8-bit gray pictures, in
// presentation order, turned upright the way ffmpeg turns it; filter, when
// given, is applied before scaling.
using GrayPicture = std::vector<uint8_t>;
std::vector<GrayPicture> referenceFrames(const std::string& path, int width, int height,
                                         const std::string& filter = std::string());
// A JPEG picture file (whatever its extension) decoded to gray; empty when
// ffmpeg cannot read it.
GrayPicture decodeJpegGray(const std::string& path, int width, int height);
// Several JPEG pictures of one size decoded to gray by one ffmpeg run.
std::vector<GrayPicture> decodeJpegSeries(const std::vector<std::string>& paths, int width,
                                          int height);
// Width and height from a JPEG file's frame header; zeros when there is none.
std::pair<int, int> jpegSize(const std::string& path);
// Width and height of the first video stream of a picture or movie file.
std::pair<int, int> pictureSize(const std::string& path);

double meanDifference(const GrayPicture& a, const GrayPicture& b);
// The index of the reference frame closest to the picture.
int closestFrame(const GrayPicture& picture, const std::vector<GrayPicture>& frames);

// A locale whose decimal separator is a comma, compiled into the media folder
// and made visible to setlocale; empty when it cannot be made here.
std::string commaDecimalLocale();

// Sets the numeric locale while it lives.
class ScopedNumericLocale {
  public:
    explicit ScopedNumericLocale(const std::string& name);
    ~ScopedNumericLocale();

  private:
    std::string saved_;
};

// Records every log line that passes the threshold while it lives.
class LogRecorder {
  public:
    LogRecorder();
    ~LogRecorder();
    std::vector<std::string> lines() const;
    // How many lines carry the level name and end with the message.
    int count(const std::string& levelName, const std::string& message) const;

  private:
    mutable std::mutex lock_;
    std::vector<std::string> lines_;
};

std::vector<std::string> readLines(const std::string& path);

}  // namespace mediatest
