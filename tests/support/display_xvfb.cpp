#include "support/display_xvfb.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/test_media.h"

extern char** environ;

namespace testsupport {
namespace {

constexpr int kStartTimeoutMs = 10000;

class XvfbServer {
  public:
    ~XvfbServer() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }

    // Xvfb picks a free display itself and writes its number to -displayfd.
    std::string start(int width, int height) {
        int pipeEnds[2];
        if (pipe(pipeEnds) != 0) {
            return std::string();
        }
        const std::string fd = std::to_string(pipeEnds[1]);
        const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
        const char* arguments[] = {"Xvfb",         "-displayfd", fd.c_str(), "-screen",  "0",
                                   screen.c_str(), "-nolisten",  "tcp",      "-noreset", nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        int failed =
            posix_spawnp(&pid_, "Xvfb", &actions, nullptr, const_cast<char**>(arguments), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(pipeEnds[1]);
        std::string number = failed == 0 ? readLine(pipeEnds[0]) : std::string();
        close(pipeEnds[0]);
        if (number.empty()) {
            pid_ = failed == 0 ? pid_ : -1;
            return std::string();
        }
        return ":" + number;
    }

  private:
    static std::string readLine(int fd) {
        std::string text;
        pollfd waiting{fd, POLLIN, 0};
        char c;
        while (poll(&waiting, 1, kStartTimeoutMs) > 0 && read(fd, &c, 1) == 1 && c != '\n') {
            text += c;
        }
        return text;
    }

    pid_t pid_ = -1;
};

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

// The next blank-separated word of a PPM header from offset on, skipping
// comments; offset ends just after the word.
std::string nextHeaderToken(const std::string& data, size_t& offset) {
    while (offset < data.size()) {
        if (data[offset] == '#') {
            offset = data.find('\n', offset);
        } else if (std::isspace(static_cast<unsigned char>(data[offset]))) {
            ++offset;
        } else {
            break;
        }
    }
    const size_t start = std::min(offset, data.size());
    while (offset < data.size() && !std::isspace(static_cast<unsigned char>(data[offset]))) {
        ++offset;
    }
    return data.substr(start, offset - start);
}

}  // namespace

std::string ensureDisplay(bool always, int width, int height) {
    static XvfbServer server;
    static std::string display;
    if (!display.empty()) {
        return display;
    }
    const char* current = std::getenv("DISPLAY");
    if (!always && current != nullptr && *current != '\0') {
        display = current;
        return display;
    }
    display = server.start(width, height);
    if (!display.empty()) {
        setenv("DISPLAY", display.c_str(), 1);
    }
    return display;
}

Pixel Image::at(int x, int y) const {
    const size_t offset = (static_cast<size_t>(y) * width + x) * 3;
    return Pixel{rgb[offset], rgb[offset + 1], rgb[offset + 2]};
}

bool takeScreenshot(const std::string& pngPath) {
    return runCommand("xwd -root -silent | convert xwd:- " + quoted("png:" + pngPath) +
                      " 2>/dev/null") == 0 &&
           fileExists(pngPath);
}

bool readImage(const std::string& path, Image& image) {
    std::string data;
    if (runCommand("convert " + quoted(path) + " -depth 8 ppm:- 2>/dev/null", &data) != 0) {
        return false;
    }
    // Binary PPM: "P6", width, height, maximum (comment lines may come
    // between them), one blank, then the samples.
    size_t offset = 0;
    const std::string magic = nextHeaderToken(data, offset);
    const int width = std::atoi(nextHeaderToken(data, offset).c_str());
    const int height = std::atoi(nextHeaderToken(data, offset).c_str());
    const int maximum = std::atoi(nextHeaderToken(data, offset).c_str());
    if (magic != "P6" || width <= 0 || height <= 0 || maximum != 255) {
        return false;
    }
    const size_t start = offset + 1;
    const size_t size = static_cast<size_t>(width) * height * 3;
    if (data.size() < start + size) {
        return false;
    }
    image.width = width;
    image.height = height;
    image.rgb.assign(data.begin() + start, data.begin() + start + size);
    return true;
}

}  // namespace testsupport
