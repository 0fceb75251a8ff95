// The ways the player waits for a preview consumer after moving its producer.
// Each wakes on the consumer's own reports (a frame shown, the consumer
// stopped), re-checks every few milliseconds besides, and gives up early once
// the consumer has stopped, because a stopped consumer never reaches any frame.
#pragma once

#include <framework/mlt_types.h>

namespace playerwait {

// Until the consumer shows target; gives up after 2 s.
void waitForPosition(mlt_consumer consumer, int target);
// Until the consumer shows target; gives up after 2 s.
// True when the target was shown or the consumer stopped.
bool waitForSeek(mlt_consumer consumer, int target);
// Until the consumer is at or before target; gives up after 150 ms, which is
// enough for a playing consumer to drop stale frames.
void waitForStart(mlt_consumer consumer, int target);
// Until the consumer stops by itself, however long that takes.
void waitUntilStopped(mlt_consumer consumer);

}  // namespace playerwait
