// Editing a long timeline over the socket, with no preview loaded: the median
// time per ADD_CLIP, ALTER_CLIP, DELETE_CLIP, UNDO_LAST_ACTION,
// REDO_LAST_ACTION, SAVE_PROJECT and LOAD_PROJECT on one main track of 1,000
// clips and then, in the same run, of 10,000; the timeline XML the preview
// plays, written in-process from a project of each size; and the host's
// resident memory once every edit has recorded its history point. Each
// figure is printed beside its target with its growth from the small to the
// large timeline (10x the clips: linear growth shows as about 10x, a cost
// that does not depend on the timeline as about 1x). At the large size the
// project document and the timeline XML are also read and saved by libxml2
// alone, the reference their ratios are taken against, and the document's
// bytes are written durably on their own, the floor that syncing sets.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_figures.h"
#include "client/pipe_client.h"
#include "client/service_launcher.h"
#include "libxml2_reference.h"
#include "platform/durable_file.h"
#include "project/project.h"

namespace {

using bench::Growth;
using bench::Target;

constexpr int kSmallTimeline = 1000;
constexpr int kDefaultLargeTimeline = 10000;
constexpr int kSampleCount = 100;
constexpr int kEditCount = 50;
constexpr int kFileCount = 5;

const Target kEditTarget{Growth::Flat, 0.2};
const Target kSaveTarget{Growth::Linear, 40.0};
const Target kLinearTarget{Growth::Linear};

std::string trackContent() {
    return R"({"ID":"Track0","Type":"composite","Main":true})";
}

std::string clipId(int number) {
    char id[16];
    std::snprintf(id, sizeof(id), "c%05d", number);
    return id;
}

std::string clipFields(int number) {
    return R"({"ID":")" + clipId(number) +
           R"(","TrackID":"Track0","MltService":"avformat","Resource":"/media/clip.mp4",)"
           R"("In":"0","Out":"49","Length":"250",)";
}

std::string addClipContent(int number, int index) {
    return clipFields(number) + R"("Index":)" + std::to_string(index) + "}";
}

// Refills the placement in place: same identifier, same index.
std::string alterClipContent(int number) {
    const std::string index = std::to_string(number);
    return clipFields(number) + R"("IndexOld":)" + index + R"(,"IndexNew":)" + index + "}";
}

std::string deleteClipContent(int number) {
    return R"({"TrackID":"Track0","Index":-1,"ClipID":")" + clipId(number) + R"("})";
}

struct Figures {
    double addClipMs = 0.0;
    double alterClipMs = 0.0;
    double deleteClipMs = 0.0;
    double undoMs = 0.0;
    double redoMs = 0.0;
    double saveProjectMs = 0.0;
    double loadProjectMs = 0.0;
    double timelineXmlMs = 0.0;
    long residentKb = 0;
};

class EditSession {
  public:
    bool start(const std::string& directory) {
        projectFile_ = directory + "/project.xml";
        std::string pipeName = "benchedit" + std::to_string(getpid());
        if (!service_.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipeName, {},
                            directory + "/host.stderr")) {
            return false;
        }
        return client_.connectPath(directory + "/" + pipeName, 10000) &&
               timedCommand("ADD_TRACK", trackContent()) >= 0.0;
    }

    // Grows the track to count clips and measures every command there.
    void measureAt(int count, Figures& figures) {
        figures.addClipMs = growTo(count);
        figures.alterClipMs = sampled(kEditCount, [&](int i) {
            return timedCommand("ALTER_CLIP", alterClipContent(count / 2 + i));
        });
        // Each deleted clip goes back to its place before the next deletion.
        figures.deleteClipMs = sampled(kEditCount, [&](int i) {
            const int number = count / 2 + i;
            const double ms = timedCommand("DELETE_CLIP", deleteClipContent(number));
            timedCommand("ADD_CLIP", addClipContent(number, number));
            return ms;
        });
        figures.undoMs = sampled(kEditCount, [&](int) { return timedCommand("UNDO_LAST_ACTION"); });
        figures.redoMs = sampled(kEditCount, [&](int) { return timedCommand("REDO_LAST_ACTION"); });
        figures.residentKb = residentMemoryKb(service_.pid());
        const std::string file = R"({"FileName":")" + projectFile_ + R"("})";
        figures.saveProjectMs =
            sampled(kFileCount, [&](int) { return timedCommand("SAVE_PROJECT", file); });
        figures.loadProjectMs =
            sampled(kFileCount, [&](int) { return timedCommand("LOAD_PROJECT", file); });
    }

    const std::string& projectFile() const { return projectFile_; }

    void close() {
        client_.sendClose();
        service_.waitForExit(30000);
    }

  private:
    double timedCommand(const std::string& name, const std::string& content = "") {
        PipeReply reply;
        const auto start = bench::Clock::now();
        if (!client_.sendCommand(name, content, &reply)) {
            std::fprintf(stderr, "%s failed: %s\n", name.c_str(), client_.lastError().c_str());
            std::exit(1);
        }
        return bench::millisecondsSince(start);
    }

    template <typename Run>
    static double sampled(int count, Run run) {
        std::vector<double> samples;
        for (int i = 0; i < count; ++i) {
            samples.push_back(run(i));
        }
        return bench::median(samples);
    }

    // Appends clips until the track holds count; the last ones are timed.
    double growTo(int count) {
        std::vector<double> samples;
        for (; clips_ < count; ++clips_) {
            const double ms = timedCommand("ADD_CLIP", addClipContent(clips_, -1));
            if (count - clips_ <= kSampleCount) {
                samples.push_back(ms);
            }
        }
        return bench::median(samples);
    }

    std::string projectFile_;
    ServiceLauncher service_;
    PipeClient client_;
    int clips_ = 0;
};

