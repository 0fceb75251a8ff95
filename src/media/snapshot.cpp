#include "media/snapshot.h"

#include <framework/mlt.h>

#include <cstring>
#include <optional>
#include <vector>

#include "log/log.h"
#include "media/cached_answers.h"
#include "media/consumer_stops.h"
#include "media/mlt_handles.h"
#include "platform/files.h"
#include "platform/platform.h"

namespace {

const char kBeginText[] = "snapPic begin";
const char kEndText[] = "snapPic end";
const char kNoProfileText[] = "profile null";
const char kNoProducerText[] = "world null";
const char kMeltService[] = "melt";
const char kAvformatService[] = "avformat";
const char kTransportProducer[] = "transport_producer";
const char kTransportConsumer[] = "transport_consumer";
constexpr long kStopPollMs = 40;
// A render that ends without a frame is started again this many times at
// most: a lost start renders on the next try, while an output the consumer
// cannot open never will.
constexpr int kFramelessRetries = 2;
// Counts changes to how a snapshot is rendered from these facts.
constexpr int kSnapshotRecipe = 1;

// The producers that read one picture or media file and nothing else. Others
// (MLT documents, melt files, titles, colours) draw on more than the file
// the request names, or on no file at all.
const char* const kSingleFileServices[] = {"avformat", "avformat-novalidate", "qimage", "pixbuf"};

// The melt producer's argument vector for one frame, with its end marker.
class SingleFrameArguments {
  public:
    SingleFrameArguments(const std::string& fileName, int position)
        : texts_{fileName, "in=" + std::to_string(position), "out=" + std::to_string(position),
                 "force_progressive=1"} {
        for (std::string& text : texts_) {
            pointers_.push_back(&text[0]);
        }
        pointers_.push_back(nullptr);
    }
    char** data() { return pointers_.data(); }

