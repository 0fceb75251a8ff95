#include "media/frame_grabber.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "log/log.h"

using media::FramePtr;
using media::PacketPtr;

namespace {

const char kVideoStreamText[] = "the first video stream index: videoStream = %d\n";
const char kOpenOutputFailedText[] = "Couldn't open output file.";
const char kNoEncoderText[] = "Failure to obtain encoder";
const char kEncoderOpenFailedText[] = "Failure to open encoder";
const char kBufferArguments[] =
    "video_size=%dx%d:pix_fmt=%d:time_base=%d/%d:pixel_aspect=%d/%d:frame_rate=%d/%d";
const char kRotateKey[] = "rotate";
const char kThumbnailFormat[] = "mjpeg";

// Start detection looks at the head of the file only.
constexpr int kStartPacketLimit = 500;
constexpr int kStartVideoPackets = 20;
constexpr int kStartDurationChanges = 3;

constexpr int kToleratedDecodeErrors = 10;
// A packet this many frames away from the target carries a broken timestamp.
constexpr int64_t kTimestampJumpLimit = 999;

constexpr int kScaleFlags =
    SWS_BICUBLIN | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_ACCURATE_RND;
constexpr AVPixelFormat kThumbnailPixelFormat = AV_PIX_FMT_YUVJ420P;
constexpr AVRational kThumbnailTimeBase = {1, 25};
constexpr double kDefaultPositionRate = 25.0;
// Rotations within this many degrees of a quarter turn count as that turn.
constexpr double kRotationTolerance = 1.0;

bool isNear(double angle, double quarterTurn) {
    return std::fabs(angle - quarterTurn) < kRotationTolerance;
}

struct FilterStep {
    const char* name;
    const char* argument;
};

// The filters that turn a picture upright, listed from the sink backwards.
std::vector<FilterStep> rotationChain(double angle) {
    if (isNear(angle, 90.0)) {
        return {{"transpose", "clock"}};
    }
    if (isNear(angle, 180.0)) {
        return {{"hflip", nullptr}, {"vflip", nullptr}};
    }
    if (isNear(angle, 270.0)) {
        return {{"transpose", "cclock"}};
    }
    return {};
}

// Removes a half-written output unless the write was finished.
class OutputFileGuard {
  public:
    explicit OutputFileGuard(std::string path) : path_(std::move(path)) {}
    ~OutputFileGuard() {
        if (!kept_) {
            std::remove(path_.c_str());
        }
    }
    void keep() { kept_ = true; }

  private:
    std::string path_;
    bool kept_ = false;
};

// Encodes one picture into an opened output; false on any encoder error.
bool encodePicture(AVFormatContext& output, AVCodecContext& encoder, AVFrame& picture) {
    if (avformat_write_header(&output, nullptr) < 0) {
        return false;
    }
    picture.pts = 0;
    if (avcodec_send_frame(&encoder, &picture) < 0 || avcodec_send_frame(&encoder, nullptr) < 0) {
        return false;
    }
    PacketPtr packet = media::makePacket();
    if (!packet) {
        return false;
    }
    int received;
    while ((received = avcodec_receive_packet(&encoder, packet.get())) >= 0) {
        packet->stream_index = 0;
        av_packet_rescale_ts(packet.get(), encoder.time_base, output.streams[0]->time_base);
        if (av_write_frame(&output, packet.get()) < 0) {
            return false;
        }
        av_packet_unref(packet.get());
    }
    if (received != AVERROR_EOF) {
        return false;
    }
    return av_write_trailer(&output) >= 0;
}

}  // namespace

bool samePreferenceBetween(const TimestampHistory& from, const TimestampHistory& to) {
    const bool atMostOneCountMoved =
        from.missingPts == to.missingPts || from.missingDts == to.missingDts;
    return atMostOneCountMoved && from.prefersDts() == to.prefersDts();
}

FrameGrabber::FrameGrabber() : startTime_(AV_NOPTS_VALUE) {}

bool FrameGrabber::readsOtherFiles() const {
    return format_ && media::readsOtherFiles(*format_);
}

