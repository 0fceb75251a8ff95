#include "media/consumer_stops.h"

#include <framework/mlt.h>

namespace media {
namespace {

const char kStoppedEvent[] = "consumer-stopped";
const char kFrameShownEvent[] = "consumer-frame-show";
// Long enough for a normal end to have marked the consumer stopped.
constexpr std::chrono::milliseconds kSettleTime(40);

void onStopped(mlt_properties, ConsumerStops* self, mlt_event_data) {
    self->noteStopped();
}

void onFrameShown(mlt_properties, ConsumerStops* self, mlt_event_data) {
    self->noteFrameShown();
}

}  // namespace

ConsumerStops::ConsumerStops(mlt_consumer consumer) : consumer_(consumer) {
    mlt_events_listen(MLT_CONSUMER_PROPERTIES(consumer), this, kStoppedEvent,
                      reinterpret_cast<mlt_listener>(&onStopped));
    mlt_events_listen(MLT_CONSUMER_PROPERTIES(consumer), this, kFrameShownEvent,
                      reinterpret_cast<mlt_listener>(&onFrameShown));
}

ConsumerStops::~ConsumerStops() {
    mlt_events_disconnect(MLT_CONSUMER_PROPERTIES(consumer_), this);
}

void ConsumerStops::clear() {
    reports_ = 0;
    framesShown_ = 0;
    runningAfterReport_.reset();
}

bool ConsumerStops::startWasLost() {
    if (reports_.load() == 0 || mlt_consumer_is_stopped(consumer_)) {
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!runningAfterReport_) {
        runningAfterReport_ = now;
        return false;
    }
    return now - *runningAfterReport_ >= kSettleTime;
}

bool ConsumerStops::endedWithoutAFrame() const {
    return reports_.load() > 0 && framesShown_.load() == 0 && mlt_consumer_is_stopped(consumer_);
}

void ConsumerStops::restart(mlt_producer producer) {
    mlt_consumer_stop(consumer_);
    mlt_consumer_purge(consumer_);
    mlt_producer_seek(producer, 0);
    mlt_producer_set_speed(producer, 1);
    clear();
    mlt_consumer_start(consumer_);
}

}  // namespace media
