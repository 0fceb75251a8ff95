#include "media/consumer_events.h"

#include <framework/mlt.h>

namespace media {
namespace {

const char kRelayProperty[] = "_qv_consumer_events";
const char kFrameShowEvent[] = "consumer-frame-show";
const char kStoppedEvent[] = "consumer-stopped";

void onReport(mlt_properties, ConsumerEvents* self, mlt_event_data) {
    self->noteReport();
}

void deleteRelay(void* relay) {
    delete static_cast<ConsumerEvents*>(relay);
}

}  // namespace

ConsumerEvents& ConsumerEvents::of(mlt_consumer consumer) {
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
    auto* relay =
        static_cast<ConsumerEvents*>(mlt_properties_get_data(properties, kRelayProperty, nullptr));
    if (relay == nullptr) {
        relay = new ConsumerEvents();
        // Listeners run after MLT's own, which records the shown position first.
        mlt_events_listen(properties, relay, kFrameShowEvent,
                          reinterpret_cast<mlt_listener>(&onReport));
        mlt_events_listen(properties, relay, kStoppedEvent,
                          reinterpret_cast<mlt_listener>(&onReport));
        mlt_properties_set_data(properties, kRelayProperty, relay, 0, deleteRelay, nullptr);
    }
    return *relay;
}

uint64_t ConsumerEvents::reports() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
}

void ConsumerEvents::waitAfter(uint64_t seen, std::chrono::microseconds slice) const {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, slice, [&] { return reports_ != seen; });
}

void ConsumerEvents::noteReport() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++reports_;
    }
    changed_.notify_all();
}

}  // namespace media
