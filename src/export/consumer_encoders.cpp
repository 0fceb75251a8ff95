#include "export/consumer_encoders.h"

#include <framework/mlt.h>
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cstring>

namespace {

constexpr char kNoStream[] = "none";
constexpr char kAc3Fixed[] = "ac3_fixed";

bool equals(const char* value, const char* expected) {
    return value != nullptr && std::strcmp(value, expected) == 0;
}

// The container the consumer writes: "f" first, then the target's file name,
// then MPEG, as the consumer guesses it.
const AVOutputFormat* containerOf(mlt_properties consumer) {
    const char* format = mlt_properties_get(consumer, "f");
    const char* target = mlt_properties_get(consumer, "target");
    const AVOutputFormat* container = format ? av_guess_format(format, nullptr, nullptr) : nullptr;
    if (container == nullptr && target != nullptr) {
        container = av_guess_format(nullptr, target, nullptr);
    }
    return container ? container : av_guess_format("mpeg", nullptr, nullptr);
}

const AVCodec* encoderFor(mlt_properties consumer, const char* codecKey, const char* offKey,
                          AVCodecID containerDefault) {
    const char* name = mlt_properties_get(consumer, codecKey);
    if (equals(name, kNoStream) || mlt_properties_get_int(consumer, offKey)) {
        return nullptr;
    }
    return name ? avcodec_find_encoder_by_name(name) : avcodec_find_encoder(containerDefault);
}

// The sample formats the consumer knows how to feed, in its preference order.
bool isFeedable(AVSampleFormat format) {
    switch (format) {
        case AV_SAMPLE_FMT_U8:
        case AV_SAMPLE_FMT_S16:
        case AV_SAMPLE_FMT_S32:
        case AV_SAMPLE_FMT_FLT:
        case AV_SAMPLE_FMT_U8P:
        case AV_SAMPLE_FMT_S16P:
        case AV_SAMPLE_FMT_S32P:
        case AV_SAMPLE_FMT_FLTP:
            return true;
        default:
            return false;
    }
}

bool supports(const AVCodec* audio, AVSampleFormat format) {
    for (const AVSampleFormat* p = audio->sample_fmts; *p != AV_SAMPLE_FMT_NONE; ++p) {
        if (*p == format) {
            return true;
        }
    }
    return false;
}

// The encoder's sample format when the engine hands the consumer sound in
// requested: the matching interleaved format if the encoder takes it, else
// the first format of the encoder the consumer can feed.
AVSampleFormat sampleFormatFor(const AVCodec* audio, AVSampleFormat requested) {
    if (supports(audio, requested)) {
        return requested;
    }
    for (const AVSampleFormat* p = audio->sample_fmts; *p != AV_SAMPLE_FMT_NONE; ++p) {
        if (isFeedable(*p)) {
            return *p;
        }
    }
    return AV_SAMPLE_FMT_NONE;
}

struct AudioFormatMatch {
    AVSampleFormat interleaved;  // what asking for the MLT format requests
    const char* mltFormat;
};
// The MLT formats the consumer accepts by name, and the encoder sample
// formats it converts each into.
const AudioFormatMatch kAudioFormats[] = {
    {AV_SAMPLE_FMT_FLT, "f32le"},
    {AV_SAMPLE_FMT_S32, "s32le"},
    {AV_SAMPLE_FMT_U8, "u8"},
};

AVSampleFormat interleavedOf(AVSampleFormat format) {
    return av_get_packed_sample_fmt(format);
}

}  // namespace

ConsumerEncoders consumerEncoders(mlt_properties consumer) {
    ConsumerEncoders encoders;
    const AVOutputFormat* container = containerOf(consumer);
    if (container == nullptr) {
        return encoders;
    }
    encoders.video = encoderFor(consumer, "vcodec", "vn", container->video_codec);
    encoders.audio = encoderFor(consumer, "acodec", "an", container->audio_codec);
    if (encoders.audio && encoders.audio->id == AV_CODEC_ID_AC3 &&
        mlt_properties_get(consumer, "acodec") != nullptr) {
        if (const AVCodec* fixed = avcodec_find_encoder_by_name(kAc3Fixed)) {
            encoders.audio = fixed;
        }
    }
    return encoders;
}

std::string imageFormatFor(const AVCodec* video) {
    if (video == nullptr || video->pix_fmts == nullptr) {
        return std::string();
    }
    return video->pix_fmts[0] == AV_PIX_FMT_YUV420P ? "yuv420p" : std::string();
}

std::string audioFormatFor(const AVCodec* audio) {
    if (audio == nullptr || audio->sample_fmts == nullptr) {
        return std::string();
    }
    // Without a request the consumer asks for 16-bit sound.
    const AVSampleFormat chosen = sampleFormatFor(audio, AV_SAMPLE_FMT_S16);
    for (const AudioFormatMatch& match : kAudioFormats) {
        if (interleavedOf(chosen) == match.interleaved &&
            sampleFormatFor(audio, match.interleaved) == chosen) {
            return match.mltFormat;
        }
    }
    return std::string();
}
