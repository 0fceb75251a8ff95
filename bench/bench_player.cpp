// The preview as the client feels it, through a running service on a
// 2-minute timeline (3000 frames of colour bars with a tone):
// - PRE_SEEK_STOP latency, request sent to reply received, over 50 random
//   seeks: median against one frame period (40 ms at 25 fps), worst against
//   the 2000 ms the player's seek wait allows;
// - PRE_PLAY: time to the reply and to the first frame the playing preview
//   moves on to, against 1000 ms.
// Without a DISPLAY it runs itself again under xvfb-run.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "client/pipe_client.h"
#include "client/service_launcher.h"

namespace {

constexpr int kSeeks = 50;
constexpr int kTimelineSeconds = 120;
constexpr int kTimelineFrames = kTimelineSeconds * 25;
constexpr double kFramePeriodMs = 40.0;
constexpr double kSeekWaitLimitMs = 2000.0;
constexpr double kFirstFrameReferenceMs = 1000.0;

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// The long clip, made once per user with the ffmpeg tool.
std::string timelineMedia() {
    const std::string directory = "/tmp/quillavant-bench-media-" + std::to_string(getuid());
    mkdir(directory.c_str(), 0700);
    const std::string path = directory + "/bars_320x240_120s.mp4";
    struct stat info {};
    if (stat(path.c_str(), &info) == 0) {
        return path;
    }
    const std::string seconds = std::to_string(kTimelineSeconds);
    const std::string command =
        "ffmpeg -nostdin -y -loglevel error -f lavfi -i testsrc2=size=320x240:rate=25:duration=" +
        seconds + " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=" + seconds +
        " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -ac 2 -shortest '" + path +
        ".part.mp4' && mv '" + path + ".part.mp4' '" + path + "'";
    return std::system(command.c_str()) == 0 ? path : std::string();
}

class Session {
  public:
    explicit Session(PipeClient& client) : client_(client) {}

    std::string command(const std::string& name, const std::string& content = "") {
        PipeReply reply;
        return client_.sendCommand(name, content, &reply) ? resultValueText(reply.body) : "";
    }

    bool control(const std::string& name, const std::string& content) {
        PipeReply reply;
        return client_.sendControl(name, content, &reply);
    }

    int position() { return std::atoi(command("PRE_GETCURRENTPOS").c_str()); }

  private:
    PipeClient& client_;
};

void printLatency(const char* name, double ms, double referenceMs, const char* reference) {
    std::printf("  %-22s %9.1f ms   (%s %.0f ms: %.2fx)\n", name, ms, reference, referenceMs,
                ms / referenceMs);
}

}  // namespace

int main(int argc, char** argv) {
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0') {
        std::vector<char*> arguments = {const_cast<char*>("xvfb-run"), const_cast<char*>("-a")};
        arguments.insert(arguments.end(), argv, argv + argc);
        arguments.push_back(nullptr);
        execvp("xvfb-run", arguments.data());
        std::fprintf(stderr, "no DISPLAY and xvfb-run cannot start\n");
        return 1;
    }
    const std::string media = timelineMedia();
    if (media.empty()) {
        std::fprintf(stderr, "cannot make the timeline media with ffmpeg\n");
        return 1;
    }
    char pattern[] = "/tmp/qv-bench-player-XXXXXX";
    const std::string directory = mkdtemp(pattern);
    const std::string pipeName = "benchplayer" + std::to_string(getpid());
    ServiceLauncher service;
    if (!service.start(std::string(QV_BIN_DIR) + "/quillavant-host", directory, pipeName,
                       {"SDL_AUDIODRIVER=dummy", "QUILLAVANT_RECOVERY_DIR=" + directory},
                       directory + "/host.stderr")) {
        std::fprintf(stderr, "cannot start the host\n");
        return 1;
    }
    PipeClient client;
    if (!client.connectPath(directory + "/" + pipeName, 10000)) {
        std::fprintf(stderr, "%s\n", client.lastError().c_str());
        return 1;
    }
    Session session(client);
    session.command("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":1280,"Height":720,)"
                                  R"("WindowID":0,"CachePath":)" +
                                      quoted(directory) + "}");
    session.command("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})");
    session.command("ADD_CLIP", R"({"TrackID":"Track0","ID":"bars","MltService":"avformat",)"
                                R"("Resource":)" +
                                    quoted(media) + R"(,"In":"0","Out":")" +
                                    std::to_string(kTimelineFrames - 1) + R"(","Index":-1})");

    const Clock::time_point playSent = Clock::now();
    session.control("PRE_PLAY", R"({"AutoPlay":true,"Position":0,"Width":1280,"Height":720})");
    const double playReplyMs = millisecondsSince(playSent);
    while (session.position() == 0 && millisecondsSince(playSent) < 30000) {
        usleep(1000);
    }
    const double firstFrameMs = millisecondsSince(playSent);
    const int totalFrames = std::atoi(session.command("PRE_GETTOTALFRAME").c_str());

    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> anywhere(0, kTimelineFrames - 1);
    std::vector<double> seekMs;
    int missed = 0;
    for (int i = 0; i < kSeeks; ++i) {
        const int target = anywhere(random);
        const Clock::time_point sent = Clock::now();
        session.control("PRE_SEEK_STOP", R"({"Position":)" + std::to_string(target) + "}");
        seekMs.push_back(millisecondsSince(sent));
        missed += session.position() == target ? 0 : 1;
    }
    client.sendClose();
    service.waitForExit(15000);
    std::sort(seekMs.begin(), seekMs.end());

    std::printf("player preview (%d-frame timeline, %d frames loaded)\n", kTimelineFrames,
                totalFrames);
    printLatency("PRE_PLAY reply", playReplyMs, kFirstFrameReferenceMs, "reference");
    printLatency("PRE_PLAY first frame", firstFrameMs, kFirstFrameReferenceMs, "reference");
    std::printf("PRE_SEEK_STOP over %d random seeks (%d landed elsewhere)\n", kSeeks, missed);
    printLatency("median", seekMs[seekMs.size() / 2], kFramePeriodMs, "frame period");
    printLatency("worst", seekMs.back(), kSeekWaitLimitMs, "seek wait limit");
    const std::string cleanup = "rm -rf '" + directory + "'";
    return std::system(cleanup.c_str()) == 0 ? 0 : 0;
}
