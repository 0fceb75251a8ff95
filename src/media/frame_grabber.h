// Decodes single pictures of a video file with FFmpeg, turned upright for the
// stream's rotation, and writes them as JPEG pictures. The player keeps one
// and reuses it from request to request; a request opens its file once and
// then asks for any number of frames.
#pragma once

#include <cstdint>
#include <string>

#include "media/av_handles.h"

struct AVFilterContext;

// The grabber's count of timestamps that came without a pts or a dts. It is
// never reset, so it carries from file to file and request to request, and
// decides which of two known timestamps places a packet.
struct TimestampHistory {
    unsigned missingPts = 0;
    unsigned missingDts = 0;

    bool prefersDts() const { return missingPts > missingDts; }
};

// Whether every packet between two readings of the history was placed by the
// same timestamp. While only one count moves, the preference turns at most
// once, so equal preferences at both ends mean it never turned.
bool samePreferenceBetween(const TimestampHistory& from, const TimestampHistory& to);

class FrameGrabber {
  public:
    FrameGrabber();
    FrameGrabber(const FrameGrabber&) = delete;
    FrameGrabber& operator=(const FrameGrabber&) = delete;

    // Opens path, counting its length in positions of the given rate. A file
    // that cannot be opened or read answers true but leaves no decoder; a file
    // without a usable video stream or decoder answers false.
    bool openMedia(const std::string& path, double rate);
    // Moves the input to the key frame at or before a stream frame; false
    // without a decoder.
    bool seekToFrame(int frame);
    // The first picture at or after the target stream frame, or the last one
    // before it when the stream ends first; null when nothing was decoded.
    media::FramePtr decodeFrame(int target);
    // Writes the picture scaled to width x height as one JPEG picture.
    bool saveFrame(const AVFrame& picture, const std::string& path, int width, int height);

    bool hasDecoder() const { return codec_ != nullptr; }
    int totalFrames() const { return totalFrames_; }
    double positionRate() const { return positionRate_; }
    double streamRate() const { return streamRate_; }
    int videoStream() const { return videoStream_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int64_t startTime() const { return startTime_; }
    bool hasRotationFilter() const { return filterGraph_ != nullptr; }
    TimestampHistory timestampHistory() const { return {missingPts_, missingDts_}; }
    // Counts timestamps as seen without pts or dts: what the decode that a
    // cached picture stands in for would have counted.
    void addToHistory(const TimestampHistory& counts) {
        missingPts_ += counts.missingPts;
        missingDts_ += counts.missingDts;
    }
    // Whether the open file's demuxer has read other files (see av_handles.h).
    bool readsOtherFiles() const;

    // Degrees of clockwise rotation the stream asks for, in [0, 360).
    double getRotation() const;

  private:
    void closeMedia();
    void detectStartTime();
    // Reads up to the first video packet after a seek; true when it is a key
    // frame no later than target (kept for decodeFrame) or nothing tells
    // otherwise.
    bool landedOnKeyFrameBefore(int64_t target);
    // The packet kept by the last seek, then the input's next one.
    int readPacket(AVPacket* packet);
    // Prefers dts once more timestamps have come without pts than without dts.
    int64_t guessTimestamp(int64_t pts, int64_t dts);
    // The stream frame a timestamp falls on.
    int64_t frameNumber(int64_t timestamp) const;
    // startTime, else the container's start time in stream units, else 0.
    int64_t timestampBase() const;
    void setupRotationFilter();
    bool createFilterGraph();
    bool insertFilter(AVFilterContext*& head, const char* name, const char* argument);
    media::FramePtr filterPicture(media::FramePtr picture);
    media::FramePtr scaleFrame(const AVFrame& picture, int width, int height) const;

    unsigned missingPts_ = 0;
    unsigned missingDts_ = 0;
    media::InputFormatPtr format_;
    AVStream* stream_ = nullptr;
    media::CodecContextPtr codec_;
    media::PacketPtr pendingPacket_;
    double positionRate_ = 0.0;
    int videoStream_ = -1;
    double streamRate_ = 0.0;
    media::FilterGraphPtr filterGraph_;
    AVFilterContext* bufferSource_ = nullptr;
    AVFilterContext* bufferSink_ = nullptr;
    int width_ = 0;
    int height_ = 0;
    int64_t startTime_;  // FFmpeg's "no timestamp" until detected
    int totalFrames_ = 0;
};
