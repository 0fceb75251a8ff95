#include "media/mlt_handles.h"

#include <framework/mlt.h>

#include <cstdlib>

#include "platform/platform.h"

namespace media {

namespace {

// Read by the avformat producer for every picture it converts.
constexpr char kWholeConversionVariable[] = "MLT_AVFORMAT_SLICED_PIXFMT_DISABLE";
// The producer cuts a picture into 512-pixel strips and gives each its own
// scaler, built anew for every frame. With two processors the encoder or the
// player keeps both busy, so the strips only add scaler set-ups and hand-offs:
// a 1080p H.264 export spent 7% more processor time with them for the same
// pictures. More processors were not measured, and keep MLT's strips.
constexpr int kMostProcessorsForWholeConversions = 2;

}  // namespace

void releaseReference(mlt_producer_s* object) {
    mlt_producer_close(object);
}
void releaseReference(mlt_consumer_s* object) {
    mlt_consumer_close(object);
}
void releaseReference(mlt_filter_s* object) {
    mlt_filter_close(object);
}
void releaseReference(mlt_transition_s* object) {
    mlt_transition_close(object);
}
void releaseReference(mlt_profile_s* object) {
    mlt_profile_close(object);
}

void addReference(mlt_producer_s* object) {
    mlt_properties_inc_ref(MLT_PRODUCER_PROPERTIES(object));
}
void addReference(mlt_consumer_s* object) {
    mlt_properties_inc_ref(MLT_CONSUMER_PROPERTIES(object));
}
void addReference(mlt_filter_s* object) {
    mlt_properties_inc_ref(MLT_FILTER_PROPERTIES(object));
}
void addReference(mlt_transition_s* object) {
    mlt_properties_inc_ref(MLT_TRANSITION_PROPERTIES(object));
}

void retireConsumer(ConsumerHandle& consumer, bool purge) {
    if (!consumer) {
        return;
    }
    if (purge) {
        mlt_consumer_purge(consumer.get());
    }
    mlt_consumer_stop(consumer.get());
    mlt_consumer_connect(consumer.get(), nullptr);
    consumer.reset();
}

void ensureEngineFactory() {
    if (mlt_factory_repository() == nullptr) {
        startEngineFactory();
    }
}

mlt_repository startEngineFactory() {
    if (platform::processorCount() <= kMostProcessorsForWholeConversions) {
        platform::setEnvironmentDefault(kWholeConversionVariable, "1");
    }
    return mlt_factory_init(nullptr);
}

ProfileHandle makeProfile(const std::string& name) {
    return ProfileHandle::adopt(mlt_profile_init(name.empty() ? nullptr : name.c_str()));
}

}  // namespace media
