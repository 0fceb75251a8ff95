#include "media/av_handles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <cstring>

// The media code follows FFmpeg 5's send/receive decoding and channel-layout
// interfaces; older and newer majors changed both.
static_assert(LIBAVCODEC_VERSION_MAJOR == 59, "written for FFmpeg 5.x (libavcodec 59)");

namespace media {
namespace {

// Kept in the input's opaque field by openInput: the demuxer opens its
// files through the input's io_open, so a wrapper sees each of them.
struct OpenedFiles {
    decltype(AVFormatContext::io_open) open = nullptr;
    std::string path;
    bool others = false;
};

int openAndNote(AVFormatContext* context, AVIOContext** io, const char* url, int flags,
                AVDictionary** options) {
    auto* opened = static_cast<OpenedFiles*>(context->opaque);
    if (url == nullptr || opened->path != url) {
        opened->others = true;
    }
    return opened->open(context, io, url, flags, options);
}

// The concat demuxer opens its parts through inputs of its own, which the
// wrapper never sees.
const char kConcatDemuxer[] = "concat";

}  // namespace

void InputFormatDeleter::operator()(AVFormatContext* context) const {
    auto* opened = static_cast<OpenedFiles*>(context->opaque);
    avformat_close_input(&context);
    delete opened;
}
void CodecContextDeleter::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}
void FrameDeleter::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}
void PacketDeleter::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}
void FilterGraphDeleter::operator()(AVFilterGraph* graph) const {
    avfilter_graph_free(&graph);
}
void ScalerDeleter::operator()(SwsContext* scaler) const {
    sws_freeContext(scaler);
}
void ResamplerDeleter::operator()(SwrContext* resampler) const {
    swr_free(&resampler);
}

FramePtr makeFrame() {
    return FramePtr(av_frame_alloc());
}
PacketPtr makePacket() {
    return PacketPtr(av_packet_alloc());
}

void OutputFormatDeleter::operator()(AVFormatContext* context) const {
    if (context->pb != nullptr && (context->oformat->flags & AVFMT_NOFILE) == 0) {
        avio_closep(&context->pb);
    }
    avformat_free_context(context);
}

InputFormatPtr openInput(const std::string& path) {
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        return nullptr;
    }
    auto* opened = new OpenedFiles{context->io_open, path, false};
    context->opaque = opened;
    context->io_open = openAndNote;
    // A failed open frees the context itself.
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) {
        delete opened;
        return nullptr;
    }
    InputFormatPtr input(context);
    if (avformat_find_stream_info(input.get(), nullptr) < 0) {
        return nullptr;
    }
    return input;
}

bool readsOtherFiles(const AVFormatContext& input) {
    const auto* opened = static_cast<const OpenedFiles*>(input.opaque);
    return opened->others ||
           (input.iformat != nullptr && std::strcmp(input.iformat->name, kConcatDemuxer) == 0);
}

CodecContextPtr makeDecoderContext(const AVStream& stream) {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (decoder == nullptr) {
        return nullptr;
    }
    CodecContextPtr context(avcodec_alloc_context3(decoder));
    if (!context || avcodec_parameters_to_context(context.get(), stream.codecpar) < 0) {
        return nullptr;
    }
    context->pkt_timebase = stream.time_base;
    return context;
}

}  // namespace media
