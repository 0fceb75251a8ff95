// Watches an MLT consumer for a start that was lost. MLT 7's avformat
// consumer marks itself running only after it has created its render thread,
// and that thread leaves its loop at once when it finds the mark still unset:
// it renders nothing, reports "consumer-stopped", and the late mark then
// leaves the consumer reading as running for ever. A report followed, a poll
// later, by a consumer that still reads as running is that lost start.
#pragma once

#include <framework/mlt_types.h>

#include <atomic>
#include <chrono>
#include <optional>

namespace media {

class ConsumerStops {
  public:
    explicit ConsumerStops(mlt_consumer consumer);
    // Detaches only our listener; the consumer owns its listener list.
    ~ConsumerStops();
    ConsumerStops(const ConsumerStops&) = delete;
    ConsumerStops& operator=(const ConsumerStops&) = delete;

    // Forgets earlier reports; call before each start.
    void clear();
    // True once the render thread has reported its end and the consumer has
    // still read as running a poll interval later. Poll it while waiting.
    bool startWasLost();
    // Stops the consumer and starts it again from the producer's first frame at normal speed.
    void restart(mlt_producer producer);

    // True when the render thread has reported its end and the consumer
    // reads as stopped, but not one frame was shown: the other shape of a
    // lost start, where the late mark fell before the thread's own last one.
    // A consumer that could not open its output ends the same way.
    bool endedWithoutAFrame() const;

    // Called on the render thread when it reports its end.
    void noteStopped() { ++reports_; }
    // Called on the render thread for each frame it shows (encodes).
    void noteFrameShown() { ++framesShown_; }

  private:
    mlt_consumer consumer_;
    std::atomic<int> reports_{0};
    std::atomic<int> framesShown_{0};
    std::optional<std::chrono::steady_clock::time_point> runningAfterReport_;
};

}  // namespace media
