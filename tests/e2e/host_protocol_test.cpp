// The pipe protocol as a client meets it: framing, echoed headers, bodies in
// pieces, and every way a connection can end.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "messages/message_head.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kTrueResult[] = "{\n   \"ReturnResultString\" : true\n}\n";

std::string header(uint16_t flag, uint16_t word1, uint16_t type, uint16_t word2, uint32_t length) {
    tgMessageHead head;
    head.flag = flag;
    head.userWord1 = word1;
    head.type = type;
    head.userWord2 = word2;
    head.length = length;
    std::string bytes(kMessageHeadSize, '\0');
    encodeMessageHead(head, reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes;
}

TEST(HostProtocol, ReplyEchoesTheHeaderWithTheNewLength) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    std::string body = R"({"ID":"1","Action":[]})";
    tgMessageHead head;
    head.flag = 7;
    head.userWord1 = 0xBEEF;
    head.type = kCommandMessage;
    head.userWord2 = 0x1234;
    head.length = static_cast<uint32_t>(body.size());
    PipeReply reply;
    ASSERT_TRUE(service.client().request(head, body, &reply));
    EXPECT_EQ(reply.head.flag, 7);
    EXPECT_EQ(reply.head.userWord1, 0xBEEF);
    EXPECT_EQ(reply.head.type, kCommandMessage);
    EXPECT_EQ(reply.head.userWord2, 0x1234);
    EXPECT_EQ(reply.head.length, reply.body.size());
    EXPECT_EQ(reply.body, kTrueResult);
    EXPECT_EQ(service.close(), 0);
}

TEST(HostProtocol, CloseRequestEndsTheServiceAndRemovesTheSocket) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    ASSERT_TRUE(testsupport::fileExists(service.socketPath()));
    // The close request may carry anything in its middle words.
    std::string close = header(1, 0x1111, 0x2222, 0x3333, 0);
    ASSERT_TRUE(service.client().writeBytes(close.data(), close.size()));
    EXPECT_TRUE(service.client().waitForClose(10000));
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_FALSE(testsupport::fileExists(service.socketPath()));
}

TEST(HostProtocol, LongBodyArrivesInOddSizedWrites) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    std::string padding(9000, 'x');
    std::string body =
        R"({"ID":"1","Pad":")" + padding + R"(","Action":[{"Command":"NO_SUCH_COMMAND"}]})";
    std::string packet = header(0, 0, kCommandMessage, 0, static_cast<uint32_t>(body.size())) + body;
    // Split the header too: the service must assemble both.
    size_t cuts[] = {5, 4093, 3, 4097, 777};
    size_t offset = 0;
    for (size_t cut : cuts) {
        ASSERT_TRUE(service.client().writeBytes(packet.data() + offset, cut));
        offset += cut;
        usleep(2000);
    }
    ASSERT_TRUE(service.client().writeBytes(packet.data() + offset, packet.size() - offset));
    PipeReply reply;
    ASSERT_TRUE(service.client().readReply(&reply));
    EXPECT_EQ(reply.body, "{\n   \"ReturnResultString\" : false\n}\n");
    EXPECT_EQ(service.close(), 0);
}

TEST(HostProtocol, FlagOneWithABodyIsAnOrdinaryRequest) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    std::string body = R"({"ID":"1","Action":[]})";
    tgMessageHead head;
    head.flag = 1;
    head.type = kControlMessage;
    head.length = static_cast<uint32_t>(body.size());
    PipeReply reply;
    ASSERT_TRUE(service.client().request(head, body, &reply));
    EXPECT_EQ(reply.body, kTrueResult);
    EXPECT_EQ(service.close(), 0);
}

struct EndingCase {
    const char* name;
    uint16_t type;
    std::string body;
    const char* logged;
};

class ConnectionEndings : public ::testing::TestWithParam<EndingCase> {};

