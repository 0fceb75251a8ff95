#include "player/waits.h"

#include <framework/mlt.h>

#include <cstdint>

#include "log/log.h"
#include "platform/platform.h"

namespace playerwait {
namespace {

constexpr char kWaitForPositionBegin[] = "waitForPosition begin";
constexpr char kWaitForPositionEnd[] = "waitForPosition end";

constexpr long kFinePollNs = 10000;
constexpr long kCoarsePollNs = 40000000;
constexpr uint64_t kSeekLimitMs = 2000;
constexpr uint64_t kStartLimitMs = 150;

bool isStopped(mlt_consumer consumer) {
    return mlt_consumer_is_stopped(consumer) != 0;
}

bool isPast(uint64_t start, uint64_t limitMs) {
    return platform::tickCountMs() - start > limitMs;
}

}  // namespace

void waitForPosition(mlt_consumer consumer, int target) {
    writeLog(kLogInfo, "%s", kWaitForPositionBegin);
    const uint64_t start = platform::tickCountMs();
    while (!isStopped(consumer) && mlt_consumer_position(consumer) != target) {
        if (isPast(start, kSeekLimitMs)) {
            return;
        }
        platform::sleepNanoseconds(kFinePollNs);
    }
    writeLog(kLogInfo, "%s", kWaitForPositionEnd);
}

bool waitForSeek(mlt_consumer consumer, int target) {
    const uint64_t start = platform::tickCountMs();
    while (!isStopped(consumer) && mlt_consumer_position(consumer) != target) {
        if (isPast(start, kSeekLimitMs)) {
            return false;
        }
        platform::sleepNanoseconds(kCoarsePollNs);
    }
    return true;
}

void waitForStart(mlt_consumer consumer, int target) {
    const uint64_t start = platform::tickCountMs();
    while (!isStopped(consumer) && mlt_consumer_position(consumer) > target) {
        if (isPast(start, kStartLimitMs)) {
            return;
        }
        platform::sleepNanoseconds(kCoarsePollNs);
    }
}

void waitUntilStopped(mlt_consumer consumer) {
    while (!isStopped(consumer)) {
        platform::sleepNanoseconds(kCoarsePollNs);
    }
}

}  // namespace playerwait
