// Export throughput, like with like: the same 10 s 1080p H.264/AAC clip
// encoded with the same settings (libx264 at its default preset, 4000 kbit/s,
// GOP 25, 25 fps, threads chosen by the encoder, 4:2:0; AAC 128 kbit/s, 48 kHz,
// stereo) three ways:
// - EXPORT_MOVIE sent to a running quillavant-host over its socket, polled
//   every 200 ms the way the client polls it;
// - MLT's own `melt` on the same document, with the same consumer options;
// - plain `ffmpeg` re-encoding the source, the floor.
// Two timelines in the engine's saved layout: a cut of the clip, and the same
// cut with a dissolve across it and a sepia filter on its first half. Each
// round renders the three in a rotating order; medians are printed with
// their ratios and the CPU time each render used, which moves far less than
// wall time when the machine is shared. Usage: bench_export [ROUNDS]
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "client/pipe_client.h"
#include "client/service_launcher.h"
#include "export/export_session.h"
#include "platform/platform.h"
#include "support/export_fixtures.h"
#include "support/test_media.h"

namespace {

constexpr int kSeconds = 10;
constexpr int kFrames = kSeconds * 25;
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr char kProfile[] = "atsc_1080p_25";
constexpr int kPollIntervalMs = 200;
constexpr int kDefaultRounds = 3;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string shellQuoted(const std::string& text) {
    return "'" + text + "'";
}

struct Timing {
    double wallSeconds = 0.0;
    double cpuSeconds = 0.0;
};

double childrenCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// User and system time a running process has used so far.
double processCpuSeconds(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string field;
    double ticks = 0.0;
    for (int index = 3; fields >> field && index <= 15; ++index) {
        if (index >= 14) {  // utime, stime
            ticks += std::atof(field.c_str());
        }
    }
    return ticks / sysconf(_SC_CLK_TCK);
}

// The export settings a client sends, which melt is handed as the same vector.
ExportSettings exportSettings(const std::string& document, const std::string& movie) {
    ExportSettings settings;
    settings.xmlFile = document;
    settings.fileName = movie;
    settings.videoEncoder = "libx264";
    settings.videoWidth = std::to_string(kWidth);
    settings.videoHeight = std::to_string(kHeight);
    settings.videoFrameRate = "25";
    settings.videoBitRate = "4000";
    settings.audioEncoder = "aac";
    settings.audioChannel = "2";
    settings.audioSampleRate = "48000";
    settings.audioBitRate = "128";
    return settings;
}

std::string exportRequest(const ExportSettings& s) {
    return "{\"FileName\":" + quoted(s.fileName) + ",\"XmlFile\":" + quoted(s.xmlFile) +
           ",\"QulityLevel\":\"\",\"Video\":{\"Encoder\":" + quoted(s.videoEncoder) +
           ",\"Width\":" + quoted(s.videoWidth) + ",\"Height\":" + quoted(s.videoHeight) +
           ",\"FrameRate\":" + quoted(s.videoFrameRate) + ",\"BitRate\":" + quoted(s.videoBitRate) +
           "},\"Audio\":{\"Encoder\":" + quoted(s.audioEncoder) +
           ",\"Channel\":" + quoted(s.audioChannel) +
           ",\"SampleRate\":" + quoted(s.audioSampleRate) +
           ",\"BitRate\":" + quoted(s.audioBitRate) + "}}";
}

// A quillavant-host on a private socket with the export profile opened.
class Host {
  public:
    bool start(const std::string& directory) {
        const std::string pipe = "benchexport" + std::to_string(getpid());
        if (!launcher_.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipe,
                             {"SDL_AUDIODRIVER=dummy"}, directory + "/host.stderr") ||
            !client_.connectPath(directory + "/" + pipe, 10000)) {
            return false;
        }
        return command("OPEN_MOVIE", std::string(R"({"Profile":")") + kProfile +
                                         R"(","Width":1280,"Height":720,"WindowID":0})") == "true";
    }
    ~Host() {
        client_.sendClose();
        launcher_.waitForExit(15000);
    }

    // EXPORT_MOVIE, then the client's polls until the render has stopped.
    Timing exportMovie(const ExportSettings& settings) {
        const double cpuBegin = processCpuSeconds(launcher_.pid());
        const uint64_t begin = platform::tickCountMs();
        PipeReply reply;
        client_.sendControl("EXPORT_MOVIE", exportRequest(settings), &reply);
        while (command("PRE_ISEXPORTSTOP") != "true" && command("PRE_GETEXPORTTOTALFRAME") != "0") {
            command("PRE_GETEXPORTCURRENTPOS");
            platform::sleepMilliseconds(kPollIntervalMs);
        }
        const Timing timing{(platform::tickCountMs() - begin) / 1000.0,
                            processCpuSeconds(launcher_.pid()) - cpuBegin};
        client_.sendControl("PRE_RESET_EXPORT", "{}", &reply);
        return timing;
    }

  private:
    std::string command(const std::string& name, const std::string& content = "") {
        PipeReply reply;
        return client_.sendCommand(name, content, &reply) ? resultValueText(reply.body) : "";
    }

    ServiceLauncher launcher_;
    PipeClient client_;
};

Timing runChild(const std::string& command) {
    const double cpuBegin = childrenCpuSeconds();
    const uint64_t begin = platform::tickCountMs();
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
    }
    return {(platform::tickCountMs() - begin) / 1000.0, childrenCpuSeconds() - cpuBegin};
}

