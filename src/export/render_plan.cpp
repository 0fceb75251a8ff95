#include "export/render_plan.h"

#include <framework/mlt.h>

#include <algorithm>

#include "export/consumer_encoders.h"
#include "export/service_traits.h"

namespace {

constexpr char kPlanarYuv420[] = "yuv420p";
constexpr int kFirstEngineWithWholePlanes = (7 << 16) | (14 << 8);
// MLT's parallel render workers each fetch their frame from the same
// decoders, so frames arrive out of order and decoders seek back: two
// workers decoded 427 packets for a 200-frame cut where one decoded 259. They
// pay off only where effects outweigh decoding, and only with cores the
// encoder leaves over: it takes about one and a half per core for itself.
constexpr int kProcessorsPerRenderThread = 4;
constexpr int kMaxRenderThreads = 4;

template <typename Names, typename Predicate>
bool all(const Names& names, Predicate predicate) {
    return std::all_of(names.begin(), names.end(), predicate);
}

// Only media files and containers: generators and wrapped renders (the
// "consumer" producer MLT substitutes for a document whose own profile
// differs from the export's, which scales the whole render) are not judged.
bool onlyMediaFiles(const GraphSurvey& survey) {
    return survey.otherProducers().empty() &&
           all(survey.normalisers(),
               [](const std::string& name) { return isKnownNormaliser(name); });
}

bool hasPictureEffects(const GraphSurvey& survey) {
    return !all(survey.effects(), [](const std::string& name) {
        return pictureUseOf(name) == FormatUse::kUntouched;
    });
}

// The avformat producer hands such a source over as a plain copy of the
// decoded planes, and the loader's normalisers have nothing to do: no
// scaling, padding, deinterlacing or range and colour conversion.
bool isAlreadyTarget(const MediaSource& source, const RenderTarget& target) {
    return source.pixelFormat == kPlanarYuv420 && source.width == target.width &&
           source.height == target.height &&
           source.sampleAspectNum * target.sampleAspectDen ==
               target.sampleAspectNum * source.sampleAspectDen &&
           source.rotation == 0 && source.progressive && !source.fullRange &&
           source.colorspace == target.colorspace;
}

std::string pictureFormatFor(const GraphSurvey& survey, const RenderTarget& target) {
    const std::string format = imageFormatFor(target.video);
    // 4:2:0 planes need whole chroma samples.
    if (format.empty() || !target.planarPicturesIntact || target.width % 2 != 0 ||
        target.height % 2 != 0 || !onlyMediaFiles(survey)) {
        return std::string();
    }
    const bool effectsKeepTheirFormats = all(survey.effects(), [](const std::string& name) {
        return pictureUseOf(name) != FormatUse::kUnknown;
    });
    const bool sourcesFit = all(survey.sources(), [&target](const MediaSource& source) {
        return !source.hasVideo || isAlreadyTarget(source, target);
    });
    return effectsKeepTheirFormats && sourcesFit ? format : std::string();
}

std::string soundFormatFor(const GraphSurvey& survey, const RenderTarget& target) {
    const std::string format = audioFormatFor(target.audio);
    const bool effectsKeepTheirFormats = all(survey.effects(), [](const std::string& name) {
        return soundUseOf(name) != FormatUse::kUnknown;
    });
    return !format.empty() && onlyMediaFiles(survey) && effectsKeepTheirFormats ? format
                                                                                : std::string();
}

int renderThreadsFor(const GraphSurvey& survey, const RenderTarget& target) {
    if (!hasPictureEffects(survey)) {
        return 1;
    }
    return std::clamp(target.processors / kProcessorsPerRenderThread, 1, kMaxRenderThreads);
}

}  // namespace

bool RenderPlan::operator==(const RenderPlan& other) const {
    return imageFormat == other.imageFormat && audioFormat == other.audioFormat &&
           renderThreads == other.renderThreads;
}

bool engineKeepsPlanarPicturesWhole() {
    return mlt_version_get_int() >= kFirstEngineWithWholePlanes;
}

RenderTarget renderTargetOf(mlt_profile profile, mlt_consumer consumer, int processors) {
    RenderTarget target;
    target.width = profile->width;
    target.height = profile->height;
    target.sampleAspectNum = profile->sample_aspect_num;
    target.sampleAspectDen = profile->sample_aspect_den;
    target.frameRateNum = profile->frame_rate_num;
    target.frameRateDen = profile->frame_rate_den;
    target.colorspace = profile->colorspace;
    const ConsumerEncoders encoders = consumerEncoders(MLT_CONSUMER_PROPERTIES(consumer));
    target.video = encoders.video;
    target.audio = encoders.audio;
    target.processors = processors;
    target.planarPicturesIntact = engineKeepsPlanarPicturesWhole();
    return target;
}

RenderPlan planRender(const GraphSurvey& survey, const RenderTarget& target) {
    RenderPlan plan;
    plan.imageFormat = pictureFormatFor(survey, target);
    plan.audioFormat = soundFormatFor(survey, target);
    plan.renderThreads = renderThreadsFor(survey, target);
    return plan;
}

void applyRenderPlan(const RenderPlan& plan, mlt_consumer consumer) {
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
    if (!plan.imageFormat.empty()) {
        mlt_properties_set(properties, "mlt_image_format", plan.imageFormat.c_str());
    }
    if (!plan.audioFormat.empty()) {
        mlt_properties_set(properties, "mlt_audio_format", plan.audioFormat.c_str());
    }
    mlt_properties_set_int(properties, "real_time", -plan.renderThreads);
}
