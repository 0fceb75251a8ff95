#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "log/log.h"
#include "platform/platform.h"
#include "support/test_media.h"

namespace {

// Collects what passes the threshold while a test runs.
class CapturedLog {
  public:
    CapturedLog() {
        setLogObserver([this](int level, const std::string& line) { lines.push_back(line); });
    }
    ~CapturedLog() { setLogObserver(nullptr); }
    std::vector<std::string> lines;
};

TEST(Log, LinesHaveTheFixedFormat) {
    CapturedLog log;
    writeLog(kLogInfo, "Receive [%s] command", "ADD_TRACK");
    ASSERT_EQ(log.lines.size(), 1u);
    std::regex format(
        R"(\[\d{4}/\d{2}/\d{2} \d{2}:\d{2}:\d{2}\.\d{3}\] \[Info\] \[-?\d+\]\[\d+\]\[\d+\] )"
        R"(Receive \[ADD_TRACK\] command\n)");
    EXPECT_TRUE(std::regex_match(log.lines[0], format)) << log.lines[0];
    EXPECT_NE(log.lines[0].find("][" + std::to_string(platform::processId()) + "]["),
              std::string::npos);
}

TEST(Log, ThresholdDropsVerboseAndDebug) {
    CapturedLog log;
    writeLog(kLogVerbose, "verbose");
    writeLog(kLogDebug, "debug");
    writeLog(kLogWarning, "warning");
    writeLog(kLogError, "error");
    writeLog(7, "odd level");
    ASSERT_EQ(log.lines.size(), 3u);
    EXPECT_NE(log.lines[0].find("] [Warning] ["), std::string::npos);
    EXPECT_NE(log.lines[1].find("] [Error] ["), std::string::npos);
    EXPECT_NE(log.lines[2].find("] [] ["), std::string::npos);
}

TEST(Log, LongMessagesAreCutTo2047Characters) {
    CapturedLog log;
    std::string message(5000, 'm');
    writeLog(kLogInfo, "%s", message.c_str());
    ASSERT_EQ(log.lines.size(), 1u);
    size_t start = log.lines[0].find("mmm");
    EXPECT_EQ(log.lines[0].size() - start - 1, kLogMessageLimit);
}

TEST(Log, FilePathsFollowTheInstanceNumber) {
    EXPECT_EQ(logFilePath("/var/q", 3), "/var/q/Logs/log_3.txt");
    EXPECT_EQ(logBackupPath("/var/q", 0), "/var/q/Logs/log_0backup.txt");
}

void writeSizedFile(const std::string& path, long size) {
    std::ofstream file(path, std::ios::binary);
    std::string block(1 << 20, 'x');
    while (size > 0) {
        long chunk = std::min<long>(size, static_cast<long>(block.size()));
        file.write(block.data(), chunk);
        size -= chunk;
    }
}

TEST(Log, RotationMovesALargeLogToTheBackup) {
    std::string dir = testsupport::makeTempDirectory("qv-log");
    std::string logFile = dir + "/log_0.txt";
    std::string backup = dir + "/log_0backup.txt";

    writeSizedFile(logFile, kLogRotateSize - 1);
    rotateLogFile(logFile, backup);
    EXPECT_TRUE(testsupport::fileExists(logFile));
    EXPECT_FALSE(testsupport::fileExists(backup));

    CapturedLog log;
    writeSizedFile(logFile, 12 * 1024 * 1024);
    rotateLogFile(logFile, backup);
    EXPECT_FALSE(testsupport::fileExists(logFile));
    EXPECT_EQ(testsupport::readFile(backup).size(), 12u * 1024 * 1024);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_NE(log.lines[0].find("BackUp file"), std::string::npos);

    writeSizedFile(logFile, kLogRotateSize);
    rotateLogFile(logFile, backup);
    EXPECT_EQ(testsupport::readFile(backup).size(), static_cast<size_t>(kLogRotateSize));
    ASSERT_EQ(log.lines.size(), 2u);
    EXPECT_NE(log.lines[1].find("remove file of size : 12582912"), std::string::npos);
}

TEST(Log, WriterAppendsQueuedLinesInOrderOnceStarted) {
    std::string dir = testsupport::makeTempDirectory("qv-logdir");
    testsupport::runCommand("mkdir -p '" + dir + "/Logs'");
    writeLog(kLogInfo, "queued before the directory: one");
    writeLog(kLogInfo, "queued before the directory: two");
    setLogDirectory(dir);
    startLogWriter();
    writeLog(kLogError, "after the writer started");
    std::string text;
    for (int i = 0; i < 100 && text.find("after the writer started") == std::string::npos; ++i) {
        platform::sleepMilliseconds(20);
        text = testsupport::readFile(logFilePath(dir, instanceNumber()));
    }
    size_t one = text.find("queued before the directory: one");
    size_t two = text.find("queued before the directory: two");
    size_t after = text.find("after the writer started");
    ASSERT_NE(one, std::string::npos) << text;
    EXPECT_LT(one, two);
    EXPECT_LT(two, after);
}

}  // namespace
