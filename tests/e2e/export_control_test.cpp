// Export as a client drives it over the pipe: EXPORT_MOVIE with and without a
// document of the client's own, progress polling, PRE_RESET_EXPORT, the
// hardware encoder table, and bad requests that leave the service serving.
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "support/display_xvfb.h"
#include "support/export_fixtures.h"
#include "support/export_log_capture.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

// Only a guard against a render that never ends, not a speed requirement.
constexpr uint64_t kRenderDeadlineMs = 300000;

struct ExportState {
    int total = 0;
    int position = 0;
    bool stopped = false;
};

ExportState queryExport(ServiceProcess& service) {
    ExportState state;
    state.total = std::atoi(service.commandResult("PRE_GETEXPORTTOTALFRAME").c_str());
    state.position = std::atoi(service.commandResult("PRE_GETEXPORTCURRENTPOS").c_str());
    state.stopped = service.commandResult("PRE_ISEXPORTSTOP") == "true";
    return state;
}

// Polls like a client until the render has stopped (or there is nothing to render).
ExportState pollUntilStopped(ServiceProcess& service, std::vector<int>* positions = nullptr) {
    ExportState state;
    uint64_t begin = platform::tickCountMs();
    while (platform::tickCountMs() - begin < kRenderDeadlineMs) {
        state = queryExport(service);
        if (positions != nullptr) {
            positions->push_back(state.position);
        }
        if (state.stopped || state.total == 0) {
            break;
        }
        platform::sleepMilliseconds(200);
    }
    return state;
}

std::string stringResult(const std::string& body) {
    Json::Value root;
    Json::CharReaderBuilder builder;
    std::istringstream text(body);
    std::string errors;
    if (!Json::parseFromStream(builder, text, &root, &errors)) {
        return std::string();
    }
    return root["ReturnResultString"].asString();
}

std::string jsonString(const std::string& text) {
    return "\"" + text + "\"";
}

std::string h264Request(const std::string& fileName, const std::string& xmlFile = std::string()) {
    std::string request = "{\"FileName\":" + jsonString(fileName) +
                          ",\"QulityLevel\":\"best\","
                          "\"Video\":{\"Encoder\":\"libx264\",\"Width\":\"640\",\"Height\":"
                          "\"360\",\"FrameRate\":\"25\",\"BitRate\":\"1500\"},"
                          "\"Audio\":{\"Encoder\":\"aac\",\"Channel\":\"2\",\"SampleRate\":"
                          "\"48000\",\"BitRate\":\"128\"}";
    if (!xmlFile.empty()) {
        request += ",\"XmlFile\":" + jsonString(xmlFile);
    }
    return request + "}";
}

bool logged(const ServiceProcess& service, const std::string& message) {
    std::vector<std::string> messages = testsupport::logMessagesIn(service.stderrText());
    return std::find(messages.begin(), messages.end(), message) != messages.end();
}

