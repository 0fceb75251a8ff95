// What the edit journal costs per editing command: the same commands go to
// hosts side by side, one started with QUILLAVANT_JOURNAL=off, one keeping its
// journal on disk as every service does, and one keeping it in a memory-backed
// folder, on a main track of 1,000 and of 10,000 clips. The added time is the
// median, over the commands, of a journaled host's time minus the plain
// host's for the same command, printed against the target of 0.3 ms. Beside it, the disk's own cost
// of one small write and data sync, measured in the same folder: the journal syncs while the
// command runs, so it hides part of that cost; the host with its journal in memory shows what is
// left when the disk costs nothing.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
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

// The hosts, fed each command in turn, in an order that rotates so that no
// host always goes first.
class SessionSet {
  public:
    bool start(const std::string& name, const std::string& directory,
               const std::vector<std::string>& environment) {
        sessions_.push_back(std::make_unique<bench::EditSession>());
        samples_.emplace_back();
        return sessions_.back()->start(directory, name + std::to_string(getpid()), environment);
    }

    void send(const std::string& name, const std::string& content, bool timed) {
        const size_t count = sessions_.size();
        for (size_t i = 0; i < count; ++i) {
            const size_t which = (turn_ + i) % count;
            const double ms = sessions_[which]->timedCommand(name, content);
            if (timed) {
                samples_[which].push_back(ms);
            }
        }
        ++turn_;
    }

    // For the timed commands since the last call: each host's median, and
    // for each host after the first the median of its time minus the first
    // host's on the same command, which cancels what the machine did
    // meanwhile to both.
    struct Figures {
        std::vector<double> medians;
        std::vector<double> addedMedians;
    };
    Figures take() {
        Figures figures;
        for (const std::vector<double>& samples : samples_) {
            figures.medians.push_back(median(samples));
        }
        for (size_t host = 1; host < samples_.size(); ++host) {
            std::vector<double> added;
            for (size_t i = 0; i < samples_[host].size(); ++i) {
                added.push_back(samples_[host][i] - samples_[0][i]);
            }
            figures.addedMedians.push_back(median(added));
        }
        for (std::vector<double>& samples : samples_) {
            samples.clear();
        }
        return figures;
    }

    void close() {
        for (auto& session : sessions_) {
            session->close();
        }
    }

  private:
    std::vector<std::unique_ptr<bench::EditSession>> sessions_;
    std::vector<std::vector<double>> samples_;
    size_t turn_ = 0;
};

struct Row {
    const char* command;
    int clips;
    // Hosts: no journal, journal on disk, journal in memory.
    SessionSet::Figures figures;
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
    // The same journal in memory shows what the journal costs besides the disk.
    char memoryPattern[] = "/dev/shm/qv-bench-journal-XXXXXX";
    const char* memory = mkdtemp(memoryPattern);
    SessionSet sessions;
    if (!sessions.start("benchplain", directory, {"QUILLAVANT_JOURNAL=off"}) ||
        !sessions.start("benchdisk", directory, {}) ||
        (memory && !sessions.start("benchmemory", directory,
                                   {std::string("QUILLAVANT_RECOVERY_DIR=") + memory}))) {
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
        rows.push_back({"ADD_CLIP", size, sessions.take()});
        for (const char* step : {"UNDO_LAST_ACTION", "REDO_LAST_ACTION"}) {
            for (int i = 0; i < kHistorySteps; ++i) {
                sessions.send(step, "", true);
            }
            rows.push_back({step, size, sessions.take()});
        }
    }
    sessions.close();
    const double syncMs = diskSyncMs(directory);

    std::printf("edit journal cost per editing command (median, over the socket)\n");
    std::printf("  %-17s %6s %11s %11s %9s %28s\n", "", "clips", "no journal", "journal", "added",
                memory ? "journal in memory, added" : "");
    for (const Row& row : rows) {
        const double added = row.figures.addedMedians[0];
        std::printf("  %-17s %6d %8.3f ms %8.3f ms %6.3f ms  (target %.1f ms: %.2fx)", row.command,
                    row.clips, row.figures.medians[0], row.figures.medians[1], added, kTargetMs,
                    added / kTargetMs);
        if (row.figures.addedMedians.size() > 1) {
            std::printf("  %6.3f ms", row.figures.addedMedians[1]);
        }
        std::printf("\n");
    }
    std::printf("  the disk itself: one 256-byte write and data sync in the same folder: %.3f ms\n",
                syncMs);
    std::string cleanup =
        "rm -rf '" + directory + "'" + (memory ? std::string(" '") + memory + "'" : "");
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
