#include "player/media_av_handles.h"

namespace media {

void OutputFormatDeleter::operator()(AVFormatContext* context) const {
    if (context->pb != nullptr && (context->oformat->flags & AVFMT_NOFILE) == 0) {
        avio_closep(&context->pb);
    }
    avformat_free_context(context);
}

InputFormatPtr openInput(const std::string& path) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0) {
        return nullptr;
    }
    InputFormatPtr input(opened);
    if (avformat_find_stream_info(input.get(), nullptr) < 0) {
        return nullptr;
    }
    return input;
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