// For the engine's own messages, whose wording belongs to MLT.
bool loggedContaining(const ServiceProcess& service, const std::string& part) {
    for (const std::string& message : testsupport::logMessagesIn(service.stderrText())) {
        if (message.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

class ExportControlTest : public ::testing::Test {
  protected:
    void SetUp() override {
        directory_ = testsupport::makeTempDirectory("export-e2e");
        timeline_ = testsupport::writeExportTimeline(directory_, 50);
    }

    // Starts the service with its engine and log routing running.
    void startService(ServiceProcess& service) {
        ASSERT_TRUE(service.connect());
        ASSERT_EQ(service.commandResult("PRE_SET_LOGDIRECTORY",
                                        "{\"LogPath\":" + jsonString(directory_) + "}"),
                  "true");
    }

    std::string directory_;
    testsupport::ExportTimeline timeline_;
};

TEST_F(ExportControlTest, ExportOfTheClientsDocumentRendersWhileTheClientPolls) {
    ServiceProcess service;
    startService(service);
    std::string output = directory_ + "/movie.mp4";
    service.control("EXPORT_MOVIE", h264Request(output, timeline_.path));
    std::vector<int> positions;
    ExportState state = pollUntilStopped(service, &positions);
    EXPECT_TRUE(state.stopped);
    EXPECT_EQ(state.total, timeline_.frames);
    EXPECT_EQ(state.position, timeline_.frames - 1);
    EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
    EXPECT_TRUE(logged(service, "Receive [EXPORT_MOVIE] control"));
    EXPECT_TRUE(logged(service, "Start to Export File " + output));
    EXPECT_TRUE(logged(service, "Return [EXPORT_MOVIE] control Ok"));

    testsupport::ProbedFile file = testsupport::probeFile(output);
    ASSERT_NE(file.stream("video"), nullptr);
    EXPECT_EQ(file.stream("video")->codecName, "h264");
    EXPECT_EQ(file.stream("video")->width, 640);
    EXPECT_EQ(file.stream("video")->decodedFrames, timeline_.frames);
    ASSERT_NE(file.stream("audio"), nullptr);
    EXPECT_EQ(file.stream("audio")->codecName, "aac");

    // The finished export stays until it is reset.
    EXPECT_EQ(queryExport(service).total, timeline_.frames);
    service.control("PRE_RESET_EXPORT");
    ExportState reset = queryExport(service);
    EXPECT_EQ(reset.total, 0);
    EXPECT_EQ(reset.position, 0);
    EXPECT_FALSE(reset.stopped);
    EXPECT_EQ(service.close(), 0);
}

TEST_F(ExportControlTest, ExportWithoutADocumentRendersThePreviewedTimeline) {
    testsupport::ensureDisplay();
    ServiceProcess service;
    startService(service);
    std::string cache = testsupport::makeTempDirectory("export-e2e-cache");
    std::string clip = testsupport::colourBarsWithTone(4);
    service.command("OPEN_MOVIE",
                    "{\"Profile\":\"atsc_720p_25\",\"Width\":640,\"Height\":360,\"WindowID\":0,"
                    "\"Display_Aspect_Num\":16,\"Display_Aspect_Den\":9,\"CachePath\":" +
                        jsonString(cache) + "}");
    ASSERT_EQ(
        service.commandResult("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})"),
        "true");
    // Without a preview yet only the project takes the clip (the player's step answers false).
    service.command("ADD_CLIP",
                    "{\"ID\":\"clip1\",\"TrackID\":\"Track0\",\"Index\":-1,"
                    "\"MltService\":\"avformat\",\"Resource\":" +
                        jsonString(clip) + ",\"In\":\"0\",\"Out\":\"49\"}");
    service.control("PRE_PLAY", R"({"AutoPlay":false,"Position":0,"Width":640,"Height":360})");
    ASSERT_EQ(service.commandResult("PRE_GETTOTALFRAME"), "50") << service.stderrText();

    std::string output = directory_ + "/preview.mp4";
    service.control("EXPORT_MOVIE", h264Request(output));
    ExportState state = pollUntilStopped(service);
    EXPECT_TRUE(state.stopped);
    EXPECT_EQ(state.total, 50);
    testsupport::ProbedFile file = testsupport::probeFile(output);
    ASSERT_NE(file.stream("video"), nullptr) << service.stderrText();
    EXPECT_EQ(file.stream("video")->decodedFrames, 50);
    service.control("PRE_RESET_EXPORT");
    service.control("PRE_RESET");
    EXPECT_EQ(service.close(), 0);
}

TEST_F(ExportControlTest, ResetDuringARenderAbandonsIt) {
    ServiceProcess service;
    startService(service);
    testsupport::ExportTimeline longer = testsupport::writeExportTimeline(directory_, 250);
    std::string output = directory_ + "/abandoned.mp4";
    service.control("EXPORT_MOVIE", h264Request(output, longer.path));
    EXPECT_EQ(queryExport(service).total, longer.frames);
    service.control("PRE_RESET_EXPORT");
    ExportState state = queryExport(service);
    EXPECT_EQ(state.total, 0);
    EXPECT_FALSE(state.stopped);
    testsupport::ProbedFile file = testsupport::probeFile(output);
    const testsupport::ProbedStream* video = file.stream("video");
    EXPECT_LT(video != nullptr ? video->decodedFrames : 0, longer.frames);
    EXPECT_EQ(service.close(), 0);
}

TEST_F(ExportControlTest, HardwareTableAnswersTheEncoderTableText) {
    struct Case {
        const char* environment;
        bool hwAccel;
    };
    const Case cases[] = {
        {"", true}, {"NO_HARDWARE_ACCEL=true", false}, {"NO_HARDWARE_ACCEL=TRUE", true}};
    for (const Case& c : cases) {
        ServiceProcess service(c.environment);
        ASSERT_TRUE(service.connect());
        EXPECT_EQ(stringResult(service.command("GET_HWACCEL_ABILITY")),
                  testsupport::expectedHwAccelTable(c.hwAccel))
            << c.environment;
        EXPECT_EQ(service.close(), 0);
    }
}

TEST_F(ExportControlTest, BadRequestsAreLoggedAndTheServiceKeepsServing) {
    std::string notMlt = directory_ + "/notes.xml";
    std::ofstream(notMlt) << "not a timeline\n";
    struct Case {
        const char* what;
        std::string request;
        // Besides "Receive [EXPORT_MOVIE] control": our own lines, then a part of MLT's.
        std::vector<std::string> expectedLog;
        std::string engineMessage;
        ExportState expected;
    };
    const std::string output = directory_ + "/bad.mp4";
    const std::string missing = directory_ + "/missing.xml";
    const std::string noFolder = directory_ + "/no/such/folder/out.mp4";
    const int last = timeline_.frames - 1;
    const Case cases[] = {
        {"no FileName",
         "{\"XmlFile\":" + jsonString(timeline_.path) + "}",
         {"Return [EXPORT_MOVIE] control Error"},
         "",
         {0, 0, false}},
        {"document does not exist",
         h264Request(output, missing),
         {"Failed to open xml " + missing, "Return [EXPORT_MOVIE] control Ok"},
         "",
         {0, 0, false}},
        // MLT loads nothing from it: a consumer that never starts reads as stopped.
        {"document is not MLT XML",
         h264Request(output, notMlt),
         {"Return [EXPORT_MOVIE] control Ok"},
         "",
         {0, 0, true}},
        {"output folder does not exist",
         h264Request(noFolder, timeline_.path),
         {"Start to Export File " + noFolder, "Return [EXPORT_MOVIE] control Ok"},
         "Could not open '" + noFolder + "'",
         {timeline_.frames, 0, true}},
        // MLT drops the stream it has no encoder for and renders the rest.
        {"unknown encoder",
         "{\"FileName\":" + jsonString(output) + ",\"XmlFile\":" + jsonString(timeline_.path) +
             ",\"Video\":{\"Encoder\":\"no_such_encoder\"}}",
         {"Start to Export File " + output, "Return [EXPORT_MOVIE] control Ok"},
         "video codec no_such_encoder unrecognised",
         {timeline_.frames, last, true}},
    };
    for (const Case& c : cases) {
        ServiceProcess service;
        startService(service);
        EXPECT_EQ(resultValueText(service.control("EXPORT_MOVIE", c.request)), "true") << c.what;
        ExportState state = pollUntilStopped(service);
        EXPECT_EQ(state.total, c.expected.total) << c.what;
        EXPECT_EQ(state.stopped, c.expected.stopped) << c.what;
        EXPECT_EQ(state.position, c.expected.position) << c.what;
        EXPECT_TRUE(logged(service, "Receive [EXPORT_MOVIE] control")) << c.what;
        for (const std::string& message : c.expectedLog) {
            EXPECT_TRUE(logged(service, message)) << c.what << ": " << message;
        }
        if (!c.engineMessage.empty()) {
            EXPECT_TRUE(loggedContaining(service, c.engineMessage)) << c.what;
        }
        // Still serving: the table answers and a good export still renders.
        EXPECT_FALSE(stringResult(service.command("GET_HWACCEL_ABILITY")).empty()) << c.what;
        std::string good = directory_ + "/after.mp4";
        service.control("EXPORT_MOVIE", h264Request(good, timeline_.path));
        EXPECT_EQ(pollUntilStopped(service).position, timeline_.frames - 1) << c.what;
        EXPECT_EQ(service.close(), 0) << c.what;
    }
}

}  // namespace
