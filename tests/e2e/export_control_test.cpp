// Export as a client drives it over the pipe: bad EXPORT_MOVIE requests are
// logged and answered, and a good export after each renders while the client
// polls its progress, then stays until PRE_RESET_EXPORT.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "support/export_fixtures.h"
#include "support/export_log_capture.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

struct ExportState {
    int total = 0;
    int position = 0;
    bool stopped = false;
    bool operator==(const ExportState& o) const {
        return total == o.total && position == o.position && stopped == o.stopped;
    }
};

std::ostream& operator<<(std::ostream& out, const ExportState& s) {
    return out << s.total << "/" << s.position << (s.stopped ? " stopped" : " running");
}

ExportState queryExport(ServiceProcess& service) {
    return {std::atoi(service.commandResult("PRE_GETEXPORTTOTALFRAME").c_str()),
            std::atoi(service.commandResult("PRE_GETEXPORTCURRENTPOS").c_str()),
            service.commandResult("PRE_ISEXPORTSTOP") == "true"};
}

// Polls like a client until the render has stopped (or there is nothing to
// render); the deadline only guards against a render that never ends.
ExportState pollUntilStopped(ServiceProcess& service, std::vector<int>* positions) {
    ExportState state;
    for (uint64_t begin = platform::tickCountMs(); platform::tickCountMs() - begin < 300000;) {
        state = queryExport(service);
        positions->push_back(state.position);
        if (state.stopped || state.total == 0) {
            break;
        }
        platform::sleepMilliseconds(200);
    }
    return state;
}

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

std::string h264Request(const std::string& fileName, const std::string& xmlFile,
                        const std::string& width = "640", const std::string& height = "360",
                        const std::string& frameRate = "25") {
    return "{\"FileName\":" + q(fileName) + ",\"XmlFile\":" + q(xmlFile) +
           ",\"QulityLevel\":\"best\",\"Video\":{\"Encoder\":\"libx264\",\"Width\":" + q(width) +
           ",\"Height\":" + q(height) + ",\"FrameRate\":" + q(frameRate) +
           ",\"BitRate\":\"1500\"},\"Audio\":{\"Encoder\":\"aac\",\"Channel\":\"2\","
           "\"SampleRate\":\"48000\",\"BitRate\":\"128\"}}";
}

