#include "media_fixtures.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>

#include "host/log.h"
#include "messages/parse_json.h"
#include "support/test_media.h"

namespace mediatest {

namespace {

const char kFont[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

std::string quoted(const std::string& path) {
    return "'" + path + "'";
}

std::string counterSource(const std::string& rate) {
    return "-f lavfi -i testsrc2=size=320x240:rate=" + rate +
           ":duration=10 -f lavfi -i sine=frequency=440:sample_rate=48000:duration=10 "
           "-vf 'drawtext=fontfile=" +
           std::string(kFont) +
           ":text=%{n}:fontsize=100:fontcolor=white:box=1:boxcolor=black:x=10:y=70' "
           "-c:v libx264 -preset veryfast -g 50 -bf 2 -pix_fmt yuv420p -c:a aac -ac 2 -shortest";
}

void putLittleEndian(std::ostream& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.put(static_cast<char>((value >> (8 * i)) & 0xff));
    }
}

std::vector<GrayPicture> splitFrames(const std::string& raw, int width, int height) {
    const size_t size = static_cast<size_t>(width) * height;
    std::vector<GrayPicture> frames;
    for (size_t offset = 0; offset + size <= raw.size(); offset += size) {
        frames.emplace_back(raw.begin() + offset, raw.begin() + offset + size);
    }
    return frames;
}

std::string ffmpegOutput(const std::string& command) {
    std::string output;
    EXPECT_EQ(testsupport::runCommand(command, &output), 0) << command;
    return output;
}

}  // namespace

std::string counterVideo() {
    EXPECT_TRUE(testsupport::fileExists(kFont)) << "the counter needs the DejaVu font";
    return testsupport::makeMedia("media_counter_25.mp4", counterSource("25"));
}

std::string counterVideo2997() {
    return testsupport::makeMedia("media_counter_2997.mp4", counterSource("30000/1001"));
}

std::string counterVideo50() {
    return testsupport::makeMedia("media_counter_50.mp4", counterSource("50"));
}

std::string counterVideoRotateTag(int degrees) {
    return testsupport::makeMedia("media_counter_tag" + std::to_string(degrees) + ".mkv",
                                  "-i " + quoted(counterVideo()) +
                                      " -c copy -metadata:s:v ROTATE=" + std::to_string(degrees));
}

std::string counterVideoDisplayMatrix(int degrees) {
    // This ffmpeg turns a "rotate" value given on output into a display
    // matrix of that many degrees counter-clockwise.
    return testsupport::makeMedia("media_counter_matrix" + std::to_string(degrees) + ".mp4",
                                  "-i " + quoted(counterVideo()) +
                                      " -c copy -metadata:s:v rotate=" + std::to_string(degrees));
}

std::string counterMjpeg() {
    return testsupport::makeMedia(
        "media_counter_mjpeg.avi",
        "-i " + quoted(counterVideo()) + " -an -c:v mjpeg -q:v 3 -pix_fmt yuvj420p");
}

std::string counterVideoTwoAudio() {
    return testsupport::makeMedia(
        "media_counter_two_audio.mkv",
        "-i " + quoted(counterVideo()) +
            " -f lavfi -i sine=frequency=300:sample_rate=44100:duration=10"
            " -map 0:v -map 1:a -map 0:a -c:v copy -c:a aac -shortest");
}

std::string stillPicture() {
    return testsupport::makeMedia("media_still.png",
                                  "-f lavfi -i testsrc2=size=200x100 -frames:v 1");
}

std::string squareWav(const std::string& name, int amplitude, int periodSamples, int seconds,
                      int channels, int sampleRate) {
    const std::string path = testsupport::mediaDirectory() + "/" + name;
    if (testsupport::fileExists(path)) {
        return path;
    }
    const uint32_t frames = static_cast<uint32_t>(sampleRate) * seconds;
    const uint32_t dataBytes = frames * channels * 2;
    const std::string partial = path + ".part";
    {
        std::ofstream out(partial, std::ios::binary);
        out.write("RIFF", 4);
        putLittleEndian(out, 36 + dataBytes, 4);
        out.write("WAVEfmt ", 8);
        putLittleEndian(out, 16, 4);
        putLittleEndian(out, 1, 2);  // PCM
        putLittleEndian(out, channels, 2);
        putLittleEndian(out, sampleRate, 4);
        putLittleEndian(out, sampleRate * channels * 2, 4);
        putLittleEndian(out, channels * 2, 2);
        putLittleEndian(out, 16, 2);
        out.write("data", 4);
        putLittleEndian(out, dataBytes, 4);
        for (uint32_t i = 0; i < frames; ++i) {
            const int sample = (i % periodSamples) < static_cast<uint32_t>(periodSamples / 2)
                                   ? amplitude
                                   : -amplitude;
            for (int channel = 0; channel < channels; ++channel) {
                putLittleEndian(out, static_cast<uint16_t>(static_cast<int16_t>(sample)), 2);
            }
        }
    }
    std::rename(partial.c_str(), path.c_str());
    return path;
}

std::string silenceThenSquare() {
    const std::string silence = squareWav("media_silence.wav", 0, 100, 4);
    const std::string square = squareWav("media_square_16384.wav", 16384, 100, 4);
    return testsupport::makeMedia(
        "media_silence_then_square.mka",
        "-i " + quoted(silence) + " -i " + quoted(square) + " -map 0:a -map 1:a -c copy");
}

Json::Value probeFile(const std::string& path) {
    const std::string text =
        ffmpegOutput("ffprobe -v error -of json -show_streams -show_format " + quoted(path));
    Json::Value probe;
    EXPECT_TRUE(parseJsonText(text, probe)) << text;
    return probe;
}

Json::Value firstStream(const Json::Value& probe, const std::string& kind) {
    for (const Json::Value& stream : probe["streams"]) {
        if (stream["codec_type"].asString() == kind) {
            return stream;
        }
    }
    return Json::Value();
}

std::vector<GrayPicture> referenceFrames(const std::string& path, int width, int height,
                                         const std::string& filter) {
    const std::string scale = "scale=" + std::to_string(width) + ":" + std::to_string(height);
    const std::string chain = filter.empty() ? scale : filter + "," + scale;
    const std::string raw = ffmpegOutput("ffmpeg -nostdin -v error -i " + quoted(path) + " -vf " +
                                         chain + " -vsync passthrough -f rawvideo -pix_fmt gray -");
    return splitFrames(raw, width, height);
}

GrayPicture decodeJpegGray(const std::string& path, int width, int height) {
    std::string raw;
    const int status = testsupport::runCommand(
        "ffmpeg -nostdin -v error -f jpeg_pipe -i " + quoted(path) + " -s " +
            std::to_string(width) + "x" + std::to_string(height) + " -f rawvideo -pix_fmt gray -",
        &raw);
    if (status != 0 || raw.size() != static_cast<size_t>(width) * height) {
        return GrayPicture();
    }
    return GrayPicture(raw.begin(), raw.end());
}

std::vector<GrayPicture> decodeJpegSeries(const std::vector<std::string>& paths, int width,
                                          int height) {
    std::string files;
    for (const std::string& path : paths) {
        files += " " + quoted(path);
    }
    const std::string raw = ffmpegOutput(
        "cat" + files +
        " | ffmpeg -nostdin -v error -f mjpeg -i - -vsync passthrough -f rawvideo -pix_fmt gray -");
    return splitFrames(raw, width, height);
}

std::pair<int, int> jpegSize(const std::string& path) {
    const std::string data = testsupport::readFile(path);
    auto byteAt = [&data](size_t i) { return static_cast<unsigned char>(data[i]); };
    auto wordAt = [&byteAt](size_t i) { return byteAt(i) << 8 | byteAt(i + 1); };
    if (data.size() < 4 || byteAt(0) != 0xff || byteAt(1) != 0xd8) {
        return {0, 0};
    }
    for (size_t i = 2; i + 9 < data.size() && byteAt(i) == 0xff;) {
        const int marker = byteAt(i + 1);
        const bool frameHeader =
            marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (frameHeader) {
            return {wordAt(i + 7), wordAt(i + 5)};
        }
        i += 2 + wordAt(i + 2);
    }
    return {0, 0};
}

std::pair<int, int> pictureSize(const std::string& path) {
    const Json::Value stream = firstStream(probeFile(path), "video");
    return {stream["width"].asInt(), stream["height"].asInt()};
}

double meanDifference(const GrayPicture& a, const GrayPicture& b) {
    if (a.size() != b.size() || a.empty()) {
        return std::numeric_limits<double>::infinity();
    }
    double sum = 0.0;
    for (size_t i = 0; i < a.size(); ++i) {
        sum += std::abs(static_cast<int>(a[i]) - static_cast<int>(b[i]));
    }
    return sum / a.size();
}

int closestFrame(const GrayPicture& picture, const std::vector<GrayPicture>& frames) {
    int best = -1;
    double bestDifference = std::numeric_limits<double>::infinity();
    for (size_t i = 0; i < frames.size(); ++i) {
        const double difference = meanDifference(picture, frames[i]);
        if (difference < bestDifference) {
            bestDifference = difference;
            best = static_cast<int>(i);
        }
    }
    return best;
}

std::string commaDecimalLocale() {
    static const std::string name = [] {
        const std::string directory = testsupport::mediaDirectory() + "/locales";
        const std::string locale = "de_DE.UTF-8";
        if (!testsupport::fileExists(directory + "/" + locale)) {
            testsupport::runCommand("mkdir -p " + quoted(directory) +
                                    " && localedef -i de_DE -f UTF-8 " +
                                    quoted(directory + "/" + locale) + " 2>&1");
        }
        setenv("LOCPATH", directory.c_str(), 1);
        const std::string saved = std::setlocale(LC_NUMERIC, nullptr);
        const bool available = std::setlocale(LC_NUMERIC, locale.c_str()) != nullptr;
        std::setlocale(LC_NUMERIC, saved.c_str());
        return available ? locale : std::string();
    }();
    return name;
}

ScopedNumericLocale::ScopedNumericLocale(const std::string& name)
    : saved_(std::setlocale(LC_NUMERIC, nullptr)) {
    std::setlocale(LC_NUMERIC, name.c_str());
}

ScopedNumericLocale::~ScopedNumericLocale() {
    std::setlocale(LC_NUMERIC, saved_.c_str());
}

LogRecorder::LogRecorder() {
    setLogObserver([this](int, const std::string& line) {
        std::lock_guard<std::mutex> guard(lock_);
        lines_.push_back(line);
    });
}

LogRecorder::~LogRecorder() {
    setLogObserver(nullptr);
}

std::vector<std::string> LogRecorder::lines() const {
    std::lock_guard<std::mutex> guard(lock_);
    return lines_;
}

int LogRecorder::count(const std::string& levelName, const std::string& message) const {
    const std::string level = "] [" + levelName + "] [";
    const std::string ending = " " + message + "\n";
    int found = 0;
    for (const std::string& line : lines()) {
        if (line.find(level) != std::string::npos && line.size() >= ending.size() &&
            line.compare(line.size() - ending.size(), ending.size(), ending) == 0) {
            ++found;
        }
    }
    return found;
}

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace mediatest
