// Live edits of a playing preview, as the client feels them: ADD_CLIP,
// ALTER_CLIP and DELETE_CLIP on the main track of a timeline of colour clips
// that PRE_PLAY has loaded, over the socket, median of each on timelines of
// 100 and 1,000 clips (or the sizes given: bench_live_edit 100 1000 3000).
// Each figure is printed against its target and with its growth between the
// smallest and the largest timeline (linear growth shows as the size ratio).
//
// In the same run, in-process on the same document: the graph dump that the
// edits defer, written by our serialiser and by MLT's own XML consumer (the
// reference it must equal), and MLT loading the document (what PRE_PLAY
// waits for, quadratic inside MLT's multitrack).
// Without a DISPLAY it runs itself again under xvfb-run.
#include <framework/mlt.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_display.h"
#include "bench_timing.h"
#include "client/pipe_client.h"
#include "client/service_launcher.h"
#include "engine/graph_xml.h"

namespace {

constexpr int kSamples = 21;
constexpr double kTargetAt1000Ms = 10.0;
constexpr double kTargetAt10000Ms = 60.0;

using bench::Clock;
using bench::median;
using bench::millisecondsSince;

std::string colourClip(const std::string& id, int index, int out) {
    return R"({"TrackID":"Track0","ID":")" + id + R"(","Index":)" + std::to_string(index) +
           R"(,"MltService":"color","Resource":"#ff336699","In":"0","Out":")" +
           std::to_string(out) + "\"}";
}

std::string alteredClip(const std::string& id, int index, int out) {
    return R"({"TrackID":"Track0","ID":")" + id + R"(","IndexNew":)" + std::to_string(index) +
           R"(,"IndexOld":)" + std::to_string(index) +
           R"(,"MltService":"color","Resource":"#ff336699","In":"0","Out":")" +
           std::to_string(out) + "\"}";
}

struct Figures {
    int clips = 0;
    double loadMs = 0.0;    // PRE_PLAY of the whole timeline
    double addMs = 0.0;     // ADD_CLIP appended
    double alterMs = 0.0;   // ALTER_CLIP of a clip in the middle
    double deleteMs = 0.0;  // DELETE_CLIP of the last clip
    double ourDumpMs = 0.0;
    double mltDumpMs = 0.0;
    double mltLoadMs = 0.0;
};

class LiveSession {
  public:
    bool start(const std::string& directory) {
        directory_ = directory;
        const std::string pipe = "benchlive" + std::to_string(getpid());
        return service_.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipe,
                              {"SDL_AUDIODRIVER=dummy"}, directory + "/host.stderr") &&
               client_.connectPath(directory + "/" + pipe, 10000);
    }

    double timed(bool control, const std::string& name, const std::string& content) {
        PipeReply reply;
        const Clock::time_point sent = Clock::now();
        bool answered = control ? client_.sendControl(name, content, &reply)
                                : client_.sendCommand(name, content, &reply);
        if (!answered) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), client_.lastError().c_str());
            std::exit(1);
        }
        return millisecondsSince(sent);
    }

    // The main track of clips colour clips, loaded into a paused preview.
    double build(int clips) {
        timed(false, "OPEN_MOVIE",
              R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,"WindowID":0,"CachePath":")" +
                  directory_ + "\"}");
        timed(false, "ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})");
        std::string batch = "[";
        for (int i = 0; i < clips; ++i) {
            batch += (i ? "," : "") + colourClip("c" + std::to_string(i), -1, 49);
        }
        timed(false, "ADD_BATCH_CLIP", batch + "]");
        return timed(true, "PRE_PLAY",
                     R"({"AutoPlay":false,"Position":0,"Width":1280,"Height":720})");
    }

    void measure(Figures& figures) {
        std::vector<double> add, alter, remove;
        const int middle = figures.clips / 2;
        const std::string middleId = "c" + std::to_string(middle);
        for (int i = 0; i < kSamples; ++i) {
            add.push_back(timed(false, "ADD_CLIP", colourClip("n" + std::to_string(i), -1, 24)));
            alter.push_back(timed(false, "ALTER_CLIP", alteredClip(middleId, middle, 30 + i % 2)));
        }
        for (int i = kSamples - 1; i >= 0; --i) {
            remove.push_back(timed(false, "DELETE_CLIP",
                                   R"({"TrackID":"Track0","ClipID":"n)" + std::to_string(i) +
                                       R"(","Index":)" + std::to_string(figures.clips + i) + "}"));
        }
        figures.addMs = median(add);
        figures.alterMs = median(alter);
        figures.deleteMs = median(remove);
    }

    std::string timelineDocument() {
        // PRE_PLAY leaves the document it played in the cache folder.
        PipeReply reply;
        client_.sendCommand("GET_MLT_FILE", "", &reply);
        std::string path = resultValueText(reply.body);
        if (path.size() >= 2 && path.front() == '"') {
            path = path.substr(1, path.size() - 2);
        }
        return path;
    }

    void close() {
        client_.sendClose();
        service_.waitForExit(600000);
    }

  private:
    std::string directory_;
    ServiceLauncher service_;
    PipeClient client_;
};