TEST_P(ConnectionEndings, FramingFailureEndsTheServiceWithoutAReply) {
    const EndingCase& c = GetParam();
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    std::string packet =
        header(0, 0, c.type, 0, static_cast<uint32_t>(c.body.size())) + c.body;
    ASSERT_TRUE(service.client().writeBytes(packet.data(), packet.size()));
    EXPECT_TRUE(service.client().waitForClose(10000)) << "a reply came back";
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_FALSE(testsupport::fileExists(service.socketPath()));
    std::string log = service.stderrText();
    EXPECT_NE(log.find(c.logged), std::string::npos) << log;
    EXPECT_NE(log.find("[Error]"), std::string::npos);
    EXPECT_NE(log.find("Failure to obtain data for the second time"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Framing, ConnectionEndings,
    ::testing::Values(EndingCase{"type3", 3, R"({"ID":"1","Action":[]})", "Command Exception"},
                      EndingCase{"notJson", 1, "this is not json", "Json data Exception"},
                      EndingCase{"emptyBody", 1, "", "Json data Exception"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(HostProtocol, ClientVanishingMidBodyEndsTheServiceCleanly) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    // Announce four gigabytes, send a little, then go away.
    std::string packet = header(0, 0, kCommandMessage, 0, 0xFFFFFFF0u) + R"({"ID":)";
    ASSERT_TRUE(service.client().writeBytes(packet.data(), packet.size()));
    usleep(50000);
    service.client().disconnect();
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_FALSE(testsupport::fileExists(service.socketPath()));
    EXPECT_NE(service.stderrText().find("The second read command failed "), std::string::npos);
}

TEST(HostProtocol, ClientVanishingBetweenRequestsEndsTheServiceCleanly) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    EXPECT_EQ(resultValueText(service.control("PRE_STOP")), "true");
    service.client().disconnect();
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_NE(service.stderrText().find("Failure to obtain data for the first time"),
              std::string::npos);
}

TEST(HostProtocol, SecondClientIsRefused) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    EXPECT_EQ(resultValueText(service.control("PRE_STOP")), "true");
    PipeClient second;
    EXPECT_FALSE(second.connectPath(service.socketPath(), 200));
    EXPECT_EQ(service.close(), 0);
}

TEST(HostProtocol, StartupLogsVersionAndWaitsForTheClient) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    EXPECT_EQ(service.close(), 0);
    std::string log = service.stderrText();
    EXPECT_NE(log.find("[Info] [0]["), std::string::npos) << log;
    EXPECT_NE(log.find("The Version Of QuillavantImplement is: "), std::string::npos);
    EXPECT_NE(log.find("Waiting for Client Connection......"), std::string::npos);
    EXPECT_NE(log.find("link success"), std::string::npos);
    // Debug lines fall below the threshold.
    EXPECT_EQ(log.find("The name of the pipe created is"), std::string::npos);
    EXPECT_EQ(log.find("[Debug]"), std::string::npos);
}

TEST(CommandLineClient, RunsAScriptAndClosesTheService) {
    ServiceProcess service;
    std::string script = testsupport::makeTempDirectory("qv-cli") + "/session.txt";
    FILE* file = fopen(script.c_str(), "w");
    ASSERT_NE(file, nullptr);
    fputs("# a comment\ncommand NO_SUCH {\"ID\":\"x\"}\nexpect false\n"
          "body 1 {\"ID\":\"1\",\"Action\":[]}\nexpect true\nclose\n",
          file);
    fclose(file);
    std::string output;
    std::string command = "QUILLAVANT_PIPE_DIR=" + service.socketPath().substr(
                              0, service.socketPath().rfind('/')) +
                          " " + testsupport::binaryPath("quillavant-cli") + " -p " +
                          service.pipeName() + " --quiet --script " + script;
    EXPECT_EQ(testsupport::runCommand(command, &output), 0) << output;
    EXPECT_EQ(output, "false\ntrue\n");
    EXPECT_EQ(service.waitForExit(), 0);
}

std::string cliCommand(const ServiceProcess& service, const std::string& arguments) {
    std::string directory = service.socketPath().substr(0, service.socketPath().rfind('/'));
    return "QUILLAVANT_PIPE_DIR=" + directory + " " + testsupport::binaryPath("quillavant-cli") +
           " -p " + service.pipeName() + " " + arguments + " 2>&1";
}

TEST(CommandLineClient, RecordedSessionReplaysAndReportsDifferences) {
    std::string directory = testsupport::makeTempDirectory("qv-record");
    std::string script = directory + "/session.txt";
    std::string recording = directory + "/recorded.txt";
    FILE* file = fopen(script.c_str(), "w");
    ASSERT_NE(file, nullptr);
    fputs("command NO_SUCH\nbody 1 {\"ID\":\"1\",\"Action\":[]}\nclose\n", file);
    fclose(file);
    {
        ServiceProcess service;
        std::string output;
        ASSERT_EQ(testsupport::runCommand(
                      cliCommand(service, "-q --script " + script + " --record " + recording),
                      &output),
                  0)
            << output;
        EXPECT_EQ(service.waitForExit(), 0);
    }
    std::string recorded = testsupport::readFile(recording);
    EXPECT_NE(recorded.find("command NO_SUCH\nexpect false\n"), std::string::npos) << recorded;
    EXPECT_NE(recorded.find("\nexpect true\nclose\n"), std::string::npos) << recorded;
    {
        ServiceProcess service;
        std::string output;
        EXPECT_EQ(testsupport::runCommand(cliCommand(service, "-q --replay " + recording), &output),
                  0)
            << output;
    }
    std::string tampered = recorded;
    tampered.replace(tampered.find("expect false"), 12, "expect 42");
    file = fopen(recording.c_str(), "w");
    fputs(tampered.c_str(), file);
    fclose(file);
    {
        ServiceProcess service;
        std::string output;
        EXPECT_EQ(testsupport::runCommand(cliCommand(service, "-q --replay " + recording), &output),
                  4);
        EXPECT_NE(output.find("expected 42, got false"), std::string::npos) << output;
        EXPECT_EQ(service.waitForExit(), 0);  // the replay still reached its close line
    }
}

TEST(CommandLineClient, ReportsAMissingServiceWithItsExitCode) {
    std::string output;
    int status = testsupport::runCommand("QUILLAVANT_PIPE_DIR=/nonexistent " +
                                             testsupport::binaryPath("quillavant-cli") +
                                             " --timeout 100 -p nobody PRE_GETFPS 2>&1",
                                         &output);
    EXPECT_EQ(status, 3);
    EXPECT_NE(output.find("cannot connect"), std::string::npos) << output;
}

}  // namespace
