// A private X display for tests that open windows, and screenshots of it.
// The preview consumer draws into a real SDL window; on a machine without a
// desktop (or to keep a developer's desktop out of the pictures) the tests
// run their own Xvfb server and read its framebuffer back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace testsupport {

// Starts one Xvfb server for the process on a free display and points
// DISPLAY at it. With always false an existing DISPLAY is kept. The server
// lives until the process ends. Returns the display name (":N"), or "" when
// no server could be started.
std::string ensureDisplay(bool always = true, int width = 1280, int height = 720);

struct Pixel {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// An 8-bit RGB picture.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;

    Pixel at(int x, int y) const;
    // How many pixels of the picture satisfy the predicate.
    template <typename Predicate>
    int count(Predicate predicate) const {
        int n = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                n += predicate(at(x, y)) ? 1 : 0;
            }
        }
        return n;
    }
};

// Writes the whole screen of the current DISPLAY to pngPath.
bool takeScreenshot(const std::string& pngPath);
// Reads any picture ImageMagick understands.
bool readImage(const std::string& path, Image& image);

}  // namespace testsupport