bool logged(const ServiceProcess& service, const std::string& part, bool whole = true) {
    for (const std::string& message : testsupport::logMessagesIn(service.stderrText())) {
        if (whole ? message == part : message.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

TEST(ExportControl, BadRequestsAreLoggedAndAGoodExportStillRendersWhileTheClientPolls) {
    const std::string dir = testsupport::makeTempDirectory("export-e2e");
    const testsupport::ExportTimeline timeline = testsupport::writeExportTimeline(dir, 50);
    const int frames = timeline.frames;
    std::ofstream(dir + "/notes.xml") << "not a timeline\n";
    const std::string output = dir + "/bad.mp4", noFolder = dir + "/no/such/folder/out.mp4";
    const struct {
        std::string request;
        std::vector<std::string> log;  // our own lines besides the Receive line
        std::string engineMessage;     // a part of MLT's
        ExportState expected;
        int videoStreams = -1;  // in the bad request's movie; -1: not looked at
    } cases[] = {
        {"{\"XmlFile\":" + q(timeline.path) + "}",
         {"Return [EXPORT_MOVIE] control Error"},
         "",
         {0, 0, false}},
        {h264Request(output, dir + "/missing.xml"),
         {"Failed to open xml " + dir + "/missing.xml", "Return [EXPORT_MOVIE] control Ok"},
         "",
         {0, 0, false}},
        // MLT loads nothing from it: a consumer that never starts reads as stopped.
        {h264Request(output, dir + "/notes.xml"),
         {"Return [EXPORT_MOVIE] control Ok"},
         "",
         {0, 0, true}},
        {h264Request(noFolder, timeline.path),
         {"Start to Export File " + noFolder, "Return [EXPORT_MOVIE] control Ok"},
         "Could not open '" + noFolder + "'",
         {frames, 0, true}},
        // MLT drops the stream it has no encoder for and renders the rest.
        {"{\"FileName\":" + q(output) + ",\"XmlFile\":" + q(timeline.path) +
             ",\"Video\":{\"Encoder\":\"no_such_encoder\"}}",
         {"Start to Export File " + output, "Return [EXPORT_MOVIE] control Ok"},
         "video codec no_such_encoder unrecognised",
         {frames, frames - 1, true},
         0},
        // A size of 0 keeps the profile's own size.
        {h264Request(output, timeline.path, "0", "0"),
         {"Start to Export File " + output, "Return [EXPORT_MOVIE] control Ok"},
         "",
         {frames, frames - 1, true},
         1},
        // An encoder that refuses the size is left out like an unknown one.
        {h264Request(output, timeline.path, "321", "241"),
         {"Start to Export File " + output, "Return [EXPORT_MOVIE] control Ok"},
         "",
         {frames, frames - 1, true},
         0},
        // A frame rate that is no number keeps the profile's own rate.
        {h264Request(output, timeline.path, "640", "360", "abc"),
         {"Start to Export File " + output, "Return [EXPORT_MOVIE] control Ok"},
         "",
         {frames, frames - 1, true},
         1},
    };
    for (const auto& c : cases) {
        ServiceProcess service;
        ASSERT_TRUE(service.connect());
        ASSERT_EQ(service.commandResult("PRE_SET_LOGDIRECTORY", "{\"LogPath\":" + q(dir) + "}"),
                  "true");
        EXPECT_EQ(resultValueText(service.control("EXPORT_MOVIE", c.request)), "true");
        std::vector<int> positions;
        EXPECT_EQ(pollUntilStopped(service, &positions), c.expected) << c.request;
        EXPECT_TRUE(logged(service, "Receive [EXPORT_MOVIE] control")) << c.request;
        for (const std::string& message : c.log) {
            EXPECT_TRUE(logged(service, message)) << c.request << ": " << message;
        }
        if (!c.engineMessage.empty()) {
            EXPECT_TRUE(logged(service, c.engineMessage, false)) << c.request;
        }
        if (c.videoStreams >= 0) {
            const testsupport::ProbedFile bad = testsupport::probeFile(output);
            EXPECT_EQ(bad.stream("video") != nullptr, c.videoStreams == 1) << c.request;
            ASSERT_NE(bad.stream("audio"), nullptr) << c.request;
            EXPECT_NEAR(bad.stream("audio")->duration, frames / 25.0, 0.05) << c.request;
        }

        const std::string good = dir + "/movie.mp4";
        service.control("EXPORT_MOVIE", h264Request(good, timeline.path));
        positions.clear();
        EXPECT_EQ(pollUntilStopped(service, &positions), (ExportState{frames, frames - 1, true}));
        EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
        EXPECT_TRUE(logged(service, "Start to Export File " + good));
        testsupport::ProbedFile file = testsupport::probeFile(good);
        ASSERT_NE(file.stream("video"), nullptr) << service.stderrText();
        EXPECT_EQ(file.stream("video")->codecName, "h264");
        EXPECT_EQ(file.stream("video")->width, 640);
        EXPECT_EQ(file.stream("video")->decodedFrames, frames);
        ASSERT_NE(file.stream("audio"), nullptr);
        EXPECT_EQ(file.stream("audio")->codecName, "aac");
        // The finished export stays until it is reset.
        EXPECT_EQ(queryExport(service).total, frames);
        service.control("PRE_RESET_EXPORT");
        EXPECT_EQ(queryExport(service), (ExportState{0, 0, false}));
        EXPECT_EQ(service.close(), 0) << c.request << service.stderrText().substr(0, 20000);
    }
    testsupport::runCommand("rm -rf '" + dir + "'");
}

}  // namespace
