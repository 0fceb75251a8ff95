#include "player/media_snapshot.h"

#include <atomic>
#include <vector>

#include "host/log.h"
#include "platform/platform.h"
#include "player/media_mlt_handles.h"

namespace {

const char kBeginText[] = "snapPic begin";
const char kEndText[] = "snapPic end";
const char kNoProfileText[] = "profile null";
const char kNoProducerText[] = "world null";
const char kMeltService[] = "melt";
const char kAvformatService[] = "avformat";
const char kTransportProducer[] = "transport_producer";
const char kTransportConsumer[] = "transport_consumer";
const char kStoppedEvent[] = "consumer-stopped";
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

media::ProducerPtr makeSingleFrameProducer(mlt_profile profile, SingleFrameArguments& arguments) {
    return media::ProducerPtr(mlt_factory_producer(profile, kMeltService, arguments.data()));
}

// Counts the consumer's reports that its render thread has ended.
class StopReports {
  public:
    explicit StopReports(mlt_consumer consumer) : consumer_(consumer) {
        mlt_events_listen(MLT_CONSUMER_PROPERTIES(consumer), this, kStoppedEvent,
                          reinterpret_cast<mlt_listener>(&StopReports::onStopped));
    }
    // The consumer owns its listeners; this only detaches ours.
    ~StopReports() { mlt_events_disconnect(MLT_CONSUMER_PROPERTIES(consumer_), this); }
    StopReports(const StopReports&) = delete;
    StopReports& operator=(const StopReports&) = delete;

    int count() const { return count_.load(); }

  private:
    static void onStopped(mlt_properties, StopReports* self, mlt_event_data) { ++self->count_; }

    mlt_consumer consumer_;
    std::atomic<int> count_{0};
};

// Starts the consumer and waits until it has stopped by itself. Answers false
// when the render thread ended before start had marked the consumer running:
// that thread rendered nothing, and the consumer never reads as stopped.
bool renderOnce(mlt_consumer consumer, const StopReports& reports) {
    const int reportsBefore = reports.count();
    if (mlt_consumer_start(consumer) != 0) {
        return true;
    }
    bool threadEnded = false;
    while (!mlt_consumer_is_stopped(consumer)) {
        // One more poll after the report lets a normal end mark itself stopped.
        if (threadEnded) {
            return false;
        }
        threadEnded = reports.count() != reportsBefore;
        platform::sleepMilliseconds(kStopPollMs);
    }
    return true;
}

// Renders the connected producer through the consumer until it stops by
// itself after its one frame.
void renderToEnd(mlt_producer producer, mlt_consumer consumer) {
    mlt_properties_set_data(MLT_CONSUMER_PROPERTIES(consumer), kTransportProducer, producer, 0,
                            nullptr, nullptr);
    mlt_properties_set_data(MLT_PRODUCER_PROPERTIES(producer), kTransportConsumer, consumer, 0,
                            nullptr, nullptr);
    mlt_consumer_connect(consumer, mlt_producer_service(producer));
    const StopReports reports(consumer);
    while (!renderOnce(consumer, reports)) {
        mlt_consumer_stop(consumer);
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
    media::ProfilePtr profile = media::makeProfile(profileName);
    if (!profile) {
        writeLog(kLogInfo, "%s", kNoProfileText);
        return false;
    }
    SingleFrameArguments arguments(fileName, position);
    media::ProducerPtr producer = makeSingleFrameProducer(profile.get(), arguments);
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
    media::ConsumerPtr consumer(
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
