#include "support/test_media.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace testsupport {

std::string mediaDirectory() {
    static const std::string directory = [] {
        std::string path = "/tmp/quillavant-test-media-" + std::to_string(getuid());
        mkdir(path.c_str(), 0700);
        return path;
    }();
    return directory;
}

std::string makeTempDirectory(const std::string& prefix) {
    std::string pattern = "/tmp/" + prefix + "-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    char* made = mkdtemp(buffer.data());
    return made ? std::string(made) : std::string();
}

int runCommand(const std::string& command, std::string* output) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return -1;
    }
    std::array<char, 4096> chunk;
    std::string text;
    size_t count;
    while ((count = fread(chunk.data(), 1, chunk.size(), pipe)) > 0) {
        text.append(chunk.data(), count);
    }
    int status = pclose(pipe);
    if (output) {
        *output = text;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool fileExists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string makeMedia(const std::string& name, const std::string& ffmpegArguments) {
    std::string path = mediaDirectory() + "/" + name;
    if (fileExists(path)) {
        return path;
    }
    // Write beside the target and rename, so parallel suites never see half a file.
    std::string partial =
        path + ".part" + std::to_string(getpid()) + "." + name.substr(name.find_last_of('.') + 1);
    std::string command =
        "ffmpeg -nostdin -y -loglevel error " + ffmpegArguments + " '" + partial + "' 2>&1";
    std::string output;
    int status = runCommand(command, &output);
    EXPECT_EQ(status, 0) << command << "\n" << output;
    if (status == 0) {
        std::rename(partial.c_str(), path.c_str());
    }
    return path;
}

std::string colourBarsWithTone(int seconds, int width, int height) {
    std::string size = std::to_string(width) + "x" + std::to_string(height);
    std::string name = "bars_" + size + "_" + std::to_string(seconds) + "s.mp4";
    return makeMedia(
        name,
        "-f lavfi -i testsrc2=size=" + size + ":rate=25:duration=" + std::to_string(seconds) +
            " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=" +
            std::to_string(seconds) +
            " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -ac 2 -shortest");
}

std::string toneWav(int seconds) {
    return makeMedia("tone_" + std::to_string(seconds) + "s.wav",
                     "-f lavfi -i sine=frequency=440:sample_rate=48000:duration=" +
                         std::to_string(seconds) + " -ac 2 -c:a pcm_s16le");
}

}  // namespace testsupport
