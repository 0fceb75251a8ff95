// Owning holders for the FFmpeg objects the media code opens, so every early
// return releases what was made before it.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace media {

struct InputFormatDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using InputFormatPtr = std::unique_ptr<AVFormatContext, InputFormatDeleter>;

// An output context together with the file its I/O context opened.
struct OutputFormatDeleter {
    void operator()(AVFormatContext* context) const;
};
using OutputFormatPtr = std::unique_ptr<AVFormatContext, OutputFormatDeleter>;

struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

struct FilterGraphDeleter {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};
using FilterGraphPtr = std::unique_ptr<AVFilterGraph, FilterGraphDeleter>;

struct ScalerDeleter {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using ScalerPtr = std::unique_ptr<SwsContext, ScalerDeleter>;

struct ResamplerDeleter {
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};
using ResamplerPtr = std::unique_ptr<SwrContext, ResamplerDeleter>;

inline FramePtr makeFrame() {
    return FramePtr(av_frame_alloc());
}
inline PacketPtr makePacket() {
    return PacketPtr(av_packet_alloc());
}

// Opens path and reads its stream information; null when either step fails.
InputFormatPtr openInput(const std::string& path);

// A decoder context for a stream, filled from the stream's parameters and not
// yet opened; null when FFmpeg has no decoder for the codec.
CodecContextPtr makeDecoderContext(const AVStream& stream);

}  // namespace media
