// How an export is described to the engine: the argument vector, the consumer
// made from it, the export profile and the consumer's render properties.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "player/export_session.h"
#include "player/media_mlt_handles.h"
#include "player/transport.h"
#include "support/export_fixtures.h"
#include "support/export_log_capture.h"
#include "support/test_media.h"

namespace {

using Arguments = std::vector<std::string>;

ExportSettings fullSettings() {
    ExportSettings settings;
    settings.preset = "atsc_720p_25";
    settings.fileName = "/out/movie.mp4";
    settings.xmlFile = "/in/timeline.xml";
    settings.videoEncoder = "libx264";
    settings.videoWidth = "1280";
    settings.videoHeight = "720";
    settings.videoFrameRate = "25";
    settings.videoBitRate = "8000";
    settings.audioEncoder = "aac";
    settings.audioChannel = "2";
    settings.audioSampleRate = "48000";
    settings.audioBitRate = "192";
    settings.qualityLevel = "best";
    return settings;
}

struct ArgumentCase {
    const char* name;
    void (*change)(ExportSettings&);
    Arguments expected;
};

TEST(ExportArguments, VectorHoldsDocumentConsumerAndOptionsInSlotOrder) {
    const ArgumentCase cases[] = {
        {"every field set",
         [](ExportSettings&) {},
         {"orbelink", "/in/timeline.xml", "-consumer", "avformat:/out/movie.mp4",
          "mlt_profile=atsc_720p_25", "vcodec=libx264", "r=25", "vb=8000000", "acodec=aac", "ac=2",
          "ar=48000", "ab=192000", "g=25"}},
        {"NULL and empty fields add no option",
         [](ExportSettings& s) {
             s.preset = "NULL";
             s.videoFrameRate = "";
             s.audioEncoder = "NULL";
             s.audioChannel = "NULL";
             s.audioBitRate = "";
         },
         {"orbelink", "/in/timeline.xml", "-consumer", "avformat:/out/movie.mp4", "vcodec=libx264",
          "vb=8000000", "ar=48000", "g=25"}},
        {"bit rates are texts with three zeros appended",
         [](ExportSettings& s) {
             s.videoBitRate = "fast";
             s.audioBitRate = "0.5";
         },
         {"orbelink", "/in/timeline.xml", "-consumer", "avformat:/out/movie.mp4",
          "mlt_profile=atsc_720p_25", "vcodec=libx264", "r=25", "vb=fast000", "acodec=aac", "ac=2",
          "ar=48000", "ab=0.5000", "g=25"}},
        {"empty video fields add vn=1 before g=25",
         [](ExportSettings& s) {
             s.preset = "";
             s.videoEncoder = s.videoWidth = s.videoHeight = s.videoBitRate = "";
         },
         {"orbelink", "/in/timeline.xml", "-consumer", "avformat:/out/movie.mp4", "r=25",
          "acodec=aac", "ac=2", "ar=48000", "ab=192000", "vn=1", "g=25"}},
        {"NULL video fields are not empty and keep the video stream",
         [](ExportSettings& s) {
             s.preset = "";
             s.videoFrameRate = "";
             s.videoEncoder = s.videoWidth = s.videoHeight = s.videoBitRate = "NULL";
         },
         {"orbelink", "/in/timeline.xml", "-consumer", "avformat:/out/movie.mp4", "acodec=aac",
          "ac=2", "ar=48000", "ab=192000", "g=25"}},
        {"nothing set",
         [](ExportSettings& s) { s = ExportSettings(); },
         {"orbelink", "", "-consumer", "avformat:", "vn=1", "g=25"}},
    };
    for (const ArgumentCase& c : cases) {
        ExportSettings settings = fullSettings();
        c.change(settings);
        EXPECT_EQ(ExportSession::buildExportArguments(settings), c.expected) << c.name;
    }
}

class ExportEngineTest : public ::testing::Test {
  protected:
    void SetUp() override {
        media::ensureEngineFactory();
        directory_ = testsupport::makeTempDirectory("export-session");
        timeline_ = testsupport::writeExportTimeline(directory_, 25);
    }

