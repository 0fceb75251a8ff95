// Media operations against the ffmpeg tools doing the same work, side by side
// on files this program generates once:
//   - 20 thumbnails of a 60 s 1080p clip: snapMultiPicQuick against 20 runs of
//     "ffmpeg -ss T -i f -frames:v 1 -s WxH out.jpg" (target: 3x faster or more);
//   - the level file of a 10-minute stereo AAC file: makeAudioThumbFile against
//     "ffmpeg -i f -f null -" (target: at most 1.3x the decode);
//   - getMediaProperty against "ffprobe -show_streams" (target: no slower);
//   - the media cache: the same 20 thumbnails, level file and a snapshot
//     without a cache, first with an empty cache (which decodes and keeps:
//     target at most 5% slower than without), and repeated (which the cache
//     answers: target 20x faster than the first for the thumbnails, 10x for
//     the levels). Each figure is the best of five runs, in wall time and in
//     the processor time of the process; the overhead of keeping is judged on
//     the latter, which the other programs of a shared machine disturb less.
extern "C" {
#include <libavutil/log.h>
}

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "cache/result_cache.h"
#include "media/audio_waveform.h"
#include "media/frame_grabber.h"
#include "media/probe.h"
#include "media/snapshot.h"
#include "media/thumbnails.h"

namespace {

constexpr int kThumbnailCount = 20;
constexpr int kThumbnailWidth = 320;
constexpr int kThumbnailHeight = 180;
constexpr int kClipSeconds = 60;
constexpr int kProbeRuns = 10;
constexpr int kCacheRuns = 5;

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

// Twenty positions spread over the clip, and the thumbnail size.
std::vector<int> thumbnailPositions() {
    std::vector<int> positions;
    const int step = kClipSeconds * 25 / kThumbnailCount;
    for (int i = 0; i < kThumbnailCount; ++i) {
        positions.push_back(i * step + step / 2);
    }
    return positions;
}

PictureSpec thumbnailSpec() {
    PictureSpec spec;
    spec.width = kThumbnailWidth;
    spec.height = kThumbnailHeight;
    spec.frameRate = 25.0;
    return spec;
}

void benchThumbnails(const std::string& clip) {
    const std::string ourDirectory = workDirectory() + "/thumbs-ours";
    const std::string toolDirectory = workDirectory() + "/thumbs-ffmpeg";
    mkdir(ourDirectory.c_str(), 0700);
    mkdir(toolDirectory.c_str(), 0700);
    const std::vector<int> positions = thumbnailPositions();
    const PictureSpec spec = thumbnailSpec();

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

// A request run without a cache, then with an empty cache, then again.
using CachedRequest = std::function<void(cache::ResultCache*)>;

// Wall time, and the processor time of the whole process (all its threads),
// which other programs on a shared machine disturb far less.
struct Cost {
    double wall = 1e9;
    double processor = 1e9;

    void keepBest(const Cost& other) {
        wall = std::min(wall, other.wall);
        processor = std::min(processor, other.processor);
    }
};

double processorSeconds() {
    struct timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + now.tv_nsec * 1e-9;
}

Cost costOf(const std::function<void()>& work) {
    const double processorStart = processorSeconds();
    Cost cost;
    cost.wall = secondsOf(work);
    cost.processor = processorSeconds() - processorStart;
    return cost;
}

struct CacheCosts {
    Cost uncached;
    Cost first;
    Cost repeated;
};

// An empty cache of the default size in the work directory.
cache::CacheSettings emptyCacheSettings() {
    cache::CacheSettings settings;
    settings.folder = workDirectory() + "/cache";
    settings.limitBytes = cache::kDefaultLimitMegabytes * cache::kBytesPerMegabyte;
    run("rm -rf '" + settings.folder + "'");
    return settings;
}

// The best of kCacheRuns of each, the three taken turn about so that a
// slower spell of a shared machine falls on all of them alike.
CacheCosts costCached(const CachedRequest& request) {
    CacheCosts best;
    for (int i = 0; i < kCacheRuns; ++i) {
        best.uncached.keepBest(costOf([&] { request(nullptr); }));
        cache::ResultCache results(emptyCacheSettings());
        best.first.keepBest(costOf([&] { request(&results); }));
        best.repeated.keepBest(costOf([&] { request(&results); }));
    }
    return best;
}

void reportCached(const char* what, const CacheCosts& costs, const char* target) {
    const auto percentMore = [](double cost, double reference) {
        return (cost / reference - 1.0) * 100.0;
    };
    std::printf(
        "%s\n  %-34s %10s %10s\n  %-34s %8.3f s %8.3f s\n  %-34s %8.3f s %8.3f s\n"
        "  %-34s %8.3f s %8.3f s\n"
        "  first with the cache against none: %+.1f%% processor, %+.1f%% wall "
        "(target: at most +5%%)\n"
        "  repeated %.1fx faster than the first (wall; %s)\n\n",
        what, "", "wall", "processor", "without a cache", costs.uncached.wall,
        costs.uncached.processor, "first, with an empty cache", costs.first.wall,
        costs.first.processor, "repeated, from the cache", costs.repeated.wall,
        costs.repeated.processor, percentMore(costs.first.processor, costs.uncached.processor),
        percentMore(costs.first.wall, costs.uncached.wall), costs.first.wall / costs.repeated.wall,
        target);
}

void benchCache(const std::string& clip, const std::string& sound) {
    const std::string pictures = workDirectory() + "/thumbs-cached";
    mkdir(pictures.c_str(), 0700);
    FrameGrabber grabber;
    reportCached("Media cache: 20 thumbnails of the 1080p clip",
                 costCached([&](cache::ResultCache* results) {
                     snapMultiPicQuick(grabber, thumbnailPositions(), thumbnailSpec(), clip,
                                       pictures, results);
                 }),
                 "target: 20x or more");
    const std::string levels = workDirectory() + "/levels-cached.txt";
    reportCached("Media cache: level file of the 10-minute AAC file",
                 costCached([&](cache::ResultCache* results) {
                     makeAudioThumbFile("", sound, levels, results);
                 }),
                 "target: 10x or more");
    const std::string snapshot = workDirectory() + "/snapshot-cached.jpg";
    reportCached("Media cache: a snapshot of the 1080p clip",
                 costCached([&](cache::ResultCache* results) {
                     snapPicture(700, "", clip, snapshot, results);
                 }),
                 "no target");
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
    benchCache(clip, sound);
    return 0;
}
