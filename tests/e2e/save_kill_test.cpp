// A host killed at any moment of a save never leaves a torn project file: the
// file on disk is always a whole document, the previous one or the new one.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

constexpr int kClips = 3000;
constexpr int kRounds = 12;

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

void writeProject(const std::string& path) {
    std::ofstream out(path);
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Quillavant>\n  <Clips>\n";
    for (int i = 0; i < kClips; ++i) {
        out << "    <Clip>\n      <ID>clip" << i << "</ID>\n      <Length>" << 25 + i % 50
            << "</Length>\n      <MltService>avformat</MltService>\n      <Resource>/media/"
               "take"
            << i << ".mp4</Resource>\n      <Type>video</Type>\n    </Clip>\n";
    }
    out << "  </Clips>\n</Quillavant>\n";
}

TEST(SaveKill, AKilledSaveLeavesTheWholePreviousOrNewDocument) {
    const std::string dir = testsupport::makeTempDirectory("save-kill");
    const std::string source = dir + "/source.xml", reference = dir + "/reference.xml",
                      target = dir + "/target.xml";
    writeProject(source);
    {
        ServiceProcess service;
        ASSERT_TRUE(service.connect());
        ASSERT_EQ(service.commandResult("LOAD_PROJECT", "{\"FileName\":" + q(source) + "}"),
                  "true");
        ASSERT_EQ(service.commandResult("SAVE_PROJECT", "{\"FileName\":" + q(reference) + "}"),
                  "true");
        EXPECT_EQ(service.close(), 0);
    }
    const std::string whole = testsupport::readFile(reference);
    ASSERT_GT(whole.size(), static_cast<size_t>(kClips) * 100);

    std::mt19937 random(20261124);
    std::uniform_int_distribution<int> delayMs(0, 400);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        ServiceProcess service;
        ASSERT_TRUE(service.connect());
        ASSERT_EQ(service.commandResult("LOAD_PROJECT", "{\"FileName\":" + q(source) + "}"),
                  "true");
        std::atomic<bool> killed{false};
        std::thread killer([&, delay = delayMs(random)] {
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
            ::kill(service.pid(), SIGKILL);
            killed = true;
        });
        while (!killed) {
            service.commandResult("SAVE_PROJECT", "{\"FileName\":" + q(target) + "}");
        }
        killer.join();
        EXPECT_EQ(service.waitForExit(), -1);
        // Before the first save finished there may be no file yet.
        if (testsupport::fileExists(target)) {
            EXPECT_TRUE(testsupport::readFile(target) == whole) << "torn document";
        }
    }
    testsupport::runCommand("rm -rf '" + dir + "'");
}

}  // namespace
