// Owning holders for MLT objects, and the engine start the media operations
// share with the player.
//
// MLT counts references, and a holder owns exactly one. Whether that is the
// reference a factory call just made (adopt) or another one taken on an object
// somebody else owns (share) is decided where the holder is made, never at
// run time: wrapping a fresh producer by sharing would leak it, and adopting
// one the graph owns would close it under the graph.
#pragma once

#include <framework/mlt_types.h>

#include <string>
#include <utility>

namespace media {

// What a holder does with its reference; defined per MLT kind in the .cpp.
void releaseReference(mlt_producer_s* object);
void releaseReference(mlt_consumer_s* object);
void releaseReference(mlt_filter_s* object);
void releaseReference(mlt_transition_s* object);
void releaseReference(mlt_profile_s* object);  // profiles are not counted: closes
void addReference(mlt_producer_s* object);
void addReference(mlt_consumer_s* object);
void addReference(mlt_filter_s* object);
void addReference(mlt_transition_s* object);

template <typename Object>
class MltHandle {
  public:
    MltHandle() = default;
    // Takes over the reference a factory or constructor call returned.
    static MltHandle adopt(Object* object) { return MltHandle(object); }
    // Takes a reference of its own on an object owned elsewhere.
    static MltHandle share(Object* object) {
        if (object != nullptr) {
            addReference(object);
        }
        return MltHandle(object);
    }

    MltHandle(MltHandle&& other) noexcept : object_(other.release()) {}
    MltHandle& operator=(MltHandle&& other) noexcept {
        if (this != &other) {
            reset();
            object_ = other.release();
        }
        return *this;
    }
    MltHandle(const MltHandle&) = delete;
    MltHandle& operator=(const MltHandle&) = delete;
    ~MltHandle() { reset(); }

    Object* get() const { return object_; }
    Object* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    // Gives the reference to the caller (for MLT calls that take it over).
    Object* release() { return std::exchange(object_, nullptr); }
    void reset() {
        if (object_ != nullptr) {
            releaseReference(std::exchange(object_, nullptr));
        }
    }

  private:
    explicit MltHandle(Object* object) : object_(object) {}

    Object* object_ = nullptr;
};

using ProducerHandle = MltHandle<mlt_producer_s>;
using ConsumerHandle = MltHandle<mlt_consumer_s>;
using FilterHandle = MltHandle<mlt_filter_s>;
using TransitionHandle = MltHandle<mlt_transition_s>;
using ProfileHandle = MltHandle<mlt_profile_s>;

// Stops a consumer, cuts it from its producer and drops the holder's
// reference; purge first throws away the frames it has queued.
void retireConsumer(ConsumerHandle& consumer, bool purge = false);

// Starts the engine factory when nothing has started it yet.
void ensureEngineFactory();

// Starts the engine factory, first telling MLT's avformat producer, through
// the environment, to convert each decoded picture whole rather than in strips
// over its slice threads where processors are few (unless the process was
// given a value of its own). Returns the repository, null on failure.
mlt_repository startEngineFactory();

// The named MLT profile, or MLT's default profile for an empty name.
ProfileHandle makeProfile(const std::string& name);

}  // namespace media
