#include "media/probe.h"

#include <framework/mlt.h>

#include <json/value.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "log/log.h"
#include "media/mlt_handles.h"
#include "messages/styled_json.h"

namespace {

const char kNoProfileText[] = "getProperty mlt_profile_init error profile = null";
const char kNoProducerText[] = "getProperty mlt_factory_producer error world = null";
const char kNoVideoText[] = "getVideoInfo fail to mlt_properties_get video_index: %s, %d\n";
const char kNoAudioText[] = "getAudioInfo fail to mlt_properties_get audio_index: %s, %d\n";
const char kAbsentText[] = "(null)";

const char kPictureType[] = "picture";

// Engine property names.
const char kVideoIndex[] = "video_index";
const char kAudioIndex[] = "audio_index";
const char kLength[] = "length";
const char kMediaWidth[] = "meta.media.width";
const char kMediaHeight[] = "meta.media.height";
const char kStreamPrefix[] = "meta.media.";
const char kCodecWidth[] = ".codec.width";
const char kCodecHeight[] = ".codec.height";
const char kCodecRotate[] = ".codec.rotate";
const char kStreamFrameRate[] = ".stream.frame_rate";
const char kCodecPixFmt[] = ".codec.pix_fmt";
const char kCodecBitRate[] = ".codec.bit_rate";
const char kCodecName[] = ".codec.name";
const char kCodecSampleFmt[] = ".codec.sample_fmt";
const char kCodecSampleRate[] = ".codec.sample_rate";
const char kCodecChannels[] = ".codec.channels";
const char kNotANumber[] = "nan";

// JSON keys of the description.
const char kVideoKey[] = "Video";
const char kAudioKey[] = "Audio";
const char kPictureKey[] = "Picture";
const char kLengthKey[] = "Length";
const char kTimeKey[] = "Time";
const char kFrameRateKey[] = "FrameRate";
const char kWidthKey[] = "Width";
const char kHeightKey[] = "Height";
const char kPixFmtKey[] = "PixFmt";
const char kCodecNameKey[] = "CodecName";
const char kBitRateKey[] = "BitRate";
const char kSampleFmtKey[] = "SampleFmt";
const char kSampleRateKey[] = "SampleRate";
const char kChannelsKey[] = "Channels";

// Numbers cross to and from text in the "C" locale while this lives; the
// process's own numeric locale comes back afterwards.
class CNumericLocale {
  public:
    CNumericLocale() {
        const char* current = std::setlocale(LC_NUMERIC, nullptr);
        saved_ = current != nullptr ? current : "C";
        std::setlocale(LC_NUMERIC, "C");
    }
    ~CNumericLocale() { std::setlocale(LC_NUMERIC, saved_.c_str()); }
    CNumericLocale(const CNumericLocale&) = delete;
    CNumericLocale& operator=(const CNumericLocale&) = delete;

  private:
    std::string saved_;
};

// One stream's properties, named "meta.media.<index><suffix>".
class StreamProperties {
  public:
    StreamProperties(mlt_properties properties, int index)
        : properties_(properties), prefix_(kStreamPrefix + std::to_string(index)) {}

    int getInt(const char* suffix) const {
        return mlt_properties_get_int(properties_, (prefix_ + suffix).c_str());
    }
    std::string getText(const char* suffix) const {
        const char* text = mlt_properties_get(properties_, (prefix_ + suffix).c_str());
        return text != nullptr ? text : std::string();
    }

  private:
    mlt_properties properties_;
    std::string prefix_;
};

// The stream index property, or -1 after logging when there is no such stream.
int streamIndex(mlt_properties properties, const char* name, const char* failureText) {
    const char* text = mlt_properties_get(properties, name);
    const int index = text != nullptr ? mlt_properties_get_int(properties, name) : -1;
    if (text == nullptr || index < 0) {
        writeLog(kLogInfo, failureText, text != nullptr ? text : kAbsentText, index);
        return -1;
    }
    return index;
}

bool isQuarterTurn(int degrees) {
    const int normalised = (degrees % 360 + 360) % 360;
    return normalised == 90 || normalised == 270;
}

double frameRateFromText(std::string text) {
    if (text == kNotANumber) {
        return 0.0;
    }
    // The engine wrote the rate in the process's numeric locale, which may
    // separate decimals with a comma.
    std::replace(text.begin(), text.end(), ',', '.');
    CNumericLocale locale;
    return std::strtod(text.c_str(), nullptr);
}

std::string styledText(const Json::Value& value) {
    CNumericLocale locale;
    return toStyledJson(value);
}

}  // namespace

