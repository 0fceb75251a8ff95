// Timing and reporting shared by the benchmarks that measure a small and a
// large timeline in one run: each figure is printed at both sizes, with its
// growth from one to the other and the target it is held to at the large
// size, and the project files beside libxml2 alone doing the same work.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_timing.h"

namespace bench {

// The median of rounds runs of work, in milliseconds.
template <typename Work>
double medianMs(int rounds, Work work) {
    std::vector<double> samples;
    for (int round = 0; round < rounds; ++round) {
        const auto start = Clock::now();
        work();
        samples.push_back(millisecondsSince(start));
    }
    return median(samples);
}

// How a figure may grow from the small to the large timeline: not at all
// (twice allows for a loaded machine), or in proportion to the clips (with a
// third more for the same reason).
enum class Growth { Flat, Linear };

struct Target {
    Growth growth;
    // Bound on the large figure in milliseconds; 0 for none.
    double largeMs = 0.0;
};

class Report {
  public:
    Report(int smallClips, int largeClips) : small_(smallClips), large_(largeClips) {}

    // The figures are wall-clock times: the machine's load says how far
    // other work may have stretched them.
    void heading(const char* title) const {
        double load[1] = {0.0};
        if (getloadavg(load, 1) == 1) {
            std::printf("(load average %.2f while measuring)\n", load[0]);
        }
        std::printf("%s\n  %-30s %12d %12d clips   growth   target at %d clips\n", title, "",
                    small_, large_, large_);
    }

    void figure(const char* name, double small, double large, const Target& target) const {
        const double growth = small > 0.0 ? large / small : 0.0;
        const double clipRatio = static_cast<double>(large_) / small_;
        const double growthBound = target.growth == Growth::Flat ? 2.0 : clipRatio * 4.0 / 3.0;
        const bool met =
            growth <= growthBound && (target.largeMs <= 0.0 || large <= target.largeMs);
        std::string wanted = target.growth == Growth::Flat ? "flat" : "linear";
        if (target.largeMs > 0.0) {
            char bound[32];
            std::snprintf(bound, sizeof(bound), "<= %g ms, ", target.largeMs);
            wanted = bound + wanted;
        }
        std::printf("  %-30s %9.3f ms %9.3f ms %7.1fx   %-20s %s\n", name, small, large, growth,
                    wanted.c_str(), met ? "met" : "NOT MET");
    }

    // Ours beside libxml2 alone doing the same reading or writing.
    static void ratio(const char* name, double ours, double reference, const char* referenceName) {
        std::printf("  %-30s %9.3f ms   %-28s %9.3f ms   ratio %5.2fx\n", name, ours, referenceName,
                    reference, reference > 0.0 ? ours / reference : 0.0);
    }

  private:
    int small_;
    int large_;
};

}  // namespace bench
