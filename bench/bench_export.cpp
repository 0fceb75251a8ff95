// Export throughput: the same MLT XML document and the same avformat options
// rendered in-process by ExportSession (polled the way a client polls it) and
// by MLT's own `melt` command line, which is the reference. Prints both wall
// times, their ratio (target: within 2% of melt) and frames per second. The
// machine may be shared, so the CPU time each render used is printed too: it
// moves far less with other load than the wall time does.
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "export/export_session.h"
#include "media/mlt_handles.h"
#include "platform/platform.h"

namespace {

constexpr int kSeconds = 10;
constexpr int kFrames = kSeconds * 25;
constexpr int kRounds = 3;
constexpr int kPollIntervalMs = 200;
constexpr char kProfile[] = "atsc_720p_25";

std::string shellQuote(const std::string& text) {
    return "'" + text + "'";
}

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

std::string makeSource(const std::string& directory) {
    std::string path = directory + "/source.mp4";
    std::ifstream existing(path);
    if (existing.good()) {
        return path;
    }
    std::string seconds = std::to_string(kSeconds + 1);
    run("ffmpeg -nostdin -y -loglevel error -f lavfi -i testsrc2=size=1280x720:rate=25:duration=" +
        seconds + " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=" + seconds +
        " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -ac 2 -shortest " +
        shellQuote(path));
    return path;
}

// The engine's saved layout: "maintractor" over track tractors of clip playlists,
// here the source under a picture-in-picture of itself, with its sound mixed in.
std::string writeDocument(const std::string& directory, const std::string& source) {
    std::string path = directory + "/timeline.xml";
    std::string last = std::to_string(kFrames - 1);
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt LC_NUMERIC=\"C\">\n"
        << "  <producer id=\"main\"><property name=\"resource\">" << source
        << "</property></producer>\n"
        << "  <producer id=\"inset\"><property name=\"resource\">" << source
        << "</property></producer>\n"
        << "  <playlist id=\"mainClip\"><entry producer=\"main\" in=\"0\" out=\"" << last
        << "\"/></playlist>\n"
        << "  <playlist id=\"insetClip\"><blank length=\"25\"/><entry producer=\"inset\" "
           "in=\"0\" out=\"99\"/></playlist>\n"
        << "  <tractor id=\"Track0\"><track producer=\"mainClip\"/></tractor>\n"
        << "  <tractor id=\"Track1\"><track producer=\"insetClip\"/></tractor>\n"
        << "  <tractor id=\"maintractor\" in=\"0\" out=\"" << last << "\">\n"
        << "    <track producer=\"Track0\"/><track producer=\"Track1\"/>\n"
        << "    <transition><property name=\"mlt_service\">composite</property>"
           "<property name=\"a_track\">0</property><property name=\"b_track\">1</property>"
           "<property name=\"geometry\">60%/60%:35%x35%</property></transition>\n"
        << "  </tractor>\n</mlt>\n";
    std::ofstream(path) << xml.str();
    return path;
}

ExportSettings settingsFor(const std::string& document, const std::string& output) {
    ExportSettings settings;
    settings.xmlFile = document;
    settings.fileName = output;
    settings.videoEncoder = "libx264";
    settings.videoWidth = "1280";
    settings.videoHeight = "720";
    settings.videoFrameRate = "25";
    settings.videoBitRate = "4000";
    settings.audioEncoder = "aac";
    settings.audioChannel = "2";
    settings.audioSampleRate = "48000";
    settings.audioBitRate = "128";
    return settings;
}

struct Timing {
    double wallSeconds = 0.0;
    double cpuSeconds = 0.0;
};

double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Measures one render; who says whose CPU time it burns (this process or its children).
template <typename Render>
Timing measure(int who, Render render) {
    double cpuBegin = cpuSeconds(who);
    uint64_t begin = platform::tickCountMs();
    render();
    return {(platform::tickCountMs() - begin) / 1000.0, cpuSeconds(who) - cpuBegin};
}

void renderInProcess(const ExportSettings& settings) {
    ExportSession session;
    session.start(settings, kProfile);
    while (!session.isStopped() && session.totalFrames() > 0) {
        session.currentPosition("");
        platform::sleepMilliseconds(kPollIntervalMs);
    }
    session.close();
}

// melt is handed the same vector from the document on, plus the two consumer
// properties ExportSession sets itself.
void renderWithMelt(const ExportSettings& settings) {
    std::vector<std::string> arguments = ExportSession::buildExportArguments(settings);
    std::string command = std::string("melt -quiet -profile ") + kProfile;
    for (size_t i = 1; i < arguments.size(); ++i) {
        command += " " + shellQuote(arguments[i]);
    }
    command += " rescale=bilinear progressive=1 > /dev/null 2>&1";
    if (!run(command)) {
        std::cerr << "melt failed: " << command << "\n";
    }
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main() {
    std::string directory = "/tmp/quillavant-bench-export";
    run("mkdir -p " + shellQuote(directory));
    std::string document = writeDocument(directory, makeSource(directory));
    media::ensureEngineFactory();

    std::vector<double> sessionWall, sessionCpu, meltWall, meltCpu;
    for (int round = 0; round < kRounds; ++round) {
        // Alternate the two so neither always meets a warm cache first.
        Timing session = measure(RUSAGE_SELF, [&] {
            renderInProcess(settingsFor(document, directory + "/session.mp4"));
        });
        Timing melt = measure(RUSAGE_CHILDREN, [&] {
            renderWithMelt(settingsFor(document, directory + "/melt.mp4"));
        });
        sessionWall.push_back(session.wallSeconds);
        sessionCpu.push_back(session.cpuSeconds);
        meltWall.push_back(melt.wallSeconds);
        meltCpu.push_back(melt.cpuSeconds);
        std::printf(
            "  round %d: ExportSession %.2f s wall %.2f s CPU, melt %.2f s wall %.2f s CPU\n",
            round + 1, session.wallSeconds, session.cpuSeconds, melt.wallSeconds, melt.cpuSeconds);
    }
    double sessionSeconds = median(sessionWall);
    double meltSeconds = median(meltWall);
    std::printf("export of %d frames 1280x720 libx264/aac, median of %d rounds\n", kFrames,
                kRounds);
    std::printf("  ExportSession (in-process, polled every %d ms): %.2f s, %.1f fps, %.2f s CPU\n",
                kPollIntervalMs, sessionSeconds, kFrames / sessionSeconds, median(sessionCpu));
    std::printf("  melt command line (reference):              %.2f s, %.1f fps, %.2f s CPU\n",
                meltSeconds, kFrames / meltSeconds, median(meltCpu));
    std::printf("  ratio ExportSession / melt: wall %.3f, CPU %.3f (target <= 1.02)\n",
                sessionSeconds / meltSeconds, median(sessionCpu) / median(meltCpu));
    return 0;
}