bool getVideoInfo(mlt_properties properties, VideoInfo& info) {
    const int index = streamIndex(properties, kVideoIndex, kNoVideoText);
    if (index < 0) {
        return false;
    }
    const StreamProperties stream(properties, index);
    info.index = index;
    info.length = mlt_properties_get_int(properties, kLength);
    info.width = stream.getInt(kCodecWidth);
    info.height = stream.getInt(kCodecHeight);
    if (isQuarterTurn(stream.getInt(kCodecRotate))) {
        std::swap(info.width, info.height);
    }
    info.frameRate = frameRateFromText(stream.getText(kStreamFrameRate));
    info.pixFmt = stream.getText(kCodecPixFmt);
    info.bitRate = stream.getInt(kCodecBitRate);
    info.codecName = stream.getText(kCodecName);
    return true;
}

bool getAudioInfo(mlt_properties properties, AudioInfo& info) {
    const int index = streamIndex(properties, kAudioIndex, kNoAudioText);
    if (index < 0) {
        return false;
    }
    const StreamProperties stream(properties, index);
    info.index = index;
    info.sampleFmt = stream.getText(kCodecSampleFmt);
    info.length = mlt_properties_get_int(properties, kLength);
    info.sampleRate = stream.getInt(kCodecSampleRate);
    info.channels = stream.getInt(kCodecChannels);
    info.bitRate = stream.getInt(kCodecBitRate);
    info.codecName = stream.getText(kCodecName);
    return true;
}

std::string getMediaInfo(mlt_properties properties) {
    Json::Value description;
    const char* time = mlt_properties_get_time(properties, kLength, mlt_time_smpte_ndf);
    const std::string timeText = time != nullptr ? time : "";
    VideoInfo video;
    if (getVideoInfo(properties, video)) {
        Json::Value& member = description[kVideoKey];
        member[kLengthKey] = video.length;
        member[kTimeKey] = timeText;
        member[kFrameRateKey] = video.frameRate;
        member[kWidthKey] = video.width;
        member[kHeightKey] = video.height;
        member[kPixFmtKey] = video.pixFmt;
        member[kCodecNameKey] = video.codecName;
        member[kBitRateKey] = video.bitRate;
    }
    AudioInfo audio;
    if (getAudioInfo(properties, audio)) {
        Json::Value& member = description[kAudioKey];
        member[kLengthKey] = audio.length;
        member[kTimeKey] = timeText;
        member[kSampleFmtKey] = audio.sampleFmt;
        member[kSampleRateKey] = audio.sampleRate;
        member[kChannelsKey] = audio.channels;
        member[kCodecNameKey] = audio.codecName;
        member[kBitRateKey] = audio.bitRate;
    }
    return styledText(description);
}

std::string getPictureInfo(mlt_properties properties) {
    Json::Value description;
    Json::Value& picture = description[kPictureKey];
    picture[kWidthKey] = mlt_properties_get_int(properties, kMediaWidth);
    picture[kHeightKey] = mlt_properties_get_int(properties, kMediaHeight);
    return styledText(description);
}

std::string getMediaProperty(const std::string& profileName, const std::string& fileName,
                             const std::string& fileType) {
    media::ensureEngineFactory();
    media::ProfileHandle profile = media::makeProfile(profileName);
    if (!profile) {
        writeLog(kLogInfo, "%s", kNoProfileText);
        return std::string();
    }
    media::ProducerHandle producer = media::ProducerHandle::adopt(
        mlt_factory_producer(profile.get(), nullptr, fileName.c_str()));
    if (!producer) {
        writeLog(kLogInfo, "%s", kNoProducerText);
        return std::string();
    }
    mlt_properties properties = MLT_PRODUCER_PROPERTIES(producer.get());
    return fileType == kPictureType ? getPictureInfo(properties) : getMediaInfo(properties);
}
