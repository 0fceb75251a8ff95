// Media operations against the ffmpeg tools doing the same work, side by side
// on files this program generates once:
//   - 20 thumbnails of a 60 s 1080p clip: snapMultiPicQuick against 20 runs of
//     "ffmpeg -ss T -i f -frames:v 1 -s WxH out.jpg" (target: 3x faster or more);
//   - the level file of a 10-minute stereo AAC file: makeAudioThumbFile against
//     "ffmpeg -i f -f null -" (target: at most 1.3x the decode);
//   - getMediaProperty against "ffprobe -show_streams" (target: no slower).
extern "C" {
#include <libavutil/log.h>
}

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "media/audio_waveform.h"
#include "media/frame_grabber.h"
#include "media/probe.h"
#include "media/thumbnails.h"

namespace {

constexpr int kThumbnailCount = 20;
constexpr int kThumbnailWidth = 320;
constexpr int kThumbnailHeight = 180;
constexpr int kClipSeconds = 60;
constexpr int kProbeRuns = 10;

std::string workDirectory() {
    static const std::string directory = [] {
        std::string path = "/tmp/quillavant-bench-media-" + std::to_string(getuid());
        mkdir(path.c_str(), 0700);
        return path;
    }();
    return directory;
}

bool fileExists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

// Makes name in the work directory with ffmpeg unless it is already there.
std::string generate(const std::string& name, const std::string& arguments) {
    const std::string path = workDirectory() + "/" + name;
    if (!fileExists(path)) {
        std::printf("generating %s ...\n", name.c_str());
        std::fflush(stdout);
        const std::string partial = path + ".part." + name.substr(name.rfind('.') + 1);
        if (!run("ffmpeg -nostdin -y -loglevel error " + arguments + " '" + partial + "'") ||
            std::rename(partial.c_str(), path.c_str()) != 0) {
            std::fprintf(stderr, "cannot generate %s\n", name.c_str());
            std::exit(1);
        }
    }
    return path;
}

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void report(const char* what, const char* ours, double oursSeconds, const char* reference,
            double referenceSeconds, const char* target) {
    std::printf("%s\n  %-34s %8.3f s\n  %-34s %8.3f s\n  speed-up %.2fx, time ratio %.2f (%s)\n\n",
                what, ours, oursSeconds, reference, referenceSeconds,
                referenceSeconds / oursSeconds, oursSeconds / referenceSeconds, target);
}

void benchThumbnails(const std::string& clip) {
    const std::string ourDirectory = workDirectory() + "/thumbs-ours";
    const std::string toolDirectory = workDirectory() + "/thumbs-ffmpeg";
    mkdir(ourDirectory.c_str(), 0700);
    mkdir(toolDirectory.c_str(), 0700);
    std::vector<int> positions;
    const int step = kClipSeconds * 25 / kThumbnailCount;
    for (int i = 0; i < kThumbnailCount; ++i) {
        positions.push_back(i * step + step / 2);
    }
    PictureSpec spec;
    spec.width = kThumbnailWidth;
    spec.height = kThumbnailHeight;
    spec.frameRate = 25.0;

    FrameGrabber grabber;
    const double ours =
        secondsOf([&] { snapMultiPicQuick(grabber, positions, spec, clip, ourDirectory); });
    const double tool = secondsOf([&] {
        for (int position : positions) {
            char seconds[32];
            std::snprintf(seconds, sizeof(seconds), "%.3f", position / 25.0);
            run("ffmpeg -nostdin -y -loglevel error -ss " + std::string(seconds) + " -i '" + clip +
                "' -frames:v 1 -s " + std::to_string(kThumbnailWidth) + "x" +
                std::to_string(kThumbnailHeight) + " '" + toolDirectory + "/" +
                std::to_string(position) + ".jpg'");
        }
    });
    report("20 thumbnails of a 60 s 1080p H.264 clip", "snapMultiPicQuick", ours,
           "20 x ffmpeg -ss T -frames:v 1", tool, "target: speed-up of 3x or more");
}

void benchWaveform(const std::string& sound) {
    const std::string levels = workDirectory() + "/levels.txt";
    const double ours = secondsOf([&] { makeAudioThumbFile("", sound, levels); });
    const double tool =
        secondsOf([&] { run("ffmpeg -nostdin -loglevel error -i '" + sound + "' -f null -"); });
    report("Level file of a 10-minute stereo AAC file", "makeAudioThumbFile", ours,
           "ffmpeg -i f -f null -", tool, "target: time ratio of 1.3 or less");
}

void benchProbe(const std::string& clip) {
    getMediaProperty("", clip, "movie");  // starts the engine, as the first request does
    const double ours = secondsOf([&] {
        for (int i = 0; i < kProbeRuns; ++i) {
            getMediaProperty("", clip, "movie");
        }
    });
    const double tool = secondsOf([&] {
        for (int i = 0; i < kProbeRuns; ++i) {
            run("ffprobe -loglevel error -show_streams '" + clip + "' > /dev/null");
        }
    });
    report("10 descriptions of the 1080p clip", "getMediaProperty", ours, "ffprobe -show_streams",
           tool, "target: time ratio of 1.0 or less");
}

}  // namespace

int main() {
    av_log_set_level(AV_LOG_ERROR);
    const std::string clip = generate(
        "clip_1080p_60s.mp4",
        "-f lavfi -i testsrc2=size=1920x1080:rate=25:duration=" + std::to_string(kClipSeconds) +
            " -c:v libx264 -preset veryfast -g 50 -pix_fmt yuv420p");
    const std::string sound =
        generate("sound_10min.m4a",
                 "-f lavfi -i sine=frequency=440:sample_rate=48000:duration=600 -ac 2 -c:a aac");
    benchThumbnails(clip);
    benchWaveform(sound);
    benchProbe(clip);
    return 0;
}
