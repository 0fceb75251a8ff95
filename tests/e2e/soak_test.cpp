// Ten thousand random but well-formed editing requests against one running
// service: every request is answered, and the project that results saves,
// loads and saves again to the same document.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/random_editor.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::RandomEditor;
using testsupport::ServiceProcess;

namespace {

TEST(Soak, TenThousandRandomRequestsAreAllAnsweredAndTheProjectRoundTrips) {
    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    std::string directory = testsupport::makeTempDirectory("qv-soak");
    RandomEditor editor(20261123u, directory);
    for (int i = 0; i < 10000; ++i) {
        auto [type, body] = editor.next();
        tgMessageHead head;
        head.type = type;
        head.length = static_cast<uint32_t>(body.size());
        PipeReply reply;
        ASSERT_TRUE(service.client().request(head, body, &reply))
            << "request " << i << " got no answer: " << body << "\n"
            << service.stderrText().substr(0, 4000);
        ASSERT_NE(resultValueText(reply.body), "") << reply.body;
    }
    std::string first = R"({"FileName":")" + directory + "/final-a.xml\"}";
    std::string second = R"({"FileName":")" + directory + "/final-b.xml\"}";
    EXPECT_EQ(service.commandResult("SAVE_PROJECT", first), "true");
    EXPECT_EQ(service.commandResult("CLEAR_PROJECT", "{}"), "true");
    EXPECT_EQ(service.commandResult("LOAD_PROJECT", first), "true");
    EXPECT_EQ(service.commandResult("SAVE_PROJECT", second), "true");
    std::string saved = testsupport::readFile(directory + "/final-a.xml");
    EXPECT_GT(saved.size(), 100u);
    EXPECT_EQ(saved, testsupport::readFile(directory + "/final-b.xml"));
    EXPECT_EQ(service.close(), 0);
    testsupport::runCommand("rm -rf '" + directory + "'");
}

}  // namespace
