// Owning holders for the FFmpeg objects the media code opens, so every early
// return releases what was made before it.
#pragma once

#include <memory>
#include <string>

struct AVCodecContext;
struct AVFilterGraph;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVStream;
struct SwrContext;
struct SwsContext;

namespace media {

struct InputFormatDeleter {
    void operator()(AVFormatContext* context) const;
};
using InputFormatPtr = std::unique_ptr<AVFormatContext, InputFormatDeleter>;

// An output context together with the file its I/O context opened.
struct OutputFormatDeleter {
    void operator()(AVFormatContext* context) const;
};
using OutputFormatPtr = std::unique_ptr<AVFormatContext, OutputFormatDeleter>;

struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const;
};
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;

struct FrameDeleter {
    void operator()(AVFrame* frame) const;
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

struct PacketDeleter {
    void operator()(AVPacket* packet) const;
};
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

struct FilterGraphDeleter {
    void operator()(AVFilterGraph* graph) const;
};
using FilterGraphPtr = std::unique_ptr<AVFilterGraph, FilterGraphDeleter>;

struct ScalerDeleter {
    void operator()(SwsContext* scaler) const;
};
using ScalerPtr = std::unique_ptr<SwsContext, ScalerDeleter>;

struct ResamplerDeleter {
    void operator()(SwrContext* resampler) const;
};
using ResamplerPtr = std::unique_ptr<SwrContext, ResamplerDeleter>;

FramePtr makeFrame();
PacketPtr makePacket();

// Opens path and reads its stream information; null when either step fails.
// The input notes every file its demuxer opens while it lives.
InputFormatPtr openInput(const std::string& path);

// Whether an input made by openInput has read from anything but its own file
// so far: the parts of a playlist or a segment list, numbered pictures. What
// is decoded from such an input does not follow from its file alone.
bool readsOtherFiles(const AVFormatContext& input);

// A decoder context for a stream, filled from the stream's parameters and not
// yet opened; null when FFmpeg has no decoder for the codec.
CodecContextPtr makeDecoderContext(const AVStream& stream);

}  // namespace media
