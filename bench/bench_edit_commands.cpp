// Editing a long timeline over the socket: the median time per ADD_CLIP, per
// UNDO_LAST_ACTION and per SAVE_PROJECT on a main track of 1,000 and of
// 10,000 clips, the time to write the timeline XML the preview plays (taken
// in-process from a project of the same size), and the host's resident
// memory once every clip has recorded its history point. Each figure is
// printed against the target of 1 ms per edit command, with how it grows
// from 1,000 to 10,000 clips (10x the clips; linear growth shows as 10x).
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "edit_session.h"
#include "project/project.h"

namespace {

constexpr int kSmallTimeline = 1000;
constexpr int kDefaultLargeTimeline = 10000;
constexpr int kSampleCount = 100;
constexpr int kUndoCount = 50;
constexpr int kSaveCount = 5;
constexpr double kTargetMs = 1.0;

using bench::clipContent;
using bench::Clock;
using bench::median;
using bench::millisecondsSince;
using bench::trackContent;

struct Figures {
    double addClipMs = 0.0;
    double undoMs = 0.0;
    double redoMs = 0.0;
    double saveProjectMs = 0.0;
    double timelineXmlMs = 0.0;
};

// The editing session on one main track that grows clip by clip.
class TimelineSession {
  public:
    bool start(const std::string& directory) {
        directory_ = directory;
        return session_.start(directory, "benchedit" + std::to_string(getpid()));
    }

    double timedCommand(const std::string& name, const std::string& content) {
        return session_.timedCommand(name, content);
    }

    // Adds clips until the track holds count; the last samples are timed.
    double growTo(int count) {
        std::vector<double> samples;
        for (; clips_ < count; ++clips_) {
            double ms = timedCommand("ADD_CLIP", clipContent(clips_));
            if (count - clips_ <= kSampleCount) {
                samples.push_back(ms);
            }
        }
        return median(samples);
    }

    void measureHistory(Figures& figures) {
        std::vector<double> undo;
        std::vector<double> redo;
        for (int i = 0; i < kUndoCount; ++i) {
            undo.push_back(timedCommand("UNDO_LAST_ACTION", ""));
        }
        for (int i = 0; i < kUndoCount; ++i) {
            redo.push_back(timedCommand("REDO_LAST_ACTION", ""));
        }
        figures.undoMs = median(undo);
        figures.redoMs = median(redo);
    }

    double measureSave() {
        std::vector<double> samples;
        std::string content = R"({"FileName":")" + directory_ + R"(/project.xml"})";
        for (int i = 0; i < kSaveCount; ++i) {
            samples.push_back(timedCommand("SAVE_PROJECT", content));
        }
        return median(samples);
    }

    long residentKb() const { return session_.residentKb(); }
    void close() { session_.close(); }

  private:
    std::string directory_;
    bench::EditSession session_;
    int clips_ = 0;
};

// The timeline XML the preview plays, written in-process from a project of
// the same shape.
class TimelineWriter {
  public:
    explicit TimelineWriter(const std::string& directory) : directory_(directory) {
        CParseJson track;
        track.parse(trackContent());
        project_.addTrack(track);
    }

    double measureAt(int count) {
        for (; clips_ < count; ++clips_) {
            CParseJson clip;
            clip.parse(clipContent(clips_));
            project_.addClip(clip);
        }
        std::vector<double> samples;
        for (int i = 0; i < kSaveCount; ++i) {
            auto start = Clock::now();
            project_.writeTimelineXml(directory_ + "/timeline.xml");
            samples.push_back(millisecondsSince(start));
        }
        return median(samples);
    }

  private:
    std::string directory_;
    MeProject project_;
    int clips_ = 0;
};

void printFigure(const char* what, double small, double large, bool isEdit) {
    std::printf("  %-26s %10.3f ms %10.3f ms   growth %6.1fx", what, small, large,
                small > 0.0 ? large / small : 0.0);
    if (isEdit) {
        std::printf("   (target %.0f ms: %.2fx of target)", kTargetMs, large / kTargetMs);
    }
    std::printf("\n");
}

}  // namespace

// An optional argument replaces the size of the large timeline.
int main(int argc, char** argv) {
    const int largeTimeline =
        argc > 1 ? std::max(std::atoi(argv[1]), kSmallTimeline) : kDefaultLargeTimeline;
    char pattern[] = "/tmp/qv-bench-edit-XXXXXX";
    std::string directory = mkdtemp(pattern);
    TimelineSession session;
    if (!session.start(directory)) {
        std::fprintf(stderr, "cannot start the host\n");
        return 1;
    }
    session.timedCommand("ADD_TRACK", trackContent());

    Figures small;
    Figures large;
    small.addClipMs = session.growTo(kSmallTimeline);
    session.measureHistory(small);
    small.saveProjectMs = session.measureSave();
    long smallKb = session.residentKb();

    large.addClipMs = session.growTo(largeTimeline);
    session.measureHistory(large);
    long largeKb = session.residentKb();
    large.saveProjectMs = session.measureSave();
    session.close();

    TimelineWriter writer(directory);
    small.timelineXmlMs = writer.measureAt(kSmallTimeline);
    large.timelineXmlMs = writer.measureAt(largeTimeline);

    std::printf("edit commands on one main track (median, over the socket)\n");
    std::printf("  %-26s %13d %13d clips\n", "", kSmallTimeline, largeTimeline);
    printFigure("ADD_CLIP", small.addClipMs, large.addClipMs, true);
    printFigure("UNDO_LAST_ACTION", small.undoMs, large.undoMs, true);
    printFigure("REDO_LAST_ACTION", small.redoMs, large.redoMs, true);
    printFigure("SAVE_PROJECT", small.saveProjectMs, large.saveProjectMs, false);
    printFigure("timeline XML (in-process)", small.timelineXmlMs, large.timelineXmlMs, false);
    std::printf("  %-26s %10ld kB %10ld kB   growth %6.1fx   (history points: %d and %d)\n",
                "host VmRSS", smallKb, largeKb,
                smallKb > 0 ? static_cast<double>(largeKb) / smallKb : 0.0, kSmallTimeline + 1,
                largeTimeline + 1);
    std::string cleanup = "rm -rf '" + directory + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
