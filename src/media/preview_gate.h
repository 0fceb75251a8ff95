// A pass-through service between the preview producer and its consumer that
// decides when the consumer may fetch the next frame.
//
// A paused MLT consumer keeps fetching and rendering the held frame, and its
// audio pacing lets each of those through only once a frame period has gone
// by, so a seek waits behind frames of the old position. The gate parks the
// consumer's fetch once the held frame has been shown and lets it go as soon
// as the producer moves, changes speed or is told the picture changed: a seek
// then costs one render and one present.
//
// It also lets an edit have the graph to itself without stopping the
// consumer: while an edit holds the gate no frame is fetched, and the edit
// begins only once no frame is in flight (fetched, its image not yet made).
#pragma once

#include <framework/mlt_types.h>

#include <memory>

namespace media {

struct GateState;

class PreviewGate {
  public:
    // Holds every fetch until a producer is attached.
    PreviewGate();
    // Takes its own reference on producer.
    explicit PreviewGate(mlt_producer producer);
    // Drops our reference; frames still alive keep the service until closed.
    ~PreviewGate();
    PreviewGate(const PreviewGate&) = delete;
    PreviewGate& operator=(const PreviewGate&) = delete;

    // Puts producer behind the gate (once), taking a reference on it.
    void attach(mlt_producer producer);
    // Connects consumer to the gate and follows what it shows.
    void connect(mlt_consumer consumer);

    // The producer moved: the parked fetch looks again at once, even right after an edit.
    void recheck();
    // The picture at the held position may have changed: one more frame goes through.
    void refresh();
    // True while the consumer's fetch is parked and every frame it fetched has
    // been shown or dropped: its queues are empty, and a purge would only drop the next,
    // fresh frame.
    bool isSettled() const;

    // While one lives, no frame is fetched and none is in flight.
    class Exclusive {
      public:
        explicit Exclusive(PreviewGate& gate);
        // The edited picture goes through next; while paused, once edits have
        // paused for a moment.
        ~Exclusive();
        Exclusive(const Exclusive&) = delete;
        Exclusive& operator=(const Exclusive&) = delete;

      private:
        PreviewGate& gate_;
    };

  private:
    mlt_service service_ = nullptr;
    std::shared_ptr<GateState> state_;
};

}  // namespace media
