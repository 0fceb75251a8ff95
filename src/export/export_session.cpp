#include "export/export_session.h"

#include <framework/mlt.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <numeric>

#include "engine/mlt_helper.h"
#include "export/graph_survey.h"
#include "export/render_guards.h"
#include "log/log.h"
#include "media/transport.h"
#include "platform/platform.h"

namespace {

// The render's argument vector.
constexpr char kProgramName[] = "orbelink";  // placeholder, never read by MLT
constexpr char kConsumerSwitch[] = "-consumer";
constexpr char kAvformatTarget[] = "avformat:";
constexpr char kNoVideoOption[] = "vn=1";
constexpr char kGroupOfPicturesOption[] = "g=25";
constexpr char kMissingText[] = "NULL";
constexpr char kOptionSeparator = '=';

// Consumer options that come from a settings member when it is set. The bit
// rates arrive in kbit/s and are turned into bit/s as text, so whatever the
// client wrote is passed on unchanged with three zeros behind it.
struct OptionRule {
    const char* prefix;
    std::string ExportSettings::*member;
    const char* suffix;
};
const OptionRule kOptionRules[] = {
    {"mlt_profile=", &ExportSettings::preset, ""},  {"vcodec=", &ExportSettings::videoEncoder, ""},
    {"r=", &ExportSettings::videoFrameRate, ""},    {"vb=", &ExportSettings::videoBitRate, "000"},
    {"acodec=", &ExportSettings::audioEncoder, ""}, {"ac=", &ExportSettings::audioChannel, ""},
    {"ar=", &ExportSettings::audioSampleRate, ""},  {"ab=", &ExportSettings::audioBitRate, "000"},
};

// Engine services, properties and events.
constexpr char kMeltService[] = "melt";
constexpr char kDefaultConsumer[] = "avformat";
constexpr char kRescaleProperty[] = "rescale";
constexpr char kBestQuality[] = "best";
constexpr char kBicubic[] = "bicubic";
constexpr char kBilinear[] = "bilinear";
constexpr char kProgressiveProperty[] = "progressive";
constexpr char kVideoOffProperty[] = "video_off";
constexpr char kCleanupEvent[] = "consumer-cleanup";

// Log texts.
constexpr char kLogOpenFailed[] = "Failed to open xml %s";
constexpr char kLogDefaultConsumer[] = "default to avformat";
constexpr char kLogStarted[] = "Start to Export File %s";
constexpr char kLogStartFailed[] = "Fail to Export File %s";

bool isSet(const std::string& value) {
    return !value.empty() && value != kMissingText;
}

// MLT's "melt" producer takes a null-terminated vector of C texts; the
// program-name slot is not part of it.
std::vector<char*> meltArguments(std::vector<std::string>& arguments) {
    std::vector<char*> texts;
    for (size_t i = 1; i < arguments.size(); ++i) {
        texts.push_back(&arguments[i][0]);
    }
    texts.push_back(nullptr);
    return texts;
}

bool isReadable(const std::string& path) {
    return std::ifstream(path).good();
}

}  // namespace

ExportSession::~ExportSession() {
    close();
}

std::vector<std::string> ExportSession::buildExportArguments(const ExportSettings& settings) {
    std::vector<std::string> arguments = {kProgramName, settings.xmlFile, kConsumerSwitch,
                                          kAvformatTarget + settings.fileName};
    for (const OptionRule& rule : kOptionRules) {
        const std::string& value = settings.*rule.member;
        if (isSet(value)) {
            arguments.push_back(rule.prefix + value + rule.suffix);
        }
    }
    if (isAudioOnly(settings)) {
        arguments.push_back(kNoVideoOption);
    }
    arguments.push_back(kGroupOfPicturesOption);
    return arguments;
}

bool ExportSession::isAudioOnly(const ExportSettings& settings) {
    // Only truly empty texts count here: a "NULL" video field keeps the video stream.
    return settings.videoEncoder.empty() && settings.videoWidth.empty() &&
           settings.videoHeight.empty() && settings.videoBitRate.empty();
}

void ExportSession::start(const ExportSettings& settings, const std::string& profileName) {
    close();
    lastPosition_ = 0;
    plan_ = RenderPlan();
    // An export may come before anything else has started the engine.
    media::ensureEngineFactory();
    std::vector<std::string> arguments = buildExportArguments(settings);

    profile_ = media::makeProfile(profileName);
    if (!profile_) {
        return;
    }
    applyVideoSize(settings);
    // Keeps the document's own profile from overriding the size asked for.
    profile_->is_explicit = 1;

    // MLT's "melt" producer never fails: it reports a document it cannot load
    // on standard error and answers an empty producer. A document that cannot
    // even be read is therefore caught here, as a failed open.
    if (isReadable(settings.xmlFile)) {
        std::vector<char*> meltTexts = meltArguments(arguments);
        producer_ = media::ProducerHandle::adopt(
            mlt_factory_producer(profile_.get(), kMeltService, meltTexts.data()));
    }
    if (!producer_) {
        writeLog(kLogError, kLogOpenFailed, settings.xmlFile.c_str());
        return;
    }
    const FrameRate documentRate = frameRateOf(profile_.get());
    makeConsumer(arguments);
    if (consumer_) {
        keepValidFrameRate(consumer_.get(), profile_.get(), documentRate);
    }
    startRender(settings);
}