// The timeline XML the preview plays, written in-process from a project of
// the same shape.
class TimelineWriter {
  public:
    explicit TimelineWriter(const std::string& directory) : path_(directory + "/timeline.xml") {
        CParseJson track;
        track.parse(trackContent());
        project_.addTrack(track);
    }

    double measureAt(int count) {
        for (; clips_ < count; ++clips_) {
            CParseJson clip;
            clip.parse(addClipContent(clips_, -1));
            project_.addClip(clip);
        }
        return bench::medianMs(kFileCount, [&] { project_.writeTimelineXml(path_); });
    }

    const std::string& path() const { return path_; }

  private:
    std::string path_;
    MeProject project_;
    int clips_ = 0;
};

std::string fileBytes(const std::string& path) {
    std::string bytes;
    if (FILE* file = std::fopen(path.c_str(), "rb")) {
        char chunk[65536];
        size_t read = 0;
        while ((read = std::fread(chunk, 1, sizeof(chunk), file)) > 0) {
            bytes.append(chunk, read);
        }
        std::fclose(file);
    }
    return bytes;
}

}  // namespace

// An optional argument replaces the size of the large timeline.
int main(int argc, char** argv) {
    const int largeTimeline =
        argc > 1 ? std::max(std::atoi(argv[1]), kSmallTimeline) : kDefaultLargeTimeline;
    char pattern[] = "/tmp/qv-bench-edit-XXXXXX";
    const std::string directory = mkdtemp(pattern);
    EditSession session;
    if (!session.start(directory)) {
        std::fprintf(stderr, "cannot start the host\n");
        return 1;
    }
    Figures small;
    Figures large;
    session.measureAt(kSmallTimeline, small);
    session.measureAt(largeTimeline, large);
    session.close();
    const std::string projectBytes = fileBytes(session.projectFile());
    const bench::LibxmlTimes projectReference =
        bench::libxml2Times(session.projectFile(), kFileCount);
    const double durableMs = bench::medianMs(
        kFileCount, [&] { platform::writeFileDurably(directory + "/bytes.xml", projectBytes); });

    TimelineWriter writer(directory);
    small.timelineXmlMs = writer.measureAt(kSmallTimeline);
    large.timelineXmlMs = writer.measureAt(largeTimeline);
    const bench::LibxmlTimes timelineReference = bench::libxml2Times(writer.path(), kFileCount);

    const bench::Report report(kSmallTimeline, largeTimeline);
    report.heading("edit commands on one main track, no preview (median, over the socket)");
    report.figure("ADD_CLIP", small.addClipMs, large.addClipMs, kEditTarget);
    report.figure("ALTER_CLIP", small.alterClipMs, large.alterClipMs, kEditTarget);
    report.figure("DELETE_CLIP", small.deleteClipMs, large.deleteClipMs, kEditTarget);
    report.figure("UNDO_LAST_ACTION", small.undoMs, large.undoMs, kEditTarget);
    report.figure("REDO_LAST_ACTION", small.redoMs, large.redoMs, kEditTarget);
    report.figure("SAVE_PROJECT", small.saveProjectMs, large.saveProjectMs, kSaveTarget);
    report.figure("LOAD_PROJECT", small.loadProjectMs, large.loadProjectMs, kLinearTarget);
    report.figure("timeline XML (in-process)", small.timelineXmlMs, large.timelineXmlMs,
                  kLinearTarget);
    std::printf(
        "  %-30s %9ld kB %9ld kB %7.1fx   (one history point per edit)\n", "host VmRSS",
        small.residentKb, large.residentKb,
        small.residentKb > 0 ? static_cast<double>(large.residentKb) / small.residentKb : 0.0);
    std::printf("the same documents at %d clips (%zu bytes of project document), libxml2 alone\n",
                largeTimeline, projectBytes.size());
    bench::Report::ratio("SAVE_PROJECT (synced)", large.saveProjectMs, projectReference.saveMs,
                         "libxml2 save (not synced)");
    bench::Report::ratio("SAVE_PROJECT (synced)", large.saveProjectMs, durableMs,
                         "synced write of the bytes");
    bench::Report::ratio("LOAD_PROJECT", large.loadProjectMs, projectReference.readMs,
                         "libxml2 read");
    bench::Report::ratio("timeline XML (synced)", large.timelineXmlMs, timelineReference.saveMs,
                         "libxml2 save (not synced)");
    const std::string cleanup = "rm -rf '" + directory + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