void FrameGrabber::closeMedia() {
    filterGraph_.reset();
    bufferSource_ = nullptr;
    bufferSink_ = nullptr;
    pendingPacket_.reset();
    codec_.reset();
    stream_ = nullptr;
    format_.reset();
    videoStream_ = -1;
    positionRate_ = 0.0;
    streamRate_ = 0.0;
    width_ = 0;
    height_ = 0;
    startTime_ = AV_NOPTS_VALUE;
}

bool FrameGrabber::openMedia(const std::string& path, double rate) {
    closeMedia();
    format_ = media::openInput(path);
    if (!format_) {
        return true;
    }
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
        if (format_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            videoStream_ = static_cast<int>(i);
            break;
        }
    }
    std::printf(kVideoStreamText, videoStream_);
    if (videoStream_ < 0) {
        return false;
    }
    totalFrames_ = format_->duration == AV_NOPTS_VALUE
                       ? 0
                       : static_cast<int>(std::lrint(format_->duration * rate / 1000000.0));
    stream_ = format_->streams[videoStream_];
    const AVRational frameRate = stream_->avg_frame_rate;
    if (frameRate.num == 0 || frameRate.den == 0) {
        return false;
    }
    positionRate_ = kDefaultPositionRate;
    streamRate_ = av_q2d(frameRate);
    media::CodecContextPtr codec = media::makeDecoderContext(*stream_);
    if (!codec) {
        return false;
    }
    width_ = codec->width;
    height_ = codec->height;
    codec_ = std::move(codec);
    setupRotationFilter();
    if (avcodec_open2(codec_.get(), nullptr, nullptr) < 0) {
        codec_.reset();
        return false;
    }
    detectStartTime();
    return true;
}

void FrameGrabber::detectStartTime() {
    PacketPtr packet = media::makePacket();
    int videoPackets = 0;
    int durationChanges = 0;
    int64_t lastDuration = 0;
    for (int read = 0; packet && read < kStartPacketLimit; ++read) {
        if (av_read_frame(format_.get(), packet.get()) < 0) {
            break;
        }
        if (packet->stream_index == videoStream_) {
            if (videoPackets > 0 && packet->duration != lastDuration) {
                ++durationChanges;
            }
            lastDuration = packet->duration;
            ++videoPackets;
            if ((packet->flags & AV_PKT_FLAG_KEY) != 0 && startTime_ == AV_NOPTS_VALUE) {
                // Decoding that starts before presentation (B-frames) counts from 0;
                // a missing dts is no such sign and leaves the choice to the pts.
                const bool negativeDts = packet->dts != AV_NOPTS_VALUE && packet->dts < 0;
                startTime_ = negativeDts ? 0 : guessTimestamp(packet->pts, packet->dts);
            }
        }
        av_packet_unref(packet.get());
        if (startTime_ != AV_NOPTS_VALUE &&
            (videoPackets >= kStartVideoPackets || durationChanges >= kStartDurationChanges)) {
            break;
        }
    }
    av_seek_frame(format_.get(), -1, 0, AVSEEK_FLAG_BACKWARD);
}

int64_t FrameGrabber::guessTimestamp(int64_t pts, int64_t dts) {
    if (pts == AV_NOPTS_VALUE) {
        ++missingPts_;
    }
    if (dts == AV_NOPTS_VALUE) {
        ++missingDts_;
    }
    if (missingPts_ > missingDts_ && dts != AV_NOPTS_VALUE) {
        return dts;
    }
    return pts != AV_NOPTS_VALUE ? pts : dts;
}

int64_t FrameGrabber::timestampBase() const {
    if (startTime_ != AV_NOPTS_VALUE) {
        return startTime_;
    }
    if (format_->start_time != AV_NOPTS_VALUE) {
        return av_rescale_q(format_->start_time, AV_TIME_BASE_Q, stream_->time_base);
    }
    return 0;
}

int64_t FrameGrabber::frameNumber(int64_t timestamp) const {
    return static_cast<int64_t>(
        (timestamp - timestampBase()) * av_q2d(stream_->time_base) * streamRate_ + 0.5);
}

