#include "media/audio_waveform.h"

#include <framework/mlt.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "media/cached_answers.h"
#include "media/mlt_handles.h"
#include "platform/durable_file.h"

using media::FramePtr;
using media::PacketPtr;

namespace {

// A frame's level is read from its first samples only.
constexpr int kMeasuredSamples = 200;
constexpr double kDefaultPointsPerSecond = 25.0;

// Samples at exactly half scale mark a full-level run.
constexpr int kSampleScale = 128;
constexpr int kHalfScale = 128;
constexpr int kFullLevelRun = 10;
constexpr int kNearFullLevelRun = 3;
constexpr double kNearFullLevel = 41.0 / 42.0;
constexpr double kMeterHeadroom = 0.9;

// Converts the start of decoded frames to mono signed 16-bit samples at the
// frame's own rate. The converter is rebuilt only when the source format
// changes, which it does not within an ordinary stream.
class MonoConverter {
  public:
    // Converts up to count samples of the frame into out; the number written,
    // or a negative value when no converter could be made.
    int convert(const AVFrame& frame, int16_t* out, int count) {
        if (!matches(frame) && !rebuild(frame)) {
            return -1;
        }
        uint8_t* outputs[] = {reinterpret_cast<uint8_t*>(out)};
        const int inputCount = std::min(frame.nb_samples, count);
        return swr_convert(resampler_.get(), outputs, count,
                           const_cast<const uint8_t**>(frame.extended_data), inputCount);
    }

  private:
    bool matches(const AVFrame& frame) const {
        return resampler_ && frame.format == format_ && frame.sample_rate == rate_ &&
               frame.ch_layout.nb_channels == channels_;
    }

    bool rebuild(const AVFrame& frame) {
        resampler_.reset();
        AVChannelLayout input{};
        if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
            av_channel_layout_default(&input, frame.ch_layout.nb_channels);
        } else if (av_channel_layout_copy(&input, &frame.ch_layout) < 0) {
            return false;
        }
        AVChannelLayout output = AV_CHANNEL_LAYOUT_MONO;
        SwrContext* made = nullptr;
        const int status = swr_alloc_set_opts2(&made, &output, AV_SAMPLE_FMT_S16, frame.sample_rate,
                                               &input, static_cast<AVSampleFormat>(frame.format),
                                               frame.sample_rate, 0, nullptr);
        av_channel_layout_uninit(&input);
        media::ResamplerPtr resampler(made);
        if (status < 0 || swr_init(resampler.get()) < 0) {
            return false;
        }
        resampler_ = std::move(resampler);
        format_ = frame.format;
        rate_ = frame.sample_rate;
        channels_ = frame.ch_layout.nb_channels;
        return true;
    }

    media::ResamplerPtr resampler_;
    int format_ = -1;
    int rate_ = 0;
    int channels_ = 0;
};

}  // namespace

bool AudioWaveform::open(const std::string& path) {
    close();
    format_ = media::openInput(path);
    if (!format_) {
        return false;
    }
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
        if (format_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            audioStream_ = static_cast<int>(i);
        }
    }
    if (audioStream_ < 0) {
        return false;
    }
    media::CodecContextPtr codec = media::makeDecoderContext(*format_->streams[audioStream_]);
    if (!codec || avcodec_open2(codec.get(), nullptr, nullptr) < 0) {
        return false;
    }
    codec_ = std::move(codec);
    return true;
}

void AudioWaveform::close() {
    codec_.reset();
    audioStream_ = -1;
    format_.reset();
}

int64_t AudioWaveform::durationMicroseconds() const {
    if (!format_ || format_->duration == AV_NOPTS_VALUE) {
        return 0;
    }
    return format_->duration;
}

std::vector<int> AudioWaveform::readLevels() {
    std::vector<int> levels;
    PacketPtr packet = media::makePacket();
    FramePtr frame = media::makeFrame();
    if (!codec_ || !packet || !frame) {
        return levels;
    }
    // Only the measured head of each frame is converted, so that is all the
    // buffer holds.
    std::vector<int16_t> samples(kMeasuredSamples);
    MonoConverter converter;
    while (av_read_frame(format_.get(), packet.get()) >= 0) {
        if (packet->stream_index == audioStream_ &&
            avcodec_send_packet(codec_.get(), packet.get()) >= 0) {
            while (avcodec_receive_frame(codec_.get(), frame.get()) >= 0) {
                std::fill(samples.begin(), samples.end(), 0);
                converter.convert(*frame, samples.data(), kMeasuredSamples);
                levels.push_back(frameLevel(frame->nb_samples, samples.data()));
            }
        }
        av_packet_unref(packet.get());
    }
    return levels;
}

