// A client may vanish at any byte of a request: the service must end cleanly
// every time, with exit status 0 and its socket removed.
#include <gtest/gtest.h>

#include <string>

#include "messages/message_head.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

std::string framedRequest(uint16_t type, const std::string& body) {
    tgMessageHead head;
    head.type = type;
    head.length = static_cast<uint32_t>(body.size());
    std::string bytes(kMessageHeadSize, '\0');
    encodeMessageHead(head, reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes + body;
}

TEST(HostDisconnect, EveryByteOffsetOfARequestEndsTheServiceCleanly) {
    // An editing command, so the cut can fall anywhere in header or body.
    std::string request = framedRequest(
        kCommandMessage, R"({"ID":"1","Action":[{"Command":"ADD_TRACK","Content":{"ID":"T"}}]})");
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

}  // namespace
