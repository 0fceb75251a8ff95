// Owning holders for the MLT objects that the media operations make for one
// request, and the engine start they share with the player.
#pragma once

#include <mlt-7/framework/mlt.h>

#include <memory>
#include <string>

namespace media {

struct ProfileDeleter {
    void operator()(mlt_profile profile) const { mlt_profile_close(profile); }
};
using ProfilePtr = std::unique_ptr<mlt_profile_s, ProfileDeleter>;

struct ProducerDeleter {
    void operator()(mlt_producer producer) const { mlt_producer_close(producer); }
};
using ProducerPtr = std::unique_ptr<mlt_producer_s, ProducerDeleter>;

struct ConsumerDeleter {
    void operator()(mlt_consumer consumer) const { mlt_consumer_close(consumer); }
};
using ConsumerPtr = std::unique_ptr<mlt_consumer_s, ConsumerDeleter>;

// Starts the engine factory when nothing has started it yet.
void ensureEngineFactory();

// The named MLT profile, or MLT's default profile for an empty name.
ProfilePtr makeProfile(const std::string& name);

}  // namespace media
