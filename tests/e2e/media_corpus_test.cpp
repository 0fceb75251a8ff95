// The kinds of media editors meet in the wild, and broken files under movie
// names, run through one service the way the editor uses them: described,
// thumbnailed, measured for audio levels, played, seeked and exported. Each
// answer is checked against ffprobe and ffmpeg, and after every file the
// service must still answer.
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "messages/parse_json.h"
#include "platform/platform.h"
#include "support/display_xvfb.h"
#include "support/export_fixtures.h"
#include "support/media_fixtures.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace Json {
// Lets gtest print the values it compares.
void PrintTo(const Value& value, std::ostream* out) {
    *out << value.toStyledString();
}
}  // namespace Json

namespace {

constexpr double kPositionRate = 25.0;

enum class Kind {
    kMovie,   // pictures that move, sound or both: everything is checked exactly
    kStill,   // one picture: the timeline holds it for as long as MLT says
    kBroken,  // nothing is promised beyond an answer
};

struct CorpusFile {
    const char* name;
    Kind kind;
};

const CorpusFile kCorpus[] = {
    {"mpeg2_program.mpg", Kind::kMovie},
    {"mpeg_transport.ts", Kind::kMovie},
    {"interlaced_mpeg2.mpg", Kind::kMovie},
    {"variable_rate.mkv", Kind::kMovie},
    {"h264_10bit.mp4", Kind::kMovie},
    {"hevc.mp4", Kind::kMovie},
    {"vp9_opus.webm", Kind::kMovie},
    {"prores.mov", Kind::kMovie},
    {"mjpeg.avi", Kind::kMovie},
    {"rotate_90.mp4", Kind::kMovie},
    {"rotate_180.mp4", Kind::kMovie},
    {"rotate_270.mp4", Kind::kMovie},
    {"audio.mp3", Kind::kMovie},
    {"audio.flac", Kind::kMovie},
    {"audio.opus", Kind::kMovie},
    {"mono.wav", Kind::kMovie},
    {"surround.wav", Kind::kMovie},
    {"two_audio.mkv", Kind::kMovie},
    {"animated.gif", Kind::kMovie},
    {"still.png", Kind::kStill},
    {"still.jpg", Kind::kStill},
    {"truncated.mp4", Kind::kBroken},
    {"zero_bytes.mp4", Kind::kBroken},
    {"random_bytes.mp4", Kind::kBroken},
    {"text.mov", Kind::kBroken},
};

// MLT names the decoder it opened, which for some formats is not the
// format's own name.
std::string decoderName(const std::string& codec) {
    return codec == "mp3" ? "mp3float" : codec;
}

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

std::string corpusFolder() {
    static const std::string folder = [] {
        const std::string path = testsupport::mediaDirectory() + "/corpus";
        EXPECT_EQ(testsupport::runCommand(
                      "bash '" QV_SOURCE_DIR "/scripts/make-media-corpus.sh' '" + path + "' 2>&1"),
                  0);
        return path;
    }();
    return folder;
}

std::string probeText(const std::string& arguments, const std::string& path) {
    std::string text;
    testsupport::runCommand("ffprobe -v error " + arguments + " '" + path + "' 2>/dev/null", &text);
    return text;
}

// What ffprobe says about a file, in the terms the checks need.
struct Probe {
    Json::Value video;  // first video stream, null when none
    Json::Value audio;  // first audio stream, null when none
    double duration = 0.0;
    double rate = 0.0;          // the video stream's average rate
    int rotation = 0;           // clockwise quarter turns of the display matrix, in degrees
    std::vector<double> times;  // presentation time of each video frame, decode order aside