    ExportSettings settingsFor(const std::string& outputName) const {
        ExportSettings settings;
        settings.xmlFile = timeline_.path;
        settings.fileName = directory_ + "/" + outputName;
        settings.videoEncoder = "libx264";
        settings.audioEncoder = "aac";
        return settings;
    }

    std::string directory_;
    testsupport::ExportTimeline timeline_;
};

TEST_F(ExportEngineTest, ConsumerPartMakesTheLastNamedConsumerWithItsOptions) {
    media::ProfilePtr profile = media::makeProfile("dv_pal");
    media::ProducerPtr producer(
        mlt_factory_producer(profile.get(), nullptr, testsupport::colourBarsWithTone().c_str()));
    ASSERT_TRUE(producer);
    const Arguments arguments = {
        "orbelink", "doc.xml", "-consumer", "avformat:/tmp/first.mp4",  "vcodec=h",
        "stray",    "ab=1",    "-consumer", "avformat:/tmp/second.mp4", "acodec=aac",
        "ar=44100", "vn",      "ac=6"};
    media::ConsumerPtr consumer;
    parseConsumerArgs(consumer, profile.get(), producer.get(), arguments);
    ASSERT_TRUE(consumer);
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer.get());
    EXPECT_STREQ(mlt_properties_get(properties, "mlt_service"), "avformat");
    EXPECT_STREQ(mlt_properties_get(properties, "target"), "/tmp/second.mp4");
    EXPECT_STREQ(mlt_properties_get(properties, "acodec"), "aac");
    EXPECT_STREQ(mlt_properties_get(properties, "ar"), "44100");
    EXPECT_EQ(mlt_properties_get(properties, "vcodec"), nullptr);
    EXPECT_EQ(mlt_properties_get(properties, "ab"), nullptr);
    EXPECT_EQ(mlt_properties_get(properties, "ac"), nullptr);
    EXPECT_EQ(transportConsumer(producer.get()), consumer.get());
    EXPECT_EQ(mlt_properties_get_data(properties, kTransportProducer, nullptr), producer.get());
}

TEST_F(ExportEngineTest, ConsumerPartWithAnUnknownServiceGivesNoConsumer) {
    media::ProfilePtr profile = media::makeProfile("");
    const Arguments cases[] = {
        {"orbelink", "doc.xml", "-consumer", "nosuchconsumer:/tmp/x.mp4", "vcodec=libx264"},
        {"orbelink", "doc.xml", "-consumer"},
        {"orbelink", "doc.xml", "vcodec=libx264"},
    };
    for (const Arguments& arguments : cases) {
        media::ConsumerPtr consumer;
        parseConsumerArgs(consumer, profile.get(), nullptr, arguments);
        EXPECT_FALSE(consumer) << arguments.back();
    }
}

TEST_F(ExportEngineTest, ProfileTakesBothVideoSizesWithTheirReducedAspect) {
    struct Case {
        const char* width;
        const char* height;
        int expectedWidth;
        int expectedHeight;
        int aspectNum;
        int aspectDen;
    };
    // dv_pal is 720x576 with a 4:3 display.
    const Case cases[] = {
        {"1920", "1080", 1920, 1080, 16, 9}, {"720", "480", 720, 480, 3, 2},
        {"640", "640", 640, 640, 1, 1},      {"1920", "", 720, 576, 4, 3},
        {"", "1080", 720, 576, 4, 3},        {"0", "1080", 720, 576, 4, 3},
        {"wide", "1080", 720, 576, 4, 3},    {"NULL", "NULL", 720, 576, 4, 3},
    };
    for (const Case& c : cases) {
        ExportSettings settings = settingsFor("size.mp4");
        settings.videoWidth = c.width;
        settings.videoHeight = c.height;
        ExportSession session;
        session.start(settings, "dv_pal");
        ASSERT_NE(session.profile(), nullptr);
        mlt_profile profile = session.profile();
        std::string label = std::string(c.width) + "x" + c.height;
        EXPECT_EQ(profile->width, c.expectedWidth) << label;
        EXPECT_EQ(profile->height, c.expectedHeight) << label;
        EXPECT_EQ(profile->display_aspect_num, c.aspectNum) << label;
        EXPECT_EQ(profile->display_aspect_den, c.aspectDen) << label;
        // The document's own 320x240 profile must not take over.
        EXPECT_EQ(profile->is_explicit, 1) << label;
    }
}