// melt gets the vector EXPORT_MOVIE builds, plus the two consumer properties
// the export sets itself.
Timing meltExport(const ExportSettings& settings) {
    const std::vector<std::string> arguments = ExportSession::buildExportArguments(settings);
    std::string command = std::string("melt -quiet -profile ") + kProfile;
    for (size_t i = 1; i < arguments.size(); ++i) {
        command += " " + shellQuoted(arguments[i]);
    }
    return runChild(command + " rescale=bilinear progressive=1 > /dev/null 2>&1");
}

// The same encoders and options on the source itself.
Timing ffmpegExport(const std::string& source, const std::string& movie) {
    return runChild("ffmpeg -nostdin -y -loglevel error -i " + shellQuoted(source) +
                    " -map 0:v -map 0:a -c:v libx264 -b:v 4000k -g 25 -r 25 -pix_fmt yuv420p"
                    " -c:a aac -b:a 128k -ar 48000 -ac 2 " +
                    shellQuoted(movie));
}

struct Way {
    const char* name;
    std::function<Timing()> render;
    std::vector<Timing> timings;
};

double median(std::vector<Timing> timings, double Timing::*part) {
    std::sort(timings.begin(), timings.end(),
              [part](const Timing& a, const Timing& b) { return a.*part < b.*part; });
    return timings[timings.size() / 2].*part;
}

void report(const char* timeline, const std::vector<Way>& ways, const std::string& ours,
            const std::string& melts, bool cutOnly) {
    const double ffmpegWall = median(ways[2].timings, &Timing::wallSeconds);
    const double meltWall = median(ways[1].timings, &Timing::wallSeconds);
    const double ourWall = median(ways[0].timings, &Timing::wallSeconds);
    const double ffmpegCpu = median(ways[2].timings, &Timing::cpuSeconds);
    const double meltCpu = median(ways[1].timings, &Timing::cpuSeconds);
    const double ourCpu = median(ways[0].timings, &Timing::cpuSeconds);
    std::printf("%s:\n", timeline);
    for (const Way& way : ways) {
        const double wall = median(way.timings, &Timing::wallSeconds);
        std::printf("  %-13s %6.2f s wall (%5.1f fps) %6.2f s CPU\n", way.name, wall,
                    kFrames / wall, median(way.timings, &Timing::cpuSeconds));
    }
    std::printf("  EXPORT_MOVIE / ffmpeg  wall %.3f  CPU %.3f%s\n", ourWall / ffmpegWall,
                ourCpu / ffmpegCpu, cutOnly ? "   (target <= 1.10)" : "");
    std::printf("  melt / ffmpeg          wall %.3f  CPU %.3f\n", meltWall / ffmpegWall,
                meltCpu / ffmpegCpu);
    std::printf("  melt / EXPORT_MOVIE    wall %.3f  CPU %.3f%s\n", meltWall / ourWall,
                meltCpu / ourCpu, cutOnly ? "   (target >= 1.10)" : "   (target >= 1.00)");
    const testsupport::ProbedFile movie = testsupport::probeFile(ours);
    const testsupport::PicturePsnr psnr = testsupport::picturePsnr(ours, melts);
    std::printf(
        "  EXPORT_MOVIE movie: %ld frames, %.3f s; PSNR against melt's y %.1f u %.1f v %.1f"
        " dB (%.0f: identical)\n",
        movie.stream("video") ? movie.stream("video")->decodedFrames : 0, movie.duration, psnr.y,
        psnr.u, psnr.v, testsupport::kIdenticalPsnr);
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : kDefaultRounds;
    char pattern[] = "/tmp/qv-bench-export-XXXXXX";
    const std::string directory = mkdtemp(pattern);
    const std::string source = testsupport::colourBarsWithTone(kSeconds, kWidth, kHeight);
    testsupport::CutTimeline cut;
    cut.source = source;
    cut.frames = kFrames;
    cut.width = kWidth;
    cut.height = kHeight;
    cut.colorspace = 709;
    testsupport::CutTimeline effects = cut;
    effects.transition = "luma";
    effects.transitionFrames = 24;
    effects.filter = "sepia";

    Host host;
    if (!host.start(directory)) {
        std::fprintf(stderr, "cannot start the host\n");
        return 1;
    }
    std::printf(
        "export of %d frames %dx%d, libx264 (default preset, 4000 kbit/s, GOP 25, "
        "4:2:0) and AAC (128 kbit/s, 48 kHz, stereo); median of %d rounds; %d "
        "processors\n",
        kFrames, kWidth, kHeight, rounds, platform::processorCount());
    const std::pair<const char*, testsupport::CutTimeline> timelines[] = {
        {"cut only", cut}, {"dissolve and sepia", effects}};
    for (const auto& [name, timeline] : timelines) {
        const std::string document =
            testsupport::writeCutTimeline(directory + "/timeline.xml", timeline);
        const ExportSettings ours = exportSettings(document, directory + "/export.mp4");
        const ExportSettings melts = exportSettings(document, directory + "/melt.mp4");
        std::vector<Way> ways = {
            {"EXPORT_MOVIE", [&] { return host.exportMovie(ours); }, {}},
            {"melt", [&] { return meltExport(melts); }, {}},
            {"ffmpeg", [&] { return ffmpegExport(source, directory + "/ffmpeg.mp4"); }, {}},
        };
        for (int round = 0; round < rounds; ++round) {
            // Rotate the order so that no way always meets a warm or a cold cache.
            for (size_t i = 0; i < ways.size(); ++i) {
                Way& way = ways[(round + i) % ways.size()];
                way.timings.push_back(way.render());
            }
        }
        report(name, ways, ours.fileName, melts.fileName, &timeline == &timelines[0].second);
    }
    const std::string cleanup = "rm -rf " + shellQuoted(directory);
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
