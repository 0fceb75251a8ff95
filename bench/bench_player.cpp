// The preview as the client feels it, through a running service, beside the
// floor MLT alone sets on the same document (the timeline XML the service
// loaded) in the same run:
// - PRE_SEEK_STOP, request sent to reply received, over random seeks (the
//   same positions for both): median and worst;
// - PRE_NEXT_FRAME, over consecutive steps;
// - PRE_PLAY (AutoPlay) to the first frame the playing preview moves on to.
// The floor seeks the producer and renders each frame at the preview size in
// the image format the "sdl2" consumer asks for, and times its first frame
// from a cold engine (factory start, loading, one render). Each figure is
// printed with its ratio to the floor; a step answers to the floor's seek.
//
// bench_player [seeks [steps [timeline seconds]]], defaults 40 20 120.
// Without a DISPLAY it runs itself again under xvfb-run.
#include <framework/mlt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench_display.h"
#include "bench_timing.h"
#include "client/pipe_client.h"
#include "client/service_launcher.h"

namespace {

constexpr int kFps = 25;
constexpr int kPreviewWidth = 1280;
constexpr int kPreviewHeight = 720;
constexpr char kProfile[] = "atsc_720p_25";
// What the targets allow, as multiples of the floor.
constexpr double kSeekMedianTarget = 2.0;
constexpr double kSeekWorstTarget = 4.0;
constexpr double kStepMedianTarget = 2.0;
constexpr double kFirstFrameTarget = 1.5;

using bench::Clock;
using bench::median;
using bench::millisecondsSince;

double worst(const std::vector<double>& values) {
    return values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// The long clip, made once per user and length with the ffmpeg tool.
std::string timelineMedia(int seconds) {
    const std::string directory = "/tmp/quillavant-bench-media-" + std::to_string(getuid());
    mkdir(directory.c_str(), 0700);
    const std::string path = directory + "/bars_320x240_" + std::to_string(seconds) + "s.mp4";
    struct stat info {};
    if (stat(path.c_str(), &info) == 0) {
        return path;
    }
    const std::string length = std::to_string(seconds);
    const std::string command =
        "ffmpeg -nostdin -y -loglevel error -f lavfi -i testsrc2=size=320x240:rate=25:duration=" +
        length + " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=" + length +
        " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -ac 2 -shortest '" + path +
        ".part.mp4' && mv '" + path + ".part.mp4' '" + path + "'";
    return std::system(command.c_str()) == 0 ? path : std::string();
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

struct Figures {
    double firstFrameMs = 0.0;
    std::vector<double> seekMs;
    std::vector<double> stepMs;
    int missed = 0;
};

// The client's side: a service with the timeline loaded and previewing.
class Session {
  public:
    bool start(const std::string& directory) {
        const std::string pipeName = "benchplayer" + std::to_string(getpid());
        if (!service_.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipeName,
                            {"SDL_AUDIODRIVER=dummy", "QUILLAVANT_RECOVERY_DIR=" + directory},
                            directory + "/host.stderr")) {
            return false;
        }
        return client_.connectPath(directory + "/" + pipeName, 10000);
    }

    std::string command(const std::string& name, const std::string& content = "") {
        PipeReply reply;
        return client_.sendCommand(name, content, &reply) ? resultValueText(reply.body) : "";
    }

    double control(const std::string& name, const std::string& content) {
        PipeReply reply;
        const Clock::time_point sent = Clock::now();
        client_.sendControl(name, content, &reply);
        return millisecondsSince(sent);
    }

    int position() { return std::atoi(command("PRE_GETCURRENTPOS").c_str()); }

    void build(const std::string& directory, const std::string& media, int frames) {
        command("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,)"
                              R"("WindowID":0,"CachePath":)" +
                                  quoted(directory) + "}");
        command("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})");
        command("ADD_CLIP", R"({"TrackID":"Track0","ID":"bars","MltService":"avformat",)"
                            R"("Resource":)" +
                                quoted(media) + R"(,"In":"0","Out":")" +
                                std::to_string(frames - 1) + R"(","Index":-1})");
    }

    // PRE_PLAY to the first position after the one it starts from.
    double playToFirstFrame() {
        const Clock::time_point sent = Clock::now();
        control("PRE_PLAY", R"({"AutoPlay":true,"Position":0,"Width":1280,"Height":720})");
        while (position() == 0 && millisecondsSince(sent) < 30000) {
            usleep(500);
        }
        return millisecondsSince(sent);
    }

    // The document PRE_PLAY loaded, as the service wrote it.
    std::string document() {
        std::string path = command("GET_MLT_FILE");
        if (path.size() >= 2 && path.front() == '"') {
            path = path.substr(1, path.size() - 2);
        }
        return readFile(path);
    }

    void measure(const std::vector<int>& seeks, int steps, Figures& figures) {
        for (int target : seeks) {
            figures.seekMs.push_back(
                control("PRE_SEEK_STOP", R"({"Position":)" + std::to_string(target) + "}"));
            figures.missed += position() == target ? 0 : 1;
        }
        control("PRE_SEEK_STOP", R"({"Position":)" + std::to_string(seeks.front()) + "}");
        for (int i = 0; i < steps; ++i) {
            figures.stepMs.push_back(control("PRE_NEXT_FRAME", "{}"));
            figures.missed += position() == seeks.front() + i + 1 ? 0 : 1;
        }
    }

    void close() {
        client_.sendClose();
        service_.waitForExit(15000);
    }