TEST_F(ExportEngineTest, ConsumerRendersProgressiveWithTheScalerOfTheQualityLevel) {
    struct Case {
        const char* quality;
        bool audioOnly;
        const char* rescale;
        int videoOff;
    };
    const Case cases[] = {
        {"best", false, "bicubic", 0},   {"Best", false, "bilinear", 0},
        {"BEST", false, "bilinear", 0},  {"", false, "bilinear", 0},
        {"best ", false, "bilinear", 0}, {"good", false, "bilinear", 0},
        {"best", true, "bicubic", 1},    {"fast", true, "bilinear", 1},
    };
    for (const Case& c : cases) {
        ExportSettings settings = settingsFor("quality.mp4");
        settings.qualityLevel = c.quality;
        if (c.audioOnly) {
            settings.videoEncoder.clear();
        }
        ExportSession session;
        session.start(settings, "");
        ASSERT_NE(session.consumer(), nullptr) << c.quality;
        mlt_properties properties = MLT_CONSUMER_PROPERTIES(session.consumer());
        EXPECT_STREQ(mlt_properties_get(properties, "rescale"), c.rescale) << c.quality;
        EXPECT_EQ(mlt_properties_get_int(properties, "progressive"), 1) << c.quality;
        EXPECT_EQ(mlt_properties_get_int(properties, "video_off"), c.videoOff) << c.quality;
        EXPECT_EQ(transportConsumer(session.producer()), session.consumer());
    }
}

TEST_F(ExportEngineTest, StartLogsWhetherTheRenderStarted) {
    std::string notMlt = directory_ + "/notes.xml";
    std::ofstream(notMlt) << "just some text\n";
    std::string emptyMlt = directory_ + "/empty.xml";
    std::ofstream(emptyMlt) << "<mlt></mlt>\n";
    struct Case {
        std::string xmlFile;
        std::vector<std::string> expectedLog;
        bool consumerMade;
    };
    const std::string output = directory_ + "/logged.mp4";
    const Case cases[] = {
        {timeline_.path, {"Start to Export File " + output}, true},
        {directory_ + "/missing.xml", {"Failed to open xml " + directory_ + "/missing.xml"}, false},
        // MLT loads nothing from these: an empty render that never starts.
        {notMlt, {}, true},
        {emptyMlt, {}, true},
    };
    for (const Case& c : cases) {
        ExportSettings settings = settingsFor("logged.mp4");
        settings.xmlFile = c.xmlFile;
        testsupport::LogCapture log;
        ExportSession session;
        session.start(settings, "");
        EXPECT_EQ(log.messages(), c.expectedLog) << c.xmlFile;
        EXPECT_EQ(session.consumer() != nullptr, c.consumerMade) << c.xmlFile;
        if (c.expectedLog.empty()) {
            EXPECT_EQ(session.totalFrames(), 0) << c.xmlFile;
            // A consumer that never started reads as stopped, so a polling client ends.
            EXPECT_EQ(session.isStopped(), c.consumerMade) << c.xmlFile;
            EXPECT_EQ(session.currentPosition(""), 0) << c.xmlFile;
        }
    }
}

TEST_F(ExportEngineTest, WithoutAnExportTheQueriesGiveTheirNeutralAnswers) {
    ExportSession session;
    EXPECT_EQ(session.totalFrames(), 0);
    EXPECT_FALSE(session.isStopped());
    EXPECT_EQ(session.currentPosition(""), 0);
    session.close();
    EXPECT_EQ(session.profile(), nullptr);
}

}  // namespace