// MLT alone on the document: loading it, and dumping its graph both ways.
void measureInProcess(const std::string& document, Figures& figures) {
    mlt_profile profile = mlt_profile_init("atsc_720p_25");
    const Clock::time_point loading = Clock::now();
    mlt_producer producer = mlt_factory_producer(profile, "xml", document.c_str());
    figures.mltLoadMs = millisecondsSince(loading);
    mlt_service tractor = nullptr;
    for (mlt_service s = producer ? MLT_PRODUCER_SERVICE(producer) : nullptr; s && !tractor;
         s = mlt_service_producer(s)) {
        mlt_multitrack tracks =
            mlt_service_identify(s) == mlt_service_multitrack_type
                ? static_cast<mlt_multitrack>(static_cast<mlt_producer>(s->child)->child)
                : nullptr;
        if (tracks && mlt_multitrack_count(tracks) > 0) {
            tractor = MLT_PRODUCER_SERVICE(mlt_multitrack_track(tracks, 0));  // "maintractor"
        }
    }
    if (tractor != nullptr) {
        const Clock::time_point ours = Clock::now();
        graphxml::serialise(tractor);
        figures.ourDumpMs = millisecondsSince(ours);
        const Clock::time_point mlts = Clock::now();
        mlt_consumer consumer = mlt_factory_consumer(nullptr, "xml", "buffer");
        mlt_service_connect_producer(MLT_CONSUMER_SERVICE(consumer), tractor, 0);
        mlt_consumer_start(consumer);
        mlt_consumer_stop(consumer);
        mlt_consumer_close(consumer);
        figures.mltDumpMs = millisecondsSince(mlts);
    }
    mlt_producer_close(producer);
    mlt_profile_close(profile);
}

// 10 ms up to 1,000 clips and 60 ms at 10,000, in a straight line between.
double targetMs(int clips) {
    if (clips <= 1000) {
        return kTargetAt1000Ms;
    }
    return kTargetAt1000Ms + (kTargetAt10000Ms - kTargetAt1000Ms) * (clips - 1000) / 9000.0;
}

void printEdit(const char* name, double ms, const Figures& figures, const Figures& first,
               double firstMs) {
    const double target = targetMs(figures.clips);
    std::printf(
        "  %-12s %9.2f ms at %5d clips   (target %.1f ms: %.2fx, %s)   growth from %d: %.1fx "
        "for %.1fx the clips\n",
        name, ms, figures.clips, target, ms / target, ms <= target ? "met" : "MISSED", first.clips,
        ms / firstMs, static_cast<double>(figures.clips) / first.clips);
}

}  // namespace

int main(int argc, char** argv) {
    bench::runUnderXvfbWithoutDisplay(argc, argv);
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i) {
        sizes.push_back(std::atoi(argv[i]));
    }
    if (sizes.empty()) {
        sizes = {100, 1000};
    }
    mlt_factory_init(nullptr);
    std::vector<Figures> all;
    for (int clips : sizes) {
        char pattern[] = "/tmp/qv-bench-live-XXXXXX";
        const std::string directory = mkdtemp(pattern);
        LiveSession session;
        if (!session.start(directory)) {
            std::fprintf(stderr, "cannot start the host\n");
            return 1;
        }
        Figures figures;
        figures.clips = clips;
        figures.loadMs = session.build(clips);
        session.measure(figures);
        measureInProcess(session.timelineDocument(), figures);
        session.close();
        all.push_back(figures);
        std::system(("rm -rf '" + directory + "'").c_str());
    }
    const Figures& first = all.front();
    std::printf("live edits on the main track, preview loaded and paused, median of %d\n",
                kSamples);
    for (const Figures& f : all) {
        std::printf(
            "%5d clips: PRE_PLAY %.0f ms (MLT alone loading the document: %.0f ms, %.2fx)\n",
            f.clips, f.loadMs, f.mltLoadMs, f.loadMs / f.mltLoadMs);
        printEdit("ADD_CLIP", f.addMs, f, first, first.addMs);
        printEdit("ALTER_CLIP", f.alterMs, f, first, first.alterMs);
        printEdit("DELETE_CLIP", f.deleteMs, f, first, first.deleteMs);
        std::printf("  graph dump (deferred): ours %.1f ms, MLT's XML consumer %.1f ms (%.2fx)\n",
                    f.ourDumpMs, f.mltDumpMs, f.ourDumpMs / f.mltDumpMs);
    }
    mlt_factory_close();
    return 0;
}
