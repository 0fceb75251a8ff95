#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include "media_fixtures.h"
#include "messages/parse_json.h"
#include "player/media_probe.h"

namespace {

double rationalValue(const std::string& text) {
    const size_t slash = text.find('/');
    const double numerator = std::atof(text.substr(0, slash).c_str());
    const double denominator =
        slash == std::string::npos ? 1.0 : std::atof(text.substr(slash + 1).c_str());
    return denominator != 0.0 ? numerator / denominator : 0.0;
}

Json::Value parsed(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(parseJsonText(text, value)) << text;
    return value;
}

struct ProbeCase {
    const char* name;
    std::string (*media)();
    bool hasVideo;
    bool hasAudio;
    // Whether the picture is shown a quarter turn from how it is stored.
    bool quarterTurn;
};

std::string rotateTag90() {
    return mediatest::counterVideoRotateTag(90);
}
std::string displayMatrixMinus90() {
    return mediatest::counterVideoDisplayMatrix(-90);
}
std::string displayMatrix90() {
    return mediatest::counterVideoDisplayMatrix(90);
}
std::string displayMatrix180() {
    return mediatest::counterVideoDisplayMatrix(180);
}
std::string silentWav() {
    return mediatest::squareWav("media_silence.wav", 0, 100, 4);
}

class MediaPropertyTest : public ::testing::TestWithParam<ProbeCase> {};

TEST_P(MediaPropertyTest, DescriptionMatchesWhatFfprobeReports) {
    const ProbeCase& probeCase = GetParam();
    const std::string media = probeCase.media();
    const Json::Value description = parsed(getMediaProperty("", media, "movie"));
    const Json::Value probe = mediatest::probeFile(media);

    ASSERT_EQ(description.isMember("Video"), probeCase.hasVideo);
    if (probeCase.hasVideo) {
        const Json::Value& video = description["Video"];
        const Json::Value stream = mediatest::firstStream(probe, "video");
        const int storedWidth = stream["width"].asInt();
        const int storedHeight = stream["height"].asInt();
        EXPECT_EQ(video["Width"].asInt(), probeCase.quarterTurn ? storedHeight : storedWidth);
        EXPECT_EQ(video["Height"].asInt(), probeCase.quarterTurn ? storedWidth : storedHeight);
        EXPECT_TRUE(video["FrameRate"].isDouble());
        EXPECT_NEAR(video["FrameRate"].asDouble(),
                    rationalValue(stream["avg_frame_rate"].asString()), 1e-3);
        EXPECT_EQ(video["CodecName"].asString(), stream["codec_name"].asString());
        EXPECT_EQ(video["PixFmt"].asString(), stream["pix_fmt"].asString());
    }
    ASSERT_EQ(description.isMember("Audio"), probeCase.hasAudio);
    if (probeCase.hasAudio) {
        const Json::Value& audio = description["Audio"];
        const Json::Value stream = mediatest::firstStream(probe, "audio");
        EXPECT_EQ(audio["SampleRate"].asInt(), std::atoi(stream["sample_rate"].asCString()));
        EXPECT_EQ(audio["Channels"].asInt(), stream["channels"].asInt());
        EXPECT_EQ(audio["CodecName"].asString(), stream["codec_name"].asString());
        EXPECT_EQ(audio["SampleFmt"].asString(), stream["sample_fmt"].asString());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, MediaPropertyTest,
    ::testing::Values(ProbeCase{"H264At25", mediatest::counterVideo, true, true, false},
                      ProbeCase{"H264At2997", mediatest::counterVideo2997, true, true, false},
                      ProbeCase{"H264At50", mediatest::counterVideo50, true, true, false},
                      ProbeCase{"IntraOnlyMjpeg", mediatest::counterMjpeg, true, false, false},
                      ProbeCase{"TwoAudioStreams", mediatest::counterVideoTwoAudio, true, true,
                                false},
                      ProbeCase{"RotateTag90", rotateTag90, true, true, true},
                      ProbeCase{"DisplayMatrixMinus90", displayMatrixMinus90, true, true, true},
                      ProbeCase{"DisplayMatrix90", displayMatrix90, true, true, true},
                      ProbeCase{"DisplayMatrix180", displayMatrix180, true, true, false},
                      ProbeCase{"SilentWav", silentWav, false, true, false}),
    [](const ::testing::TestParamInfo<ProbeCase>& info) { return info.param.name; });

TEST(MediaPropertyText, SoundFileTextListsTheAudioMembersInKeyOrder) {
    EXPECT_EQ(getMediaProperty("", silentWav(), "audio"),
              "{\n"
              "   \"Audio\" : {\n"
              "      \"BitRate\" : 1536000,\n"
              "      \"Channels\" : 2,\n"
              "      \"CodecName\" : \"pcm_s16le\",\n"
              "      \"Length\" : 100,\n"
              "      \"SampleFmt\" : \"s16\",\n"
              "      \"SampleRate\" : 48000,\n"
              "      \"Time\" : \"00:00:04:00\"\n"
              "   }\n"
              "}\n");
}

TEST(MediaPropertyText, MovieTextListsAudioBeforeVideoWithARealFrameRate) {
    const std::string media = mediatest::counterVideo();
    const Json::Value probe = mediatest::probeFile(media);
    const std::string audioBitRate = mediatest::firstStream(probe, "audio")["bit_rate"].asString();
    const std::string videoBitRate = mediatest::firstStream(probe, "video")["bit_rate"].asString();
    EXPECT_EQ(getMediaProperty("", media, "video"),
              "{\n"
              "   \"Audio\" : {\n"
              "      \"BitRate\" : " +
                  audioBitRate +
                  ",\n"
                  "      \"Channels\" : 2,\n"
                  "      \"CodecName\" : \"aac\",\n"
                  "      \"Length\" : 250,\n"
                  "      \"SampleFmt\" : \"fltp\",\n"
                  "      \"SampleRate\" : 48000,\n"
                  "      \"Time\" : \"00:00:10:00\"\n"
                  "   },\n"
                  "   \"Video\" : {\n"
                  "      \"BitRate\" : " +
                  videoBitRate +
                  ",\n"
                  "      \"CodecName\" : \"h264\",\n"
                  "      \"FrameRate\" : 25.0,\n"
                  "      \"Height\" : 240,\n"
                  "      \"Length\" : 250,\n"
                  "      \"PixFmt\" : \"yuv420p\",\n"
                  "      \"Time\" : \"00:00:10:00\",\n"
                  "      \"Width\" : 320\n"
                  "   }\n"
                  "}\n");
}

TEST(MediaPropertyText, LengthIsCountedInTheNamedProfileRate) {
    const Json::Value description =
        parsed(getMediaProperty("atsc_720p_50", mediatest::counterVideo(), "movie"));
    EXPECT_EQ(description["Video"]["Length"].asInt(), 500);
    EXPECT_EQ(description["Audio"]["Length"].asInt(), 500);
    EXPECT_EQ(description["Video"]["Time"].asString(), "00:00:10:00");
}

TEST(MediaPropertyText, PictureTypeAnswersThePictureSize) {
    EXPECT_EQ(getMediaProperty("", mediatest::stillPicture(), "picture"),
              "{\n"
              "   \"Picture\" : {\n"
              "      \"Height\" : 100,\n"
              "      \"Width\" : 200\n"
              "   }\n"
              "}\n");
}

TEST(MediaPropertyText, PictureTypeOnAMovieStillAnswersOnlyThePictureMember) {
    const Json::Value description =
        parsed(getMediaProperty("", mediatest::counterVideo(), "picture"));
    EXPECT_EQ(description.getMemberNames(), std::vector<std::string>{"Picture"});
    EXPECT_TRUE(description["Picture"]["Width"].isInt());
    EXPECT_TRUE(description["Picture"]["Height"].isInt());
}

struct MissingStreamCase {
    const char* name;
    std::string (*media)();
    std::string text;
    std::vector<std::string> infoLines;
};

std::string stillPicture() {
    return mediatest::stillPicture();
}

class MissingStreamTest : public ::testing::TestWithParam<MissingStreamCase> {};

TEST_P(MissingStreamTest, AMissingStreamIsLoggedAndLeftOut) {
    const MissingStreamCase& missing = GetParam();
    const std::string media = missing.media();
    mediatest::LogRecorder log;
    const std::string text = getMediaProperty("", media, "movie");
    if (!missing.text.empty()) {
        EXPECT_EQ(text, missing.text);
    }
    for (const std::string& line : missing.infoLines) {
        EXPECT_EQ(log.count("Info", line), 1) << line;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MissingStreamTest,
    ::testing::Values(
        MissingStreamCase{"NoVideo",
                          silentWav,
                          "",
                          {"getVideoInfo fail to mlt_properties_get video_index: -1, -1\n"}},
        MissingStreamCase{"NoAudio",
                          mediatest::counterMjpeg,
                          "",
                          {"getAudioInfo fail to mlt_properties_get audio_index: -1, -1\n"}},
        MissingStreamCase{"Neither",
                          stillPicture,
                          "null\n",
                          {"getVideoInfo fail to mlt_properties_get video_index: (null), -1\n",
                           "getAudioInfo fail to mlt_properties_get audio_index: (null), -1\n"}}),
    [](const ::testing::TestParamInfo<MissingStreamCase>& info) { return info.param.name; });

TEST(MediaPropertyText, AFractionalFrameRateKeepsItsPointWhateverTheProcessLocale) {
    const std::string locale = mediatest::commaDecimalLocale();
    if (locale.empty()) {
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    }
    const mediatest::ScopedNumericLocale commaLocale(locale);
    const std::string text = getMediaProperty("", mediatest::counterVideo2997(), "movie");
    EXPECT_NE(text.find("\"FrameRate\" : 29.97"), std::string::npos) << text;
    EXPECT_EQ(std::string(std::setlocale(LC_NUMERIC, nullptr)), locale);
}

TEST(MediaPropertyFailure, AFileTheEngineCannotOpenAnswersAnEmptyText) {
    mediatest::LogRecorder log;
    EXPECT_EQ(getMediaProperty("", "/nonexistent/media.mp4", "movie"), "");
    EXPECT_EQ(log.count("Info", "getProperty mlt_factory_producer error world = null"), 1);
}

}  // namespace
