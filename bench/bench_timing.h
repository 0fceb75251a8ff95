// The clock and the median every benchmark reports with.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace bench