    Probe() = default;
    explicit Probe(const std::string& path) {
        video = mediatest::firstStream(path, "v");
        audio = mediatest::firstStream(path, "a");
        duration = std::atof(probeText("-show_entries format=duration -of csv=p=0", path).c_str());
        if (video.isNull()) {
            return;
        }
        const std::string average = video["avg_frame_rate"].asString();
        const double denominator = std::atof(average.substr(average.find('/') + 1).c_str());
        rate = denominator > 0 ? std::atof(average.c_str()) / denominator : 0.0;
        for (const Json::Value& side : video["side_data_list"]) {
            rotation = (360 - side["rotation"].asInt()) % 360;
        }
        const std::string lines = probeText(
            "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0", path);
        // Side data of a frame comes out as lines of its own.
        std::istringstream in(lines);
        for (std::string line; std::getline(in, line);) {
            if (!line.empty() && std::isdigit(static_cast<unsigned char>(line[0]))) {
                times.push_back(std::atof(line.c_str()));
            }
        }
    }
    bool quarterTurn() const { return rotation == 90 || rotation == 270; }
    int displayWidth() const { return video[quarterTurn() ? "height" : "width"].asInt(); }
    int displayHeight() const { return video[quarterTurn() ? "width" : "height"].asInt(); }
    // Positions inside the file, counted at the position rate.
    int positions() const { return static_cast<int>(std::lrint(duration * kPositionRate)); }
    // The frame a thumbnail at position shows: the first whose frame number,
    // counted at the stream's average rate from the first picture, reaches the
    // position's; the last frame when none does.
    int frameAt(int position) const {
        const long target = std::lrint(position / kPositionRate * rate);
        for (size_t i = 0; i < times.size(); ++i) {
            if (std::lrint((times[i] - times[0]) * rate) >= target) {
                return static_cast<int>(i);
            }
        }
        return static_cast<int>(times.size()) - 1;
    }
};

class MediaCorpus : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(testsupport::ensureDisplay().empty());
        folder_ = corpusFolder();
        work_ = testsupport::makeTempDirectory("media-corpus");
        ASSERT_TRUE(service_.connect());
        ASSERT_EQ(service_.commandResult("OPEN_MOVIE",
                                         R"({"Profile":"quarter_pal","Width":360,"Height":288,)"
                                         R"("Display_Aspect_Num":4,"Display_Aspect_Den":3,)"
                                         R"("WindowID":0,"CachePath":)" +
                                             q(work_) + "}"),
                  "true");
    }
    void TearDown() override {
        EXPECT_EQ(service_.close(), 0) << service_.stderrText();
        testsupport::runCommand("rm -rf '" + work_ + "'");
    }

    // The reply's result as parsed JSON.
    Json::Value result(const std::string& command, const std::string& content,
                       bool control = false) {
        const std::string body =
            control ? service_.control(command, content) : service_.command(command, content);
        Json::Value reply;
        EXPECT_TRUE(parseJsonText(body, reply)) << command << " got no answer";
        return reply["ReturnResultString"];
    }
    void expectAnswering(const std::string& after) {
        EXPECT_TRUE(result("PRE_GETCURRENTPOS", "").isInt()) << "silent after " << after;
    }

    void checkDescription(const std::string& path, const Probe& probe);
    void checkThumbnails(const std::string& path, const Probe& probe);
    void checkAudioLevels(const std::string& path, const Probe& probe);
    void checkTimeline(const std::string& path, const Probe& probe, bool exact);

    std::string folder_;
    std::string work_;
    ServiceProcess service_{"SDL_AUDIODRIVER=dummy"};
};

void MediaCorpus::checkDescription(const std::string& path, const Probe& probe) {
    const Json::Value text =
        result("GET_PORPERTY", R"({"FileName":)" + q(path) + R"(,"FileType":"movie"})");
    ASSERT_TRUE(text.isString());
    Json::Value description;
    ASSERT_TRUE(parseJsonText(text.asString(), description)) << text.asString();
    if (!probe.video.isNull() && probe.positions() > 1) {
        const Json::Value& video = description["Video"];
        EXPECT_EQ(video["Width"].asInt(), probe.displayWidth());
        EXPECT_EQ(video["Height"].asInt(), probe.displayHeight());
        EXPECT_EQ(video["CodecName"].asString(), probe.video["codec_name"].asString());
        EXPECT_NEAR(video["FrameRate"].asDouble(), probe.rate, 1e-3);
    }
    if (!probe.audio.isNull()) {
        const Json::Value& audio = description["Audio"];
        EXPECT_EQ(audio["SampleRate"].asString(), probe.audio["sample_rate"].asString());
        EXPECT_EQ(audio["Channels"].asInt(), probe.audio["channels"].asInt());
        EXPECT_EQ(audio["CodecName"].asString(), decoderName(probe.audio["codec_name"].asString()));
    }
}

void MediaCorpus::checkThumbnails(const std::string& path, const Probe& probe) {
    const int count = probe.positions();
    const int width = probe.displayWidth() / 2, height = probe.displayHeight() / 2;
    const std::string folder = testsupport::makeTempDirectory("media-corpus-thumbs");
    std::string list;
    std::vector<std::string> pictures;
    for (int position = 0; position < count; ++position) {
        list += (list.empty() ? "" : ",") + std::to_string(position);
        pictures.push_back(folder + "/" + std::to_string(position) + ".png");
    }
    EXPECT_EQ(result("PRE_VIDEO_THUMB",
                     R"({"Profile":{"Width":)" + std::to_string(width) + R"(,"Height":)" +
                         std::to_string(height) + R"(,"FrameRate":25.0},"FileName":)" + q(path) +
                         R"(,"Position":[)" + list + R"(],"OutDir":)" + q(folder) + "}",
                     true),
              Json::Value(true));
    for (const std::string& picture : pictures) {
        ASSERT_TRUE(testsupport::fileExists(picture)) << picture;
    }
    const auto frames = mediatest::grayFrames(path, width, height);
    ASSERT_EQ(frames.size(), probe.times.size());
    const auto shownPictures = mediatest::jpegFrames(pictures, width, height);
    ASSERT_EQ(shownPictures.size(), pictures.size());
    for (int position = 0; position < count; ++position) {
        SCOPED_TRACE("position " + std::to_string(position));
        const int shown = mediatest::matchingFrame(shownPictures[position], frames);
        const int expected = probe.frameAt(position);
        // Pictures the decoder gives up only when drained at the end of the
        // file show the last one it gave before.
        if (expected >= static_cast<int>(frames.size()) - 3) {
            EXPECT_LE(shown, expected);
            EXPECT_GE(shown, expected - 2);
        } else {
            EXPECT_EQ(shown, expected);
        }
    }
    testsupport::runCommand("rm -rf '" + folder + "'");
}