bool FrameGrabber::seekToFrame(int frame) {
    if (!codec_) {
        return false;
    }
    int64_t timestamp = static_cast<int64_t>(frame / (av_q2d(stream_->time_base) * streamRate_));
    if (frame > 0) {
        timestamp += timestampBase();
    }
    if (frame <= 0 || timestamp < 0) {
        timestamp = 0;
    }
    codec_->skip_frame = AVDISCARD_NONREF;
    // Demuxers without an index (MPEG program and transport streams) find the
    // time by bisecting the file and land on whatever packet is near it: a B-
    // or P-frame whose references lie before it, or the key frame after the
    // target. Step back until the first video packet is a key frame at or
    // before the target.
    const int64_t target = timestamp;
    int64_t stepBack = static_cast<int64_t>(1.0 / av_q2d(stream_->time_base));
    for (;;) {
        pendingPacket_.reset();
        av_seek_frame(format_.get(), videoStream_, timestamp, AVSEEK_FLAG_BACKWARD);
        if (timestamp <= 0 || stepBack <= 0 || landedOnKeyFrameBefore(target)) {
            break;
        }
        timestamp = std::max<int64_t>(0, timestamp - stepBack);
        stepBack *= 2;
    }
    avcodec_flush_buffers(codec_.get());
    return true;
}

bool FrameGrabber::landedOnKeyFrameBefore(int64_t target) {
    PacketPtr packet = media::makePacket();
    for (int read = 0; packet && read < kStartPacketLimit; ++read) {
        if (av_read_frame(format_.get(), packet.get()) < 0) {
            return true;
        }
        if (packet->stream_index == videoStream_) {
            const int64_t time = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
            if ((packet->flags & AV_PKT_FLAG_KEY) == 0 ||
                (time != AV_NOPTS_VALUE && time > target)) {
                return false;
            }
            pendingPacket_ = std::move(packet);
            return true;
        }
        av_packet_unref(packet.get());
    }
    return true;
}

int FrameGrabber::readPacket(AVPacket* packet) {
    if (pendingPacket_) {
        av_packet_move_ref(packet, pendingPacket_.get());
        pendingPacket_.reset();
        return 0;
    }
    return av_read_frame(format_.get(), packet);
}

FramePtr FrameGrabber::decodeFrame(int target) {
    if (!codec_) {
        return nullptr;
    }
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec_->codec_id);
    const bool interCoded =
        descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) == 0;
    PacketPtr packet = media::makePacket();
    FramePtr picture = media::makeFrame();
    FramePtr earlier;
    if (!packet || !picture) {
        return nullptr;
    }
    bool complete = false;
    bool draining = false;
    bool drainSent = false;
    bool offStream = false;
    int result = 0;
    int errors = 0;
    int64_t previousNumber = -1;
    while (!complete && result >= 0) {
        av_packet_unref(packet.get());
        if (!draining) {
            result = readPacket(packet.get());
            if (result == AVERROR_EOF) {
                draining = true;
                result = 0;
            } else if (result < 0) {
                offStream = true;
                break;
            }
        }
        offStream = !draining && packet->stream_index != videoStream_;
        if (offStream) {
            continue;
        }
        int64_t number = previousNumber;
        if (!draining && (packet->pts != AV_NOPTS_VALUE || packet->dts != AV_NOPTS_VALUE)) {
            const int64_t timestamp = guessTimestamp(packet->pts, packet->dts);
            if (startTime_ == AV_NOPTS_VALUE) {
                startTime_ = timestamp;
            }
            number = frameNumber(timestamp);
            if (number == previousNumber) {
                ++number;
            }
        }
        previousNumber = number;
        if (std::llabs(number - target) > kTimestampJumpLimit) {
            number = target;
        }
        if (!interCoded && number < target && !draining) {
            continue;
        }
        codec_->reordered_opaque = number;
        if (number >= target) {
            codec_->skip_frame = AVDISCARD_NONE;
        }
        if (!drainSent) {
            const int sent = avcodec_send_packet(codec_.get(), draining ? nullptr : packet.get());
            drainSent = draining;
            if (sent < 0 && sent != AVERROR(EAGAIN)) {
                if (++errors > kToleratedDecodeErrors) {
                    result = sent;
                }
                continue;
            }
            errors = 0;
        }
        for (;;) {
            const int received = avcodec_receive_frame(codec_.get(), picture.get());
            if (received == AVERROR(EAGAIN)) {
                break;
            }
            if (received < 0) {
                // The end of a drained decoder, or an error past tolerance.
                if (received == AVERROR_EOF || ++errors > kToleratedDecodeErrors) {
                    result = received;
                }
                break;
            }
            errors = 0;
            int64_t pictureNumber = picture->reordered_opaque;
            if (picture->pts != AV_NOPTS_VALUE || picture->pkt_dts != AV_NOPTS_VALUE) {
                pictureNumber = frameNumber(guessTimestamp(picture->pts, picture->pkt_dts));
            }
            if (pictureNumber < target) {
                earlier = std::move(picture);
                picture = media::makeFrame();
                if (!picture) {
                    return nullptr;
                }
                continue;
            }
            complete = true;
            codec_->skip_frame = AVDISCARD_NONE;
            break;
        }
    }
    // Past the end of the stream the last picture before the target stands
    // in, even for one the drain produced at or after it.
    if (earlier && (!complete || draining || offStream)) {
        picture = std::move(earlier);
    } else if (!complete) {
        return nullptr;
    }
    if (filterGraph_) {
        return filterPicture(std::move(picture));
    }
    return picture;
}