int AudioWaveform::frameLevel(int frameSamples, const int16_t* samples) {
    const int count = std::min(frameSamples, kMeasuredSamples);
    if (count <= 0) {
        return 0;
    }
    double level = -1.0;
    double sum = 0.0;
    int run = 0;
    for (int i = 0; i < count; ++i) {
        const int value = std::abs(static_cast<int>(samples[i])) / kSampleScale;
        sum += value;
        if (value != kHalfScale) {
            run = 0;
            continue;
        }
        ++run;
        if (run > kFullLevelRun) {
            level = 1.0;
            break;
        }
        if (run > kNearFullLevelRun) {
            level = kNearFullLevel;
        }
    }
    if (level < 0.0) {
        level = (sum / count) * 40.0 / 42.0 / 127.0;
    }
    const double deflection = std::min(iecScale(20.0 * std::log10(level)) * kMeterHeadroom, 1.0);
    return static_cast<int>(deflection * 100.0);
}

double AudioWaveform::iecScale(double dB) {
    if (dB < -70.0) {
        return 0.0;
    }
    if (dB < -60.0) {
        return (dB + 70.0) * 0.0025f;
    }
    if (dB < -50.0) {
        return (dB + 60.0) * 0.005f + 0.025f;
    }
    if (dB < -40.0) {
        return (dB + 50.0) * 0.0075f + 0.075f;
    }
    if (dB < -30.0) {
        return (dB + 40.0) * 0.015f + 0.15f;
    }
    if (dB < -20.0) {
        return (dB + 30.0) * 0.02f + 0.3f;
    }
    if (dB >= -0.001 && dB <= 0.001) {
        return 1.0;
    }
    return (dB + 20.0) * 0.025f + 0.5f;
}

void AudioWaveform::shrinkLevels(const std::vector<int>& levels, std::vector<int>& result) {
    if (result.empty() || levels.empty()) {
        return;
    }
    const double ratio = static_cast<double>(levels.size()) / result.size();
    size_t first = 0;
    for (size_t i = 0; i < result.size(); ++i) {
        const size_t last = std::min(static_cast<size_t>(std::floor(i * ratio)), levels.size() - 1);
        if (last < first) {
            continue;
        }
        long sum = 0;
        for (size_t j = first; j <= last; ++j) {
            sum += levels[j];
        }
        result[i] = static_cast<int>(sum / static_cast<long>(last - first + 1));
        first = last + 1;
    }
}

void AudioWaveform::stretchLevels(const std::vector<int>& levels, std::vector<int>& result) {
    if (result.empty() || levels.empty()) {
        return;
    }
    const double ratio = static_cast<double>(result.size()) / levels.size();
    size_t previous = 0;
    for (size_t j = 0; j < levels.size(); ++j) {
        const size_t index =
            std::min(static_cast<size_t>(std::floor(j * ratio)), result.size() - 1);
        result[index] = levels[j];
        const float from = static_cast<float>(result[previous]);
        const float rise = static_cast<float>(result[index] - result[previous]);
        const float run = static_cast<float>(index - previous);
        for (size_t k = previous + 1; k < index; ++k) {
            result[k] = static_cast<int>(from + static_cast<float>(k - previous) * rise / run);
        }
        previous = index;
    }
}

bool AudioWaveform::writeLevels(const std::string& path, const std::vector<int>& result) {
    std::string text;
    text.reserve(result.size() * 4);
    for (int value : result) {
        text += std::to_string(value);
        text += '\n';
    }
    return platform::writeFileDurably(path, text);
}

bool AudioWaveform::readsOtherFiles() const {
    return format_ && media::readsOtherFiles(*format_);
}

namespace {

// Counts changes to how a level file is made from these facts.
constexpr int kLevelsRecipe = 1;

// The levels of an open file fitted to one value per point of its duration.
std::vector<int> fittedLevels(AudioWaveform& waveform, double pointsPerSecond) {
    const long count = std::lrint(waveform.durationMicroseconds() * pointsPerSecond / 1000000.0);
    const std::vector<int> levels = waveform.readLevels();
    std::vector<int> result(static_cast<size_t>(std::max(count, 0L)), 0);
    if (levels.size() > result.size()) {
        AudioWaveform::shrinkLevels(levels, result);
    } else if (levels.size() < result.size()) {
        AudioWaveform::stretchLevels(levels, result);
    } else {
        result = levels;
    }
    return result;
}

}  // namespace

bool makeAudioThumbFile(const std::string& profileName, const std::string& fileName,
                        const std::string& outFile, cache::ResultCache* cache) {
    double pointsPerSecond = kDefaultPointsPerSecond;
    if (!profileName.empty()) {
        media::ensureEngineFactory();
        media::ProfileHandle profile = media::makeProfile(profileName);
        if (profile) {
            pointsPerSecond = mlt_profile_fps(profile.get());
        }
    }
    media::CachedAnswers answers(cache, fileName);
    cache::CacheKey key = answers.key("levels", kLevelsRecipe);
    key.add("points per second", pointsPerSecond);
    return answers.answer(key, outFile, media::AnswerWrite::kDurable, [&] {
        media::FreshAnswer fresh;
        AudioWaveform waveform;
        if (!waveform.open(fileName)) {
            return fresh;
        }
        const std::vector<int> result = fittedLevels(waveform, pointsPerSecond);
        const bool fromItsOwnFile = !waveform.readsOtherFiles();
        waveform.close();
        fresh.result = AudioWaveform::writeLevels(outFile, result);
        fresh.keep = fresh.result && fromItsOwnFile;
        return fresh;
    });
}
