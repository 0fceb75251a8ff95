#include "support/media_fixtures.h"

#include <gtest/gtest.h>

#include <cmath>

#include "log/log.h"
#include "messages/parse_json.h"

namespace mediatest {

namespace {

std::string output(const std::string& command) {
    std::string text;
    EXPECT_EQ(testsupport::runCommand(command, &text), 0) << command;
    return text;
}

std::string catenated(const std::vector<std::string>& paths) {
    std::string command = "cat";
    for (const std::string& path : paths) {
        command += " '" + path + "'";
    }
    return command + " | ";
}

std::vector<Gray> decodeGray(const std::string& input, int width, int height,
                             const std::string& filter) {
    const std::string raw =
        output(input + " -vf " + filter + "scale=" + std::to_string(width) + ":" +
               std::to_string(height) + " -vsync passthrough -f rawvideo -pix_fmt gray -");
    const size_t size = static_cast<size_t>(width) * height;
    std::vector<Gray> frames;
    for (size_t offset = 0; offset + size <= raw.size(); offset += size) {
        frames.push_back(raw.substr(offset, size));
    }
    return frames;
}

}  // namespace

std::string counterVideo(const std::string& rate) {
    return testsupport::makeMedia(
        "media_counter_" + rate + ".mp4",
        "-f lavfi -i testsrc2=size=320x240:rate=" + rate +
            ":duration=10 -f lavfi -i sine=frequency=440:sample_rate=48000:duration=10 -vf "
            "'drawtext=fontfile=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf:text=%{n}:"
            "fontsize=100:fontcolor=white:box=1:boxcolor=black:x=10:y=70' -c:v libx264 "
            "-preset veryfast -g 50 -bf 2 -pix_fmt yuv420p -c:a aac -ac 2 -shortest");
}

std::string counterVariant(const std::string& name, const std::string& arguments) {
    return testsupport::makeMedia(name, "-i '" + counterVideo() + "' " + arguments);
}

std::string rotated(const std::string& key, int degrees) {
    // Only MP4 stores the matrix, only Matroska keeps the plain tag.
    return counterVariant(
        "media_" + key + std::to_string(degrees) + (key == "rotate" ? ".mp4" : ".mkv"),
        "-c copy -metadata:s:v " + key + "=" + std::to_string(degrees));
}

std::string intraOnlyMjpeg() {
    return counterVariant("media_mjpeg.avi", "-an -c:v mjpeg -q:v 3 -pix_fmt yuvj420p");
}

std::string mpeg2ProgramStream() {
    return counterVariant("media_mpeg2.mpg",
                          "-t 7.6 -c:v mpeg2video -q:v 4 -g 12 -bf 2 -c:a mp2 -f mpeg");
}

std::string stillPicture() {
    return testsupport::makeMedia("media_still.png",
                                  "-f lavfi -i testsrc2=size=200x100 -frames:v 1");
}

std::string squareWav(int amplitude, int channels, int sampleRate) {
    // Full scale 32768 makes the double-to-s16 conversion exact.
    const std::string level = std::to_string(amplitude) + "/32768";
    return testsupport::makeMedia(
        "media_square_" + std::to_string(amplitude) + "_" + std::to_string(channels) + "_" +
            std::to_string(sampleRate) + ".wav",
        "-f lavfi -i \"aevalsrc='if(lt(mod(n\\,100)\\,50)\\," + level + "\\,-" + level +
            ")':s=" + std::to_string(sampleRate) + ":c=" + (channels == 1 ? "mono" : "stereo") +
            ":d=4\" -bitexact -c:a pcm_s16le");
}

Json::Value firstStream(const std::string& path, const std::string& kind) {
    Json::Value probe;
    EXPECT_TRUE(parseJsonText(output("ffprobe -v error -of json -show_streams -select_streams " +
                                     kind + ":0 '" + path + "'"),
                              probe));
    return probe["streams"][0];
}

std::vector<Gray> grayFrames(const std::string& path, int width, int height,
                             const std::string& filter) {
    return decodeGray("ffmpeg -nostdin -v error -i '" + path + "'", width, height, filter);
}

std::vector<Gray> jpegFrames(const std::vector<std::string>& paths, int width, int height) {
    return decodeGray(catenated(paths) + "ffmpeg -v error -f mjpeg -i -", width, height, "");
}

std::string jpegSizes(const std::vector<std::string>& paths) {
    return output(catenated(paths) +
                  "ffprobe -v error -f mjpeg -show_entries frame=width,height -of csv=p=0:s=x -");
}

int matchingFrame(const Gray& picture, const std::vector<Gray>& frames, double tolerance) {
    int best = -1;
    for (size_t i = 0; i < frames.size() && frames[i].size() == picture.size(); ++i) {
        double difference = 0.0;
        for (size_t j = 0; j < picture.size(); ++j) {
            difference +=
                std::abs(static_cast<uint8_t>(picture[j]) - static_cast<uint8_t>(frames[i][j]));
        }
        if (difference / picture.size() < tolerance) {
            tolerance = difference / picture.size();
            best = static_cast<int>(i);
        }
    }
    return best;
}

LogRecorder::LogRecorder() {
    setLogObserver([this](int, const std::string& line) {
        std::lock_guard<std::mutex> guard(lock);
        lines.push_back(line);
    });
}

LogRecorder::~LogRecorder() {
    setLogObserver(nullptr);
}

int LogRecorder::count(const std::string& level, const std::string& message) const {
    std::lock_guard<std::mutex> guard(lock);
    int found = 0;
    for (const std::string& line : lines) {
        found += line.find("] [" + level + "] [") != std::string::npos &&
                 line.find(message + "\n") != std::string::npos;
    }
    return found;
}

}  // namespace mediatest
