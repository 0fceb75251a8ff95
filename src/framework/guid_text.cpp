#include "framework/guid_text.h"

#include <cstdio>
#include <cstdlib>

namespace {

// Seconds from 1582-10-15 (the Gregorian reform) to 1970-01-01.
constexpr uint64_t kGregorianOffsetSeconds = 12219292800ULL;
constexpr uint64_t kIntervalsPerMillisecond = 10000;
constexpr uint32_t kVersionOne = 0x1000;
constexpr uint32_t kVariantBits = 0x8000;
constexpr uint32_t kClockSequenceMask = 0x3FFF;
constexpr uint32_t kNodeMarker = 0x100;
constexpr char kGuidFormat[] = "%08lx-%04x-%04x-%04x-%04x%08lx";

uint64_t intervalsSince1582(const platform::WallClock& now) {
    uint64_t milliseconds =
        (static_cast<uint64_t>(now.seconds) + kGregorianOffsetSeconds) * 1000 + now.milliseconds;
    return milliseconds * kIntervalsPerMillisecond;
}

unsigned seedFor(const platform::WallClock& now) {
    return static_cast<unsigned>((now.seconds + now.milliseconds) ^ now.milliseconds);
}

}  // namespace

void GuidGenerator::seedNode(const platform::WallClock& now) {
    std::srand(seedFor(now));
    uint32_t first = static_cast<uint32_t>(std::rand());
    node1_ = static_cast<uint16_t>(first | kNodeMarker);
    clockSequence_ = first >> 16;
    // A second draw from a fresh reading, as the node's low part.
    std::srand(seedFor(platform::wallClock()));
    node2_ = static_cast<uint32_t>(std::rand());
    seeded_ = true;
}

std::string GuidGenerator::next(const platform::WallClock& now) {
    uint64_t time = intervalsSince1582(now);
    if (!seeded_) {
        seedNode(now);
        lastTime_ = time;
        counter_ = 0;
    } else {
        uint64_t reading = time;
        if (time < lastTime_) {
            ++clockSequence_;
            counter_ = 0;
        } else if (time == lastTime_) {
            ++counter_;
            time += counter_;
        } else {
            counter_ = 0;
        }
        lastTime_ = reading;
    }

    unsigned long timeLow = static_cast<unsigned long>(time & 0xFFFFFFFFULL);
    unsigned timeMid = static_cast<unsigned>((time >> 32) & 0xFFFF);
    unsigned timeHigh = static_cast<unsigned>((time >> 48) & 0x0FFF) | kVersionOne;
    unsigned clockField = (clockSequence_ & kClockSequenceMask) | kVariantBits;
    char text[64];
    std::snprintf(text, sizeof(text), kGuidFormat, timeLow, timeMid, timeHigh, clockField,
                  static_cast<unsigned>(node1_), static_cast<unsigned long>(node2_));
    return text;
}

std::string makeGuidText() {
    static GuidGenerator generator;
    return generator.next(platform::wallClock());
}
