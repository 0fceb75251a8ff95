#include "player/waits.h"

#include <framework/mlt.h>

#include <chrono>
#include <cstdint>

#include "log/log.h"
#include "media/consumer_events.h"
#include "platform/platform.h"

namespace playerwait {
namespace {

constexpr char kWaitForPositionBegin[] = "waitForPosition begin";
constexpr char kWaitForPositionEnd[] = "waitForPosition end";

// The re-check when no report comes: a report that arrived just before the
// wait began, or a consumer that ends without one.
constexpr std::chrono::microseconds kRecheck(2000);
constexpr uint64_t kSeekLimitMs = 2000;
constexpr uint64_t kStartLimitMs = 150;
constexpr uint64_t kNoLimit = 0;

bool isStopped(mlt_consumer consumer) {
    return mlt_consumer_is_stopped(consumer) != 0;
}

// Waits until done() holds or the consumer stops (true), or limitMs passes
// (false; kNoLimit waits on).
template <typename Done>
bool waitUntil(mlt_consumer consumer, uint64_t limitMs, Done done) {
    const media::ConsumerEvents& events = media::ConsumerEvents::of(consumer);
    const uint64_t start = platform::tickCountMs();
    for (;;) {
        const uint64_t seen = events.reports();
        if (isStopped(consumer) || done()) {
            return true;
        }
        if (limitMs != kNoLimit && platform::tickCountMs() - start > limitMs) {
            return false;
        }
        events.waitAfter(seen, kRecheck);
    }
}

}  // namespace

void waitForPosition(mlt_consumer consumer, int target) {
    writeLog(kLogInfo, "%s", kWaitForPositionBegin);
    if (!waitUntil(consumer, kSeekLimitMs,
                   [&] { return mlt_consumer_position(consumer) == target; })) {
        return;
    }
    writeLog(kLogInfo, "%s", kWaitForPositionEnd);
}

bool waitForSeek(mlt_consumer consumer, int target) {
    return waitUntil(consumer, kSeekLimitMs,
                     [&] { return mlt_consumer_position(consumer) == target; });
}

void waitForStart(mlt_consumer consumer, int target) {
    waitUntil(consumer, kStartLimitMs, [&] { return mlt_consumer_position(consumer) <= target; });
}

void waitUntilStopped(mlt_consumer consumer) {
    waitUntil(consumer, kNoLimit, [] { return false; });
}

}  // namespace playerwait
