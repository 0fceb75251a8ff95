#include "media/snapshot.h"

#include <framework/mlt.h>

#include <vector>

#include "log/log.h"
#include "media/consumer_stops.h"
#include "media/mlt_handles.h"
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

// Renders the connected producer through the consumer until it stops by
// itself after its one frame.
void renderToEnd(mlt_producer producer, mlt_consumer consumer) {
    mlt_properties_set_data(MLT_CONSUMER_PROPERTIES(consumer), kTransportProducer, producer, 0,
                            nullptr, nullptr);
    mlt_properties_set_data(MLT_PRODUCER_PROPERTIES(producer), kTransportConsumer, consumer, 0,
                            nullptr, nullptr);
    mlt_consumer_connect(consumer, mlt_producer_service(producer));
    media::ConsumerStops stops(consumer);
    if (mlt_consumer_start(consumer) == 0) {
        while (!mlt_consumer_is_stopped(consumer)) {
            if (stops.startWasLost()) {
                stops.restart(producer);
            }
            platform::sleepMilliseconds(kStopPollMs);
        }
    }
    // A render thread that stopped by itself leaves the engine's read-ahead
    // side running and holding the producer; stopping joins it.
    mlt_consumer_stop(consumer);
    mlt_consumer_connect(consumer, nullptr);
}

}  // namespace

bool snapPicture(int position, const std::string& profileName, const std::string& fileName,
                 const std::string& outFile) {
    writeLog(kLogDebug, "%s", kBeginText);
    media::ensureEngineFactory();
    media::ProfileHandle profile = media::makeProfile(profileName);
    if (!profile) {
        writeLog(kLogInfo, "%s", kNoProfileText);
        return false;
    }
    SingleFrameArguments arguments(fileName, position);
    media::ProducerHandle producer = makeSingleFrameProducer(profile.get(), arguments);
    if (producer && profileName.empty()) {
        // Remade on the adapted profile so the picture keeps the media's own size.
        mlt_profile_from_producer(profile.get(), producer.get());
        profile->progressive = 1;
        producer.reset();
        producer = makeSingleFrameProducer(profile.get(), arguments);
    }
    if (!producer) {
        writeLog(kLogInfo, "%s", kNoProducerText);
        return false;
    }
    media::ConsumerHandle consumer = media::ConsumerHandle::adopt(
        mlt_factory_consumer(profile.get(), kAvformatService, outFile.c_str()));
    if (consumer) {
        renderToEnd(producer.get(), consumer.get());
    }
    producer.reset();
    consumer.reset();
    profile.reset();
    writeLog(kLogDebug, "%s", kEndText);
    return true;
}