void ExportSession::applyVideoSize(const ExportSettings& settings) {
    int width = std::atoi(settings.videoWidth.c_str());
    int height = std::atoi(settings.videoHeight.c_str());
    if (width == 0 || height == 0) {
        // Only one of them keeps the profile as named.
        return;
    }
    int divisor = std::gcd(width, height);
    profile_->width = width;
    profile_->height = height;
    profile_->display_aspect_num = width / divisor;
    profile_->display_aspect_den = height / divisor;
}

void ExportSession::makeConsumer(const std::vector<std::string>& arguments) {
    parseConsumerArgs(consumer_, profile_.get(), producer_.get(), arguments);
    if (!consumer_) {
        writeLog(kLogInfo, "%s", kLogDefaultConsumer);
        consumer_ = media::ConsumerHandle::adopt(createTransportConsumer(
            profile_.get(), kDefaultConsumer, producer_.get(), WindowSettings()));
    }
    if (consumer_) {
        // Listeners can attach only to a registered event, and close() fires it.
        mlt_events_register(MLT_CONSUMER_PROPERTIES(consumer_.get()), kCleanupEvent);
        stops_ = std::make_unique<media::ConsumerStops>(consumer_.get());
    }
}

void ExportSession::startRender(const ExportSettings& settings) {
    if (!producer_ || !consumer_ || mlt_producer_get_length(producer_.get()) <= 0) {
        return;
    }
    mlt_consumer consumer = consumer_.get();
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
    mlt_properties_set(properties, kRescaleProperty,
                       settings.qualityLevel == kBestQuality ? kBicubic : kBilinear);
    mlt_properties_set_int(properties, kProgressiveProperty, 1);
    if (isAudioOnly(settings)) {
        mlt_properties_set_int(properties, kVideoOffProperty, 1);
    }
    leaveOutRefusedVideo(consumer, profile_.get());
    planRenderOfGraph();
    bool started = mlt_consumer_connect(consumer, MLT_PRODUCER_SERVICE(producer_.get())) == 0 &&
                   mlt_consumer_start(consumer) == 0;
    if (started) {
        writeLog(kLogInfo, kLogStarted, settings.fileName.c_str());
    } else {
        writeLog(kLogError, kLogStartFailed, settings.fileName.c_str());
    }
}

void ExportSession::planRenderOfGraph() {
    if (!fastPathsAllowed_) {
        return;
    }
    const RenderTarget target =
        renderTargetOf(profile_.get(), consumer_.get(), platform::processorCount());
    // Files are opened again only where their scan can change the plan.
    const GraphSurvey survey(producer_.get(), target.planarPicturesIntact);
    plan_ = planRender(survey, target);
    applyRenderPlan(plan_, consumer_.get());
}

void ExportSession::close() {
    if (consumer_) {
        mlt_consumer consumer = consumer_.get();
        mlt_consumer_stop(consumer);
        mlt_consumer_connect(consumer, nullptr);
        mlt_events_fire(MLT_CONSUMER_PROPERTIES(consumer), kCleanupEvent, mlt_event_data_none());
        stops_.reset();
        producer_.reset();
        consumer_.reset();
    }
    producer_.reset();
    profile_.reset();
}

int ExportSession::totalFrames() const {
    return producer_ ? mlt_producer_get_length(producer_.get()) : 0;
}

void ExportSession::restartIfStartWasLost() {
    if (stops_ && producer_ && stops_->startWasLost()) {
        stops_->restart(producer_.get());
    }
}

bool ExportSession::isStopped() {
    restartIfStartWasLost();
    return consumer_ && mlt_consumer_is_stopped(consumer_.get()) != 0;
}

int ExportSession::currentPosition(const std::string& cachePath) {
    if (!consumer_) {
        return 0;
    }
    restartIfStartWasLost();
    int position = std::max(static_cast<int>(mlt_consumer_position(consumer_.get())), 0);
    if (position != lastPosition_ && producer_) {
        MltHelper(producer_.get(), cachePath).refresh(lastPosition_, position);
    }
    lastPosition_ = position;
    return position;
}

void parseConsumerArgs(media::ConsumerHandle& consumer, mlt_profile profile, mlt_producer producer,
                       const std::vector<std::string>& arguments) {
    for (size_t i = 1; i < arguments.size(); ++i) {
        if (arguments[i] != kConsumerSwitch) {
            continue;
        }
        consumer.reset();
        if (i + 1 >= arguments.size()) {
            return;
        }
        ++i;
        // Export ids are never "sdl2", so no window is handed over.
        consumer = media::ConsumerHandle::adopt(
            createTransportConsumer(profile, arguments[i], producer, WindowSettings()));
        if (!consumer) {
            continue;
        }
        mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer.get());
        while (i + 1 < arguments.size() &&
               arguments[i + 1].find(kOptionSeparator) != std::string::npos) {
            ++i;
            mlt_properties_parse(properties, arguments[i].c_str());
        }
    }
}