  private:
    ServiceLauncher service_;
    PipeClient client_;
};

// MLT alone on the same document, from a cold engine.
class Floor {
  public:
    explicit Floor(const std::string& documentPath) : path_(documentPath) {}
    ~Floor() {
        mlt_producer_close(producer_);
        mlt_profile_close(profile_);
    }

    // Factory start, loading and the first frame's render.
    double firstFrame() {
        const Clock::time_point start = Clock::now();
        mlt_factory_init(nullptr);
        profile_ = mlt_profile_init(kProfile);
        producer_ = mlt_factory_producer(profile_, "xml", path_.c_str());
        if (producer_ == nullptr) {
            return 0.0;
        }
        render(0);
        return millisecondsSince(start);
    }

    // A seek and the render of the frame there.
    double render(int position) {
        const Clock::time_point start = Clock::now();
        mlt_producer_seek(producer_, position);
        mlt_frame frame = nullptr;
        mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer_), &frame, 0);
        if (frame != nullptr) {
            mlt_image_format format = mlt_image_yuv422;  // what "sdl2" asks for
            int width = kPreviewWidth;
            int height = kPreviewHeight;
            uint8_t* image = nullptr;
            mlt_properties_set(MLT_FRAME_PROPERTIES(frame), "consumer.rescale", "nearest");
            mlt_frame_get_image(frame, &image, &format, &width, &height, 0);
            mlt_frame_close(frame);
        }
        return millisecondsSince(start);
    }

    void measure(const std::vector<int>& seeks, int steps, Figures& figures) {
        figures.firstFrameMs = firstFrame();
        for (int target : seeks) {
            figures.seekMs.push_back(render(target));
        }
        render(seeks.front());
        for (int i = 0; i < steps; ++i) {
            figures.stepMs.push_back(render(seeks.front() + i + 1));
        }
    }

  private:
    std::string path_;
    mlt_profile profile_ = nullptr;
    mlt_producer producer_ = nullptr;
};

void printRatio(const char* name, double ours, double floor, double target) {
    const double ratio = floor > 0.0 ? ours / floor : 0.0;
    std::printf("  %-24s %8.1f ms   floor %7.1f ms   %5.2fx   (target <= %.1fx: %s)\n", name, ours,
                floor, ratio, target, ratio <= target ? "met" : "MISSED");
}

}  // namespace

int main(int argc, char** argv) {
    bench::runUnderXvfbWithoutDisplay(argc, argv);
    const int seekCount = argc > 1 ? std::max(1, std::atoi(argv[1])) : 40;
    const int stepCount = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    const int seconds = argc > 3 ? std::max(4, std::atoi(argv[3])) : 120;
    const int frames = seconds * kFps;
    const std::string media = timelineMedia(seconds);
    if (media.empty()) {
        std::fprintf(stderr, "cannot make the timeline media with ffmpeg\n");
        return 1;
    }
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> anywhere(0, frames - stepCount - 2);
    std::vector<int> seeks;
    for (int i = 0; i < seekCount; ++i) {
        seeks.push_back(anywhere(random));
    }

    char pattern[] = "/tmp/qv-bench-player-XXXXXX";
    const std::string directory = mkdtemp(pattern);
    Session session;
    if (!session.start(directory)) {
        std::fprintf(stderr, "cannot start the host\n");
        return 1;
    }
    session.build(directory, media, frames);
    Figures ours;
    ours.firstFrameMs = session.playToFirstFrame();
    const int totalFrames = std::atoi(session.command("PRE_GETTOTALFRAME").c_str());
    const std::string documentPath = directory + "/floor.mlt";
    std::ofstream(documentPath) << session.document();
    session.measure(seeks, stepCount, ours);
    session.close();

    // Measured once the service has gone, so the two do not share the machine.
    Figures floor;
    {
        Floor engine(documentPath);
        engine.measure(seeks, stepCount, floor);
    }

    std::printf(
        "player preview, %d-frame timeline (%d loaded), %dx%d, %d seeks, %d steps "
        "(%d landed elsewhere)\n",
        frames, totalFrames, kPreviewWidth, kPreviewHeight, seekCount, stepCount, ours.missed);
    printRatio("PRE_SEEK_STOP median", median(ours.seekMs), median(floor.seekMs),
               kSeekMedianTarget);
    printRatio("PRE_SEEK_STOP worst", worst(ours.seekMs), median(floor.seekMs), kSeekWorstTarget);
    // A step is a seek to the next frame: it answers to the same floor.
    printRatio("PRE_NEXT_FRAME median", median(ours.stepMs), median(floor.seekMs),
               kStepMedianTarget);
    printRatio("PRE_PLAY to first frame", ours.firstFrameMs, floor.firstFrameMs, kFirstFrameTarget);
    // The first seek also pauses the playing preview, whose consumer may be
    // waiting for room for sound it queued while playing.
    const std::vector<double> pausedSeeks(ours.seekMs.begin() + 1, ours.seekMs.end());
    std::printf(
        "  first seek (pauses the playing preview) %.1f ms; worst of the others %.1f ms "
        "(%.2fx)\n",
        ours.seekMs.front(), worst(pausedSeeks), worst(pausedSeeks) / median(floor.seekMs));
    std::printf(
        "  floor seek worst %.1f ms; floor step (the next frame after a render) median "
        "%.1f ms, worst %.1f ms\n",
        worst(floor.seekMs), median(floor.stepMs), worst(floor.stepMs));
    mlt_factory_close();
    const std::string cleanup = "rm -rf '" + directory + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
