// What the edit journal costs per editing command: the same commands go to
// two hosts side by side, one keeping its journal as every service does and
// one started with QUILLAVANT_JOURNAL=off, on a main track of 1,000 and of
// 10,000 clips. The added time is the journaled host's median minus the
// plain host's, printed against the target of 0.3 ms. Beside it, the disk's
// own cost of one small write and data sync, measured in the same folder:
// the journal syncs while the command runs, so it hides part of that cost.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "edit_session.h"
#include "platform/synced_file.h"

namespace {

constexpr int kSmallTimeline = 1000;
constexpr int kDefaultLargeTimeline = 10000;
constexpr int kSampleCount = 200;
constexpr int kHistorySteps = 100;
constexpr int kSyncSamples = 200;
constexpr double kTargetMs = 0.3;

using bench::median;

// The two hosts, fed each command in turn; which goes first alternates.
class PairedSessions {
  public:
    bool start(const std::string& directory) {
        const std::string suffix = std::to_string(getpid());
        return plain_.start(directory, "benchplain" + suffix, {"QUILLAVANT_JOURNAL=off"}) &&
               journaled_.start(directory, "benchjournal" + suffix);
    }

    void send(const std::string& name, const std::string& content, bool timed) {
        const bool plainFirst = (turn_++ % 2) == 0;
        const double first = (plainFirst ? plain_ : journaled_).timedCommand(name, content);
        const double second = (plainFirst ? journaled_ : plain_).timedCommand(name, content);
        if (timed) {
            plainMs_.push_back(plainFirst ? first : second);
            journaledMs_.push_back(plainFirst ? second : first);
        }
    }

    // The medians of the timed commands since the last call.
    std::pair<double, double> takeMedians() {
        std::pair<double, double> medians{median(plainMs_), median(journaledMs_)};
        plainMs_.clear();
        journaledMs_.clear();
        return medians;
    }

    void close() {
        plain_.close();
        journaled_.close();
    }

  private:
    bench::EditSession plain_;
    bench::EditSession journaled_;
    std::vector<double> plainMs_;
    std::vector<double> journaledMs_;
    unsigned turn_ = 0;
};

struct Row {
    const char* command;
    int clips;
    double plainMs;
    double journaledMs;
};

// One small record written and synced, as the journal does for an edit.
double diskSyncMs(const std::string& directory) {
    platform::SyncedFile file;
    const std::string path = directory + "/sync-reference";
    if (!file.create(path) || !file.writeZeros(0, 1u << 20) || !file.syncAll()) {
        return 0.0;
    }
    const std::string record(256, 'r');
    std::vector<double> samples;
    for (int i = 0; i < kSyncSamples; ++i) {
        auto start = bench::Clock::now();
        file.writeAt(static_cast<uint64_t>(i) * record.size(), record.data(), record.size());
        file.syncData();
        samples.push_back(bench::millisecondsSince(start));
    }
    return median(samples);
}

}  // namespace

// An optional argument replaces the size of the large timeline.
int main(int argc, char** argv) {
    const int largeTimeline =
        argc > 1 ? std::max(std::atoi(argv[1]), kSmallTimeline) : kDefaultLargeTimeline;
    char pattern[] = "/tmp/qv-bench-journal-XXXXXX";
    const std::string directory = mkdtemp(pattern);
    PairedSessions sessions;
    if (!sessions.start(directory)) {
        std::fprintf(stderr, "cannot start the hosts\n");
        return 1;
    }
    sessions.send("ADD_TRACK", bench::trackContent(), false);
    std::vector<Row> rows;
    int clips = 0;
    for (int size : {kSmallTimeline, largeTimeline}) {
        for (; clips < size; ++clips) {
            sessions.send("ADD_CLIP", bench::clipContent(clips), size - clips <= kSampleCount);
        }
        auto [addPlain, addJournaled] = sessions.takeMedians();
        rows.push_back({"ADD_CLIP", size, addPlain, addJournaled});
        for (const char* step : {"UNDO_LAST_ACTION", "REDO_LAST_ACTION"}) {
            for (int i = 0; i < kHistorySteps; ++i) {
                sessions.send(step, "", true);
            }
            auto [plain, journaled] = sessions.takeMedians();
            rows.push_back({step, size, plain, journaled});
        }
    }
    sessions.close();
    const double syncMs = diskSyncMs(directory);

    std::printf("edit journal cost per editing command (median, over the socket)\n");
    std::printf("  %-18s %7s %12s %12s %10s\n", "", "clips", "no journal", "journal", "added");
    for (const Row& row : rows) {
        const double added = row.journaledMs - row.plainMs;
        std::printf("  %-18s %7d %9.3f ms %9.3f ms %7.3f ms   (target %.1f ms: %.2fx of target)\n",
                    row.command, row.clips, row.plainMs, row.journaledMs, added, kTargetMs,
                    added / kTargetMs);
    }
    std::printf("  disk: one 256-byte write and data sync in the same folder: %.3f ms\n", syncMs);
    std::string cleanup = "rm -rf '" + directory + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
