// The pipe protocol as a client meets it: framing, echoed headers, bodies in
// pieces, every way a connection can end, and the command-line client.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "messages/message_head.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kTrueResult[] = "{\n   \"ReturnResultString\" : true\n}\n";
const char kEmptyBatch[] = R"({"ID":"1","Action":[]})";

std::string framed(const tgMessageHead& head, const std::string& body = "") {
    std::string bytes(kMessageHeadSize, '\0');
    encodeMessageHead(head, reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes + body;
}

uint32_t size(const std::string& body) {
    return static_cast<uint32_t>(body.size());
}

TEST(HostProtocol, RepliesEchoTheHeaderAndStartupIsLogged) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    // Flag 1 with a body is an ordinary request, whatever the type.
    for (tgMessageHead head : {tgMessageHead{7, 0xBEEF, kCommandMessage, 0x1234, size(kEmptyBatch)},
                               tgMessageHead{1, 0, kControlMessage, 0, size(kEmptyBatch)}}) {
        PipeReply reply;
        ASSERT_TRUE(service.client().request(head, kEmptyBatch, &reply));
        EXPECT_EQ(reply.head.flag, head.flag);
        EXPECT_EQ(reply.head.userWord1, head.userWord1);
        EXPECT_EQ(reply.head.type, head.type);
        EXPECT_EQ(reply.head.userWord2, head.userWord2);
        EXPECT_EQ(reply.head.length, reply.body.size());
        EXPECT_EQ(reply.body, kTrueResult);
    }
    PipeClient second;
    EXPECT_FALSE(second.connectPath(service.socketPath(), 200));
    EXPECT_EQ(service.close(), 0);
    std::string log = service.stderrText();
    for (const char* line : {"[Info] [0][", "The Version Of QuillavantImplement is: ",
                             "Waiting for Client Connection......", "link success"}) {
        EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
    }
    EXPECT_EQ(log.find("[Debug]"), std::string::npos);  // below the threshold
}

TEST(HostProtocol, CloseRequestWithAnyMiddleWordsEndsTheServiceAndRemovesTheSocket) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    ASSERT_TRUE(testsupport::fileExists(service.socketPath()));
    std::string close = framed({1, 0x1111, 0x2222, 0x3333, 0});
    ASSERT_TRUE(service.client().writeBytes(close.data(), close.size()));
    EXPECT_TRUE(service.client().waitForClose(10000));
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_FALSE(testsupport::fileExists(service.socketPath()));
}

