#include "player/player.h"

#include <framework/mlt.h>

#include <cstdarg>
#include <cstdio>

#include "log/log.h"
#include "media/mlt_handles.h"
#include "media/transport.h"
#include "player/player_names.h"
#include "player/timeline_load.h"

namespace {

constexpr char kPlayStart[] = "play command start";
constexpr char kPlayProfile[] = "play :profile width:%d, profile heigh:%d";
constexpr char kPlayEnd[] = "play : %s ";
constexpr char kCloseConsumer[] = "closeConsumer";
constexpr char kCloseProfile[] = "closeProfile";

constexpr int kPlayConsumerMissing = -3;
constexpr int kPlayConsumerNotStarted = -4;

// The engine values reported once when the engine starts, with their log texts.
constexpr struct {
    const char* name;
    const char* format;
} kEngineEnvironment[] = {
    {"MLT_APPDIR", "[MLT_APPDIR]: %s "},
    {"MLT_DATA", "[MLT_DATA]: %s "},
    {"MLT_PRESETS_PATH", "[MLT_PRESETS_PATH]: %s "},
    {"MLT_PROFILES_PATH", "[MLT_PROFILES_PATH]: %s "},
};

// MLT's info level; anything chattier is dropped.
constexpr int kEngineLogLevel = MLT_LOG_INFO;
constexpr size_t kEngineLineBuffer = 1024;
constexpr size_t kEngineLineLimit = 1000;

void engineLogCallback(void* service, int level, const char* format, va_list arguments) {
    if (level > kEngineLogLevel) {
        return;
    }
    char line[kEngineLineBuffer] = {};
    vsnprintf(line, kEngineLineLimit + 1, format, arguments);
    writeLog(kLogInfo, "%s", line);
}

}  // namespace

MePlayer::MePlayer() = default;

// The service closes the preview before it shuts the engine down, so this
// finds the handles already closed; a player dropped while still previewing
// (a test, an early exit) stops its consumers before releasing them.
MePlayer::~MePlayer() {
    releasePreview();
}

void MePlayer::setCachePath(const std::string& path) {
    cachePath_ = path;
}

std::string MePlayer::getCachePath() const {
    return cachePath_;
}

std::string MePlayer::getMltFile() const {
    return xmlPath_;
}

bool MePlayer::hasProducer() const {
    return static_cast<bool>(producer_);
}

int MePlayer::initFactory() {
    if (repository_ != nullptr) {
        return 0;
    }
    repository_ = media::startEngineFactory();
    for (const auto& value : kEngineEnvironment) {
        const char* text = mlt_environment(value.name);
        if (text != nullptr) {
            writeLog(kLogDebug, value.format, text);
        }
    }
    mlt_log_set_level(kEngineLogLevel);
    mlt_log_set_callback(engineLogCallback);
    return 0;
}

void MePlayer::ensureFactory() {
    if (repository_ == nullptr) {
        repository_ = media::startEngineFactory();
    }
}

void MePlayer::ensureProfile() {
    if (!profile_) {
        profile_ = media::makeProfile(profileName);
    }
}

mlt_consumer MePlayer::createConsumer(mlt_profile profile, const std::string& id) {
    WindowSettings window;
    window.windowId = windowId;
    window.displayAspectNum = displayAspectNum;
    window.displayAspectDen = displayAspectDen;
    window.windowWidth = windowWidth;
    window.windowHeight = windowHeight;
    return createTransportConsumer(profile, id, producer_.get(), window);
}

mlt_consumer MePlayer::transport() const {
    return transportConsumer(producer_.get());
}

void MePlayer::setTransportInt(const char* name, int value) {
    if (mlt_consumer consumer = transport()) {
        mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(consumer), name, value);
    }
}

void MePlayer::setTransportDouble(const char* name, double value) {
    if (mlt_consumer consumer = transport()) {
        mlt_properties_set_double(MLT_CONSUMER_PROPERTIES(consumer), name, value);
    }
}

double MePlayer::producerSpeed() const {
    return producer_ ? mlt_producer_get_speed(producer_.get()) : 0.0;
}

void MePlayer::setProducerSpeed(double value) {
    if (producer_) {
        // The gate notices the new speed on its own within a few milliseconds:
        // waking it here would let a frame through before a seek that follows.
        mlt_producer_set_speed(producer_.get(), value);
    }
}

void MePlayer::connectPreview(mlt_consumer consumer) {
    gate_->connect(consumer);
}

void MePlayer::purgeTransport() {
    mlt_consumer consumer = transport();
    if (consumer != nullptr && !(gate_ && gate_->isSettled())) {
        mlt_consumer_purge(consumer);
    }
}

int MePlayer::play(int position, bool autoPlay, const std::string& xmlPath) {
    writeLog(kLogInfo, "%s", kPlayStart);
    closeConsumer();
    xmlPath_ = xmlPath;
    ensureFactory();
    ensureProfile();
    int result = 0;
    if (profile_) {
        writeLog(kLogInfo, kPlayProfile, profile_->width, profile_->height);
        result = startPreview(position, autoPlay);
    }
    writeLog(kLogInfo, kPlayEnd, xmlPath_.c_str());
    return result;
}

int MePlayer::startPreview(int position, bool autoPlay) {
    // The window opens while the timeline loads; the gate holds the consumer
    // until the producer is behind it.
    TimelineLoad load(profile_.get(), xmlPath_, position);
    gate_ = std::make_unique<media::PreviewGate>();
    consumer_ =
        media::ConsumerHandle::adopt(createConsumer(profile_.get(), playernames::kPreviewService));
    int started = kPlayConsumerNotStarted;
    if (consumer_) {
        mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer_.get());
        connectPreview(consumer_.get());
        mlt_properties_set_int(properties, playernames::kScrubAudio, 0);
        mlt_properties_set_int(properties, playernames::kSlowOnPause, 1);
        mlt_properties_set_double(properties, playernames::kVolume, autoPlay ? volume : 0.0);
        started = mlt_consumer_start(consumer_.get());
    }
    producer_ = media::ProducerHandle::adopt(load.take());
    if (!producer_) {
        // Nothing to preview: the window goes again without having played a
        // frame or opened its sound.
        if (consumer_) {
            mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(consumer_.get()), playernames::kAudioOff,
                                   1);
            media::retireConsumer(consumer_);
        }
        gate_.reset();
        return 0;
    }
    if (!consumer_) {
        // The producer was built on the profile, so it goes first.
        gate_.reset();
        producer_.reset();
        profile_.reset();
        return kPlayConsumerMissing;
    }
    linkTransport(consumer_.get(), producer_.get());
    setProducerSpeed(autoPlay ? 1.0 : 0.0);
    gate_->attach(producer_.get());
    if (started != 0) {
        return kPlayConsumerNotStarted;
    }
    seekAndHold(position);
    return 0;
}

void MePlayer::closeConsumer() {
    writeLog(kLogInfo, "%s", kCloseConsumer);
    releasePreview();
    writeLog(kLogInfo, "%s", kCloseProfile);
    profile_.reset();
}

void MePlayer::releasePreview() {
    if (consumer_) {
        setTransportDouble(playernames::kVolume, 0.0);
        media::retireConsumer(consumer_);
    }
    if (fullScreenConsumer_) {
        media::retireConsumer(fullScreenConsumer_);
    }
    // The dump describes this graph, so it is written before the graph goes.
    graphDumps_.flush(producer_.get());
    gate_.reset();
    producer_.reset();
}
