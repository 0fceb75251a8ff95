#include <gtest/gtest.h>

#include "media/probe.h"
#include "messages/parse_json.h"
#include "support/media_fixtures.h"

namespace {

Json::Value parsed(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(parseJsonText(text, value)) << text;
    return value;
}

TEST(MediaProperty, DescriptionMatchesWhatFfprobeReports) {
    // Second: shown a quarter turn from how it is stored, so the sizes swap.
    const std::pair<std::string, bool> cases[] = {
        {mediatest::counterVideo(), false},
        {mediatest::counterVideo("ntsc"), false},
        {mediatest::intraOnlyMjpeg(), false},
        // Mono 44.1 kHz first, then the original stereo 48 kHz: the first is described.
        {mediatest::counterVariant("media_two_audio.mkv",
                                   "-f lavfi -i sine=frequency=300:sample_rate=44100:duration=10 "
                                   "-map 0:v -map 1:a -map 0:a -c:v copy -c:a aac -shortest"),
         false},
        {mediatest::rotated("ROTATE", 90), true},
        {mediatest::rotated("rotate", 90), true},
        {mediatest::rotated("rotate", 180), false},
        {mediatest::squareWav(0), false},
    };
    for (const auto& [media, quarterTurn] : cases) {
        SCOPED_TRACE(media);
        const Json::Value description = parsed(getMediaProperty("", media, "movie"));
        const Json::Value stream = mediatest::firstStream(media, "v");
        EXPECT_EQ(description.isMember("Video"), !stream.isNull());
        const Json::Value& video = description["Video"];
        if (!stream.isNull()) {
            EXPECT_EQ(video["Width"].asInt(), stream[quarterTurn ? "height" : "width"].asInt());
            EXPECT_EQ(video["Height"].asInt(), stream[quarterTurn ? "width" : "height"].asInt());
            const std::string rate = stream["avg_frame_rate"].asString();
            EXPECT_NEAR(video["FrameRate"].asDouble(),
                        std::stod(rate) / std::stod(rate.substr(rate.find('/') + 1)), 1e-3);
            EXPECT_EQ(video["CodecName"].asString(), stream["codec_name"].asString());
        }
        const Json::Value sound = mediatest::firstStream(media, "a");
        EXPECT_EQ(description.isMember("Audio"), !sound.isNull());
        const Json::Value& audio = description["Audio"];
        if (!sound.isNull()) {
            EXPECT_EQ(audio["SampleRate"].asString(), sound["sample_rate"].asString());
            EXPECT_EQ(audio["Channels"].asInt(), sound["channels"].asInt());
            EXPECT_EQ(audio["CodecName"].asString(), sound["codec_name"].asString());
        }
    }
}

TEST(MediaPropertyText, AudioComesBeforeVideoAndLengthsCountInTheProfileRate) {
    const std::string text = getMediaProperty("", mediatest::counterVideo(), "video");
    EXPECT_LT(text.find("   \"Audio\" : {\n"), text.find("   \"Video\" : {\n")) << text;
    // A whole rate still reads as a real number.
    EXPECT_NE(text.find("\"FrameRate\" : 25.0,\n"), std::string::npos) << text;
    EXPECT_EQ(parsed(text)["Video"]["Length"].asInt(), 250);
    const Json::Value description =
        parsed(getMediaProperty("atsc_720p_50", mediatest::counterVideo(), "movie"));
    EXPECT_EQ(description["Video"]["Length"].asInt(), 500);
    EXPECT_EQ(description["Audio"]["Length"].asInt(), 500);
    EXPECT_EQ(description["Video"]["Time"].asString(), "00:00:10:00");
}

TEST(MediaPropertyText, PictureTypeAnswersOnlyThePictureSize) {
    EXPECT_EQ(getMediaProperty("", mediatest::stillPicture(), "picture"),
              "{\n   \"Picture\" : {\n      \"Height\" : 100,\n      \"Width\" : 200\n   }\n}\n");
    const Json::Value movie = parsed(getMediaProperty("", mediatest::counterVideo(), "picture"));
    EXPECT_EQ(movie.getMemberNames(), std::vector<std::string>{"Picture"});
}

TEST(MediaPropertyText, AMissingFileOrStreamIsLoggedAndLeftOut) {
    mediatest::LogRecorder log;
    EXPECT_EQ(getMediaProperty("", "/nonexistent/media.mp4", "movie"), "");
    EXPECT_EQ(log.count("Info", "getProperty mlt_factory_producer error world = null"), 1);
    getMediaProperty("", mediatest::squareWav(0), "movie");
    getMediaProperty("", mediatest::intraOnlyMjpeg(), "movie");
    EXPECT_EQ(getMediaProperty("", mediatest::stillPicture(), "movie"), "null\n");
    for (const char* line : {"getVideoInfo fail to mlt_properties_get video_index: -1, -1\n",
                             "getAudioInfo fail to mlt_properties_get audio_index: -1, -1\n",
                             "getVideoInfo fail to mlt_properties_get video_index: (null), -1\n",
                             "getAudioInfo fail to mlt_properties_get audio_index: (null), -1\n"}) {
        EXPECT_EQ(log.count("Info", line), 1) << line;
    }
}

}  // namespace