TEST(HostProtocol, LongBodyArrivesInOddSizedWrites) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    std::string body = R"({"ID":"1","Pad":")" + std::string(9000, 'x') +
                       R"(","Action":[{"Command":"NO_SUCH_COMMAND"}]})";
    std::string packet = framed({0, 0, kCommandMessage, 0, size(body)}, body);
    size_t offset = 0;
    for (size_t cut : {5, 4093, 3, 4097, 777}) {  // the header is split too
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

TEST(HostProtocol, FramingFailuresEndTheServiceWithoutAReply) {
    const struct {
        uint16_t type;
        std::string body;
        const char* logged;
    } cases[] = {{3, kEmptyBatch, "Command Exception"},
                 {1, "this is not json", "Json data Exception"},
                 {1, "", "Json data Exception"}};
    for (const auto& c : cases) {
        ServiceProcess service;
        ASSERT_TRUE(service.connect());
        std::string packet = framed({0, 0, c.type, 0, size(c.body)}, c.body);
        ASSERT_TRUE(service.client().writeBytes(packet.data(), packet.size()));
        EXPECT_TRUE(service.client().waitForClose(10000)) << "a reply came back: " << c.body;
        EXPECT_EQ(service.waitForExit(), 0);
        EXPECT_FALSE(testsupport::fileExists(service.socketPath()));
        std::string log = service.stderrText();
        EXPECT_NE(log.find(std::string("[Error]")), std::string::npos) << log;
        EXPECT_NE(log.find(c.logged), std::string::npos) << log;
        EXPECT_NE(log.find("Failure to obtain data for the second time"), std::string::npos);
    }
}

TEST(HostProtocol, ClientVanishingMidBodyOrBetweenRequestsEndsTheServiceCleanly) {
    ServiceProcess midBody;
    ASSERT_TRUE(midBody.connect());
    // Announce four gigabytes, send a little, then go away.
    std::string packet = framed({0, 0, kCommandMessage, 0, 0xFFFFFFF0u}, R"({"ID":)");
    ASSERT_TRUE(midBody.client().writeBytes(packet.data(), packet.size()));
    usleep(50000);
    midBody.client().disconnect();
    EXPECT_EQ(midBody.waitForExit(), 0);
    EXPECT_FALSE(testsupport::fileExists(midBody.socketPath()));
    EXPECT_NE(midBody.stderrText().find("The second read command failed "), std::string::npos);

    ServiceProcess between;
    ASSERT_TRUE(between.connect());
    EXPECT_EQ(resultValueText(between.control("PRE_STOP")), "true");
    between.client().disconnect();
    EXPECT_EQ(between.waitForExit(), 0);
    EXPECT_NE(between.stderrText().find("Failure to obtain data for the first time"),
              std::string::npos);
}

TEST(HostProtocol, EveryByteOffsetOfARequestEndsTheServiceCleanly) {
    std::string body = R"({"ID":"1","Action":[{"Command":"ADD_TRACK","Content":{"ID":"T"}}]})";
    std::string request = framed({0, 0, kCommandMessage, 0, size(body)}, body);
    for (size_t offset = 0; offset <= request.size(); ++offset) {
        ServiceProcess service;
        ASSERT_TRUE(service.connect()) << offset;
        ASSERT_TRUE(service.client().writeBytes(request.data(), offset));
        if (offset == request.size()) {
            PipeReply reply;
            ASSERT_TRUE(service.client().readReply(&reply));
        }
        service.client().disconnect();
        ASSERT_EQ(service.waitForExit(), 0) << "cut at byte " << offset << "\n"
                                            << service.stderrText();
        ASSERT_FALSE(testsupport::fileExists(service.socketPath())) << offset;
    }
}

std::string cli(const ServiceProcess& service, const std::string& arguments) {
    std::string directory = service.socketPath().substr(0, service.socketPath().rfind('/'));
    return "QUILLAVANT_PIPE_DIR=" + directory + " " + testsupport::binaryPath("quillavant-cli") +
           " -p " + service.pipeName() + " " + arguments + " 2>&1";
}

void writeFile(const std::string& path, const std::string& text) {
    FILE* file = fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr) << path;
    fputs(text.c_str(), file);
    fclose(file);
}

TEST(CommandLineClient, RecordedSessionReplaysAndReportsDifferences) {
    std::string directory = testsupport::makeTempDirectory("qv-record");
    std::string script = directory + "/session.txt";
    std::string recording = directory + "/recorded.txt";
    writeFile(script, "# a comment\ncommand NO_SUCH\nbody 1 {\"ID\":\"1\",\"Action\":[]}\nclose\n");
    std::string output;
    {
        ServiceProcess service;
        ASSERT_EQ(testsupport::runCommand(
                      cli(service, "-q --script " + script + " --record " + recording), &output),
                  0)
            << output;
        EXPECT_EQ(service.waitForExit(), 0);
    }
    std::string recorded = testsupport::readFile(recording);
    EXPECT_NE(recorded.find("command NO_SUCH\nexpect false\n"), std::string::npos) << recorded;
    EXPECT_NE(recorded.find("\nexpect true\nclose\n"), std::string::npos) << recorded;
    {
        ServiceProcess service;
        EXPECT_EQ(testsupport::runCommand(cli(service, "-q --replay " + recording), &output), 0)
            << output;
    }
    writeFile(recording, recorded.replace(recorded.find("expect false"), 12, "expect 42"));
    {
        ServiceProcess service;
        EXPECT_EQ(testsupport::runCommand(cli(service, "-q --replay " + recording), &output), 4);
        EXPECT_NE(output.find("expected 42, got false"), std::string::npos) << output;
        EXPECT_EQ(service.waitForExit(), 0);  // the replay still reached its close line
    }
    EXPECT_EQ(testsupport::runCommand("QUILLAVANT_PIPE_DIR=/nonexistent " +
                                          testsupport::binaryPath("quillavant-cli") +
                                          " --timeout 100 -p nobody PRE_GETFPS 2>&1",
                                      &output),
              3);
    EXPECT_NE(output.find("cannot connect"), std::string::npos) << output;
}

}  // namespace
