// The command-line client's export mode: one EXPORT_MOVIE, then a progress
// line until the render stops, and an exit code that says whether it finished.
#include <gtest/gtest.h>

#include <string>

#include "support/export_fixtures.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

bool clientHasExportMode() {
    std::string help;
    testsupport::runCommand(testsupport::binaryPath("quillavant-cli") + " --help", &help);
    return help.find("--export") != std::string::npos;
}

std::string exportCommand(const ServiceProcess& service, const std::string& contentJson) {
    std::string directory = service.socketPath().substr(0, service.socketPath().rfind('/'));
    return "QUILLAVANT_PIPE_DIR=" + directory + " " + testsupport::binaryPath("quillavant-cli") +
           " -p " + service.pipeName() + " --export '" + contentJson + "' 2>&1";
}

std::string lastLine(const std::string& text) {
    std::string trimmed = text.substr(0, text.find_last_not_of('\n') + 1);
    return trimmed.substr(trimmed.rfind('\n') + 1);
}

TEST(ExportProgressCli, ShowsProgressLinesAndFinishesWithTheFinalFigures) {
    if (!clientHasExportMode()) {
        GTEST_SKIP() << "quillavant-cli has no --export mode yet";
    }
    std::string directory = testsupport::makeTempDirectory("export-cli");
    testsupport::ExportTimeline timeline = testsupport::writeExportTimeline(directory, 50);
    struct Case {
        const char* what;
        std::string xmlFile;
        int exitCode;
        std::string finalPrefix;
    };
    const Case cases[] = {
        {"a render that finishes", timeline.path, 0, "export finished: 50/50 frames in "},
        {"nothing to render", directory + "/missing.xml", 1,
         "export has nothing to render: 0/0 frames in "},
    };
    for (const Case& c : cases) {
        ServiceProcess service;
        std::string output;
        int status = testsupport::runCommand(
            exportCommand(service, "{\"FileName\":\"" + directory + "/cli.mp4\",\"XmlFile\":\"" +
                                       c.xmlFile + "\",\"Video\":{\"Encoder\":\"libx264\"}}"),
            &output);
        EXPECT_EQ(status, c.exitCode) << c.what << "\n" << output;
        // Not a terminal: whole lines, no carriage returns.
        EXPECT_EQ(output.find('\r'), std::string::npos) << c.what;
        EXPECT_EQ(lastLine(output).compare(0, c.finalPrefix.size(), c.finalPrefix), 0)
            << c.what << "\n"
            << output;
        EXPECT_NE(output.find("frames"), std::string::npos) << c.what;
    }
}

}  // namespace
