// Time-based identifiers that name the temporary graph files. They follow the
// version-1 UUID layout: a 100-nanosecond count since 1582-10-15 taken at
// millisecond resolution, a clock sequence and a node drawn from the C
// library's generator on first use.
#pragma once

#include <cstdint>
#include <string>

#include "platform/platform.h"

class GuidGenerator {
  public:
    // The identifier for a clock reading, as 36 lower-case hexadecimal
    // characters and hyphens. Readings within one millisecond still differ:
    // a counter is added to the time of each repeat.
    std::string next(const platform::WallClock& now);

  private:
    void seedNode(const platform::WallClock& now);

    bool seeded_ = false;
    uint64_t lastTime_ = 0;
    uint32_t counter_ = 0;
    uint32_t clockSequence_ = 0;
    uint16_t node1_ = 0;
    uint32_t node2_ = 0;
};

// The process-wide generator read at the current wall clock.
std::string makeGuidText();