FramePtr FrameGrabber::filterPicture(FramePtr picture) {
    if (av_buffersrc_add_frame(bufferSource_, picture.get()) < 0) {
        return nullptr;
    }
    FramePtr last;
    for (;;) {
        FramePtr pulled = media::makeFrame();
        if (!pulled || av_buffersink_get_frame_flags(bufferSink_, pulled.get(), 0) < 0) {
            break;
        }
        last = std::move(pulled);
    }
    return last;
}

double FrameGrabber::getRotation() const {
    if (stream_ == nullptr) {
        return 0.0;
    }
    double angle = 0.0;
    const AVDictionaryEntry* tag = av_dict_get(stream_->metadata, kRotateKey, nullptr, 0);
    if (tag != nullptr && tag->value[0] != '\0' && std::strcmp(tag->value, "0") != 0) {
        char* end = nullptr;
        angle = std::strtod(tag->value, &end);
        if (*end != '\0') {
            angle = 0.0;
        }
    }
    if (angle == 0.0) {
        size_t size = 0;
        const uint8_t* matrix = av_stream_get_side_data(stream_, AV_PKT_DATA_DISPLAYMATRIX, &size);
        if (matrix != nullptr && size >= 9 * sizeof(int32_t)) {
            // The matrix turns counter-clockwise; the angle here is clockwise.
            angle = -av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
        }
    }
    return angle - 360.0 * std::floor(angle / 360.0 + 0.0025);
}

void FrameGrabber::setupRotationFilter() {
    const std::vector<FilterStep> chain = rotationChain(getRotation());
    if (chain.empty() || !createFilterGraph()) {
        return;
    }
    AVFilterContext* head = bufferSink_;
    for (const FilterStep& step : chain) {
        if (!insertFilter(head, step.name, step.argument)) {
            return;
        }
    }
    if (avfilter_link(bufferSource_, 0, head, 0) < 0) {
        return;
    }
    avfilter_graph_config(filterGraph_.get(), nullptr);
}

