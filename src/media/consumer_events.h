// What a running consumer reports from its own threads: each frame it shows
// ("consumer-frame-show") and its end ("consumer-stopped"). Code that waits
// for a consumer to reach a frame sleeps on these reports instead of sleeping
// whole frame periods, and still re-checks after a short slice in case the
// report it needs came before it started waiting.
#pragma once

#include <framework/mlt_types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace media {

class ConsumerEvents {
  public:
    // The consumer's relay, made on first use and owned by the consumer's
    // properties (it goes with the consumer). Call it on the thread that
    // creates and closes the consumer.
    static ConsumerEvents& of(mlt_consumer consumer);

    // Counts the reports so far; pass it to waitAfter.
    uint64_t reports() const;
    // Sleeps until a report newer than seen arrives, or for at most slice.
    void waitAfter(uint64_t seen, std::chrono::microseconds slice) const;

    // Called on the consumer's threads.
    void noteReport();

  private:
    ConsumerEvents() = default;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    uint64_t reports_ = 0;
};

}  // namespace media