  private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

media::ProducerHandle makeSingleFrameProducer(mlt_profile profile,
                                              SingleFrameArguments& arguments) {
    return media::ProducerHandle::adopt(
        mlt_factory_producer(profile, kMeltService, arguments.data()));
}

// The producer the melt producer made for its one file: the parent of the
// first clip on the first track of the tractor it builds. Null when the
// graph is shaped otherwise.
mlt_producer fileProducerOf(mlt_producer melt) {
    if (mlt_service_identify(MLT_PRODUCER_SERVICE(melt)) != mlt_service_tractor_type) {
        return nullptr;
    }
    mlt_multitrack tracks = mlt_tractor_multitrack(static_cast<mlt_tractor>(melt->child));
    mlt_producer track = tracks != nullptr ? mlt_multitrack_track(tracks, 0) : nullptr;
    if (track == nullptr ||
        mlt_service_identify(MLT_PRODUCER_SERVICE(track)) != mlt_service_playlist_type) {
        return nullptr;
    }
    mlt_producer clip = mlt_playlist_get_clip(static_cast<mlt_playlist>(track->child), 0);
    return clip != nullptr ? mlt_producer_cut_parent(clip) : nullptr;
}

bool readsItsFileAlone(mlt_producer melt) {
    const mlt_producer producer = fileProducerOf(melt);
    const char* service = producer != nullptr
                              ? mlt_properties_get(MLT_PRODUCER_PROPERTIES(producer), "mlt_service")
                              : nullptr;
    if (service == nullptr) {
        return false;
    }
    for (const char* single : kSingleFileServices) {
        if (std::strcmp(service, single) == 0) {
            return true;
        }
    }
    return false;
}

// The consumer picks its muxer and encoder from the name's extension.
std::string outputExtension(const std::string& outFile) {
    const size_t dot = outFile.find_last_of('.');
    const size_t separator = outFile.find_last_of(platform::kPathSeparatorChar);
    if (dot == std::string::npos || (separator != std::string::npos && dot < separator)) {
        return std::string();
    }
    return outFile.substr(dot + 1);
}

// Everything of the given profile the render reads. An empty profile name
// starts from MLT's default profile and adapts it to the media, which the
// media's own version decides.
cache::CacheKey snapshotKey(const media::CachedAnswers& answers, int position,
                            const mlt_profile_s& profile, bool adaptedToMedia,
                            const std::string& outFile) {
    cache::CacheKey key = answers.key("snapshot", kSnapshotRecipe);
    key.add("mlt", mlt_version_get_int())
        .add("position", position)
        .add("adapted to media", static_cast<int>(adaptedToMedia))
        .add("width", profile.width)
        .add("height", profile.height)
        .add("rate", static_cast<int64_t>(profile.frame_rate_num))
        .add("rate base", static_cast<int64_t>(profile.frame_rate_den))
        .add("sample aspect", static_cast<int64_t>(profile.sample_aspect_num))
        .add("sample aspect base", static_cast<int64_t>(profile.sample_aspect_den))
        .add("display aspect", static_cast<int64_t>(profile.display_aspect_num))
        .add("display aspect base", static_cast<int64_t>(profile.display_aspect_den))
        .add("progressive", profile.progressive)
        .add("colorspace", profile.colorspace)
        .add("output", outputExtension(outFile));
    return key;
}

// Renders the connected producer through the consumer until it stops by
// itself after its one frame.
void renderToEnd(mlt_producer producer, mlt_consumer consumer) {
    mlt_properties_set_data(MLT_CONSUMER_PROPERTIES(consumer), kTransportProducer, producer, 0,
                            nullptr, nullptr);
    mlt_properties_set_data(MLT_PRODUCER_PROPERTIES(producer), kTransportConsumer, consumer, 0,
                            nullptr, nullptr);
    mlt_consumer_connect(consumer, mlt_producer_service(producer));
    media::ConsumerStops stops(consumer);
    int retries = 0;
    if (mlt_consumer_start(consumer) == 0) {
        for (;;) {
            if (stops.startWasLost() ||
                (stops.endedWithoutAFrame() && retries++ < kFramelessRetries)) {
                stops.restart(producer);
            } else if (mlt_consumer_is_stopped(consumer)) {
                break;
            }
            platform::sleepMilliseconds(kStopPollMs);
        }
    }
    // A render thread that stopped by itself leaves the engine's read-ahead
    // side running and holding the producer; stopping joins it.
    mlt_consumer_stop(consumer);
    mlt_consumer_connect(consumer, nullptr);
}

// Renders the frame at position of fileName into outFile; the result is
// whether the producer could be made. An empty profile is adapted to the
// media first. Only a file the consumer wrote anew is worth keeping: it
// reports no failure of its own.
media::FreshAnswer renderSnapshot(mlt_profile profile, bool adaptToMedia,
                                  const std::string& fileName, int position,
                                  const std::string& outFile) {
    media::FreshAnswer fresh;
    SingleFrameArguments arguments(fileName, position);
    media::ProducerHandle producer = makeSingleFrameProducer(profile, arguments);
    if (producer && adaptToMedia) {
        // Remade on the adapted profile so the picture keeps the media's own size.
        mlt_profile_from_producer(profile, producer.get());
        profile->progressive = 1;
        producer.reset();
        producer = makeSingleFrameProducer(profile, arguments);
    }
    if (!producer) {
        return fresh;
    }
    const bool singleFile = readsItsFileAlone(producer.get());
    const std::optional<platform::FileIdentity> before = platform::regularFileIdentity(outFile);
    media::ConsumerHandle consumer = media::ConsumerHandle::adopt(
        mlt_factory_consumer(profile, kAvformatService, outFile.c_str()));
    if (consumer) {
        renderToEnd(producer.get(), consumer.get());
    }
    producer.reset();
    consumer.reset();
    const std::optional<platform::FileIdentity> after = platform::regularFileIdentity(outFile);
    fresh.result = true;
    fresh.keep = singleFile && after && after != before;
    return fresh;
}

}  // namespace

bool snapPicture(int position, const std::string& profileName, const std::string& fileName,
                 const std::string& outFile, cache::ResultCache* cache) {
    writeLog(kLogDebug, "%s", kBeginText);
    media::ensureEngineFactory();
    media::ProfileHandle profile = media::makeProfile(profileName);
    if (!profile) {
        writeLog(kLogInfo, "%s", kNoProfileText);
        return false;
    }
    media::CachedAnswers answers(cache, fileName);
    const cache::CacheKey key =
        snapshotKey(answers, position, *profile.get(), profileName.empty(), outFile);
    // A cached picture stands for a producer that was made.
    bool producerMade = true;
    answers.answer(key, outFile, media::AnswerWrite::kInPlace, [&] {
        const media::FreshAnswer fresh =
            renderSnapshot(profile.get(), profileName.empty(), fileName, position, outFile);
        producerMade = fresh.result;
        return fresh;
    });
    if (!producerMade) {
        writeLog(kLogInfo, "%s", kNoProducerText);
        return false;
    }
    profile.reset();
    writeLog(kLogDebug, "%s", kEndText);
    return true;
}