bool FrameGrabber::createFilterGraph() {
    if (!filterGraph_) {
        filterGraph_.reset(avfilter_graph_alloc());
        if (!filterGraph_) {
            return false;
        }
    }
    char arguments[512];
    std::snprintf(arguments, sizeof(arguments), kBufferArguments, codec_->width, codec_->height,
                  codec_->pix_fmt, stream_->time_base.num, stream_->time_base.den,
                  codec_->sample_aspect_ratio.num, codec_->sample_aspect_ratio.den,
                  stream_->avg_frame_rate.num, stream_->avg_frame_rate.den);
    if (avfilter_graph_create_filter(&bufferSource_, avfilter_get_by_name("buffer"), "in",
                                     arguments, nullptr, filterGraph_.get()) < 0) {
        return false;
    }
    if (avfilter_graph_create_filter(&bufferSink_, avfilter_get_by_name("buffersink"), "out",
                                     nullptr, nullptr, filterGraph_.get()) < 0) {
        return false;
    }
    const AVPixelFormat formats[] = {codec_->pix_fmt, AV_PIX_FMT_NONE};
    return av_opt_set_int_list(bufferSink_, "pix_fmts", formats, AV_PIX_FMT_NONE,
                               AV_OPT_SEARCH_CHILDREN) >= 0;
}

bool FrameGrabber::insertFilter(AVFilterContext*& head, const char* name, const char* argument) {
    AVFilterContext* filter = nullptr;
    if (avfilter_graph_create_filter(&filter, avfilter_get_by_name(name), name, argument, nullptr,
                                     filterGraph_.get()) < 0) {
        return false;
    }
    if (avfilter_link(filter, 0, head, 0) < 0) {
        return false;
    }
    head = filter;
    return true;
}

FramePtr FrameGrabber::scaleFrame(const AVFrame& picture, int width, int height) const {
    FramePtr scaled = media::makeFrame();
    if (!scaled) {
        return nullptr;
    }
    scaled->format = kThumbnailPixelFormat;
    scaled->width = width;
    scaled->height = height;
    if (av_frame_get_buffer(scaled.get(), 0) < 0) {
        return nullptr;
    }
    media::ScalerPtr scaler(sws_getContext(
        picture.width, picture.height, static_cast<AVPixelFormat>(picture.format), width, height,
        kThumbnailPixelFormat, kScaleFlags, nullptr, nullptr, nullptr));
    if (!scaler) {
        return nullptr;
    }
    sws_scale(scaler.get(), picture.data, picture.linesize, 0, picture.height, scaled->data,
              scaled->linesize);
    return scaled;
}

bool FrameGrabber::saveFrame(const AVFrame& picture, const std::string& path, int width,
                             int height) {
    FramePtr scaled = scaleFrame(picture, width, height);
    if (!scaled) {
        return false;
    }
    AVFormatContext* allocated = nullptr;
    if (avformat_alloc_output_context2(&allocated, nullptr, kThumbnailFormat, path.c_str()) < 0) {
        return false;
    }
    media::OutputFormatPtr output(allocated);
    if (avio_open(&output->pb, path.c_str(), AVIO_FLAG_READ_WRITE) < 0) {
        std::printf("%s\n", kOpenOutputFailedText);
        return false;
    }
    OutputFileGuard partialFile(path);
    AVStream* stream = avformat_new_stream(output.get(), nullptr);
    if (stream == nullptr) {
        return false;
    }
    stream->time_base = kThumbnailTimeBase;
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = output->oformat->video_codec;
    stream->codecpar->width = width;
    stream->codecpar->height = height;
    stream->codecpar->format = kThumbnailPixelFormat;
    av_dump_format(output.get(), 0, path.c_str(), 1);

    const AVCodec* encoder = avcodec_find_encoder(output->oformat->video_codec);
    if (encoder == nullptr) {
        writeLog(kLogError, "%s", kNoEncoderText);
        return false;
    }
    media::CodecContextPtr encoderContext(avcodec_alloc_context3(encoder));
    if (!encoderContext) {
        return false;
    }
    encoderContext->codec_type = AVMEDIA_TYPE_VIDEO;
    encoderContext->width = width;
    encoderContext->height = height;
    encoderContext->pix_fmt = kThumbnailPixelFormat;
    encoderContext->time_base = kThumbnailTimeBase;
    if (avcodec_open2(encoderContext.get(), encoder, nullptr) < 0) {
        writeLog(kLogError, "%s", kEncoderOpenFailedText);
        return false;
    }
    if (avcodec_parameters_from_context(stream->codecpar, encoderContext.get()) < 0 ||
        !encodePicture(*output, *encoderContext, *scaled)) {
        return false;
    }
    partialFile.keep();
    return true;
}