void MediaCorpus::checkAudioLevels(const std::string& path, const Probe& probe) {
    const std::string levels = work_ + "/levels.txt";
    std::remove(levels.c_str());
    // A control answers true whatever happens; the file tells.
    EXPECT_EQ(result("PRE_AUDIO_THUMB",
                     R"({"FileName":)" + q(path) + R"(,"OutFile":)" + q(levels) + "}", true),
              Json::Value(true));
    EXPECT_EQ(testsupport::fileExists(levels), !probe.audio.isNull());
    if (!probe.audio.isNull()) {
        const std::string text = testsupport::readFile(levels);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), probe.positions());
    }
}

void MediaCorpus::checkTimeline(const std::string& path, const Probe& probe, bool exact) {
    const int length = std::max(probe.positions(), 25);
    result("CLEAR_PROJECT", "");
    result("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})");
    result("ADD_CLIP", R"({"TrackID":"Track0","ID":"clip","MltService":"avformat","Resource":)" +
                           q(path) + R"(,"In":"0","Out":")" + std::to_string(length - 1) +
                           R"(","Index":-1})");
    result("PRE_PLAY", R"({"AutoPlay":false,"Position":0,"Width":360,"Height":288})", true);
    expectAnswering("PRE_PLAY");
    result("PRE_SEEK_STOP", R"({"Position":)" + std::to_string(length / 2) + "}", true);
    if (exact) {
        EXPECT_EQ(result("PRE_GETCURRENTPOS", ""), Json::Value(length / 2));
    }
    const Json::Value graph = result("SAVE_MLT_FILE", "");
    const std::string movie = work_ + "/export.mp4";
    std::remove(movie.c_str());
    result("EXPORT_MOVIE",
           R"({"FileName":)" + q(movie) + R"(,"XmlFile":)" + q(graph.asString()) +
               R"(,"Video":{"Encoder":"libx264","Width":"320","Height":"240","FrameRate":"25",)"
               R"("BitRate":"800"},"Audio":{"Encoder":"aac","Channel":"2","SampleRate":"48000",)"
               R"("BitRate":"128"}})",
           true);
    for (uint64_t begin = platform::tickCountMs(); platform::tickCountMs() - begin < 60000;) {
        if (result("PRE_ISEXPORTSTOP", "") == Json::Value(true) ||
            result("PRE_GETEXPORTTOTALFRAME", "") == Json::Value(0)) {
            break;
        }
        platform::sleepMilliseconds(100);
    }
    if (exact) {
        const testsupport::ProbedFile exported = testsupport::probeFile(movie);
        ASSERT_NE(exported.stream("video"), nullptr) << service_.stderrText();
        EXPECT_EQ(exported.stream("video")->decodedFrames, length);
    }
    result("PRE_RESET_EXPORT", "", true);
    expectAnswering("EXPORT_MOVIE");
}

TEST_F(MediaCorpus, EveryFileIsDescribedThumbnailedMeasuredPlayedAndExported) {
    for (const CorpusFile& file : kCorpus) {
        const std::string path = folder_ + "/" + file.name;
        SCOPED_TRACE(file.name);
        const bool broken = file.kind == Kind::kBroken;
        const Probe probe = broken ? Probe() : Probe(path);
        if (broken) {
            result("GET_PORPERTY", R"({"FileName":)" + q(path) + R"(,"FileType":"movie"})");
            result(
                "PRE_VIDEO_THUMB",
                R"({"FileName":)" + q(path) + R"(,"Position":[0,10,40],"OutDir":)" + q(work_) + "}",
                true);
            result("PRE_AUDIO_THUMB",
                   R"({"FileName":)" + q(path) + R"(,"OutFile":)" + q(work_ + "/x.txt") + "}",
                   true);
        } else {
            checkDescription(path, probe);
            if (!probe.video.isNull() && probe.positions() > 1) {
                checkThumbnails(path, probe);
            }
            checkAudioLevels(path, probe);
        }
        expectAnswering("the media requests");
        checkTimeline(path, probe, file.kind == Kind::kMovie);
    }
}

}  // namespace
