// Editing over the real socket: a multi-track timeline whose project file
// survives a save, clear, load and save unchanged byte for byte, and bad
// requests that each get their answer while the service keeps answering.
#include <gtest/gtest.h>

#include <string>

#include "support/framework_timeline_script.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kTrueText[] = "{\n   \"ReturnResultString\" : true\n}\n";
const char kFalseText[] = "{\n   \"ReturnResultString\" : false\n}\n";
const char kEmptyProject[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Quillavant/>\n";

class Editing : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(service_.connect()); }
    void TearDown() override {
        EXPECT_EQ(service_.close(), 0) << service_.stderrText();
        testsupport::runCommand("rm -rf '" + folder_ + "'");
    }
    std::string result(const std::string& name, const std::string& content = "") {
        return service_.commandResult(name, content);
    }
    std::string file(const std::string& name) {
        return R"({"FileName":")" + folder_ + "/" + name + "\"}";
    }

    std::string folder_ = testsupport::makeTempDirectory("qv-e2e-editing");
    ServiceProcess service_;
};

TEST_F(Editing, ProjectFileSurvivesSaveClearLoadAndSaveUnchanged) {
    ASSERT_EQ(result("OPEN_MOVIE", R"({"Profile":"","Width":640,"Height":360,"WindowID":0,)"
                                   R"("CachePath":")" +
                                       folder_ + "\"}"),
              "true");
    for (const frameworktest::ScriptStep& step : frameworktest::timelineScript(
             testsupport::colourBarsWithTone(4), testsupport::toneWav(4), folder_)) {
        EXPECT_EQ(result(step.command, step.content), step.answer) << step.command << step.content;
    }
    EXPECT_EQ(result("SAVE_PROJECT", file("first.xml")), "true");
    EXPECT_EQ(result("CLEAR_PROJECT"), "true");
    EXPECT_EQ(result("SAVE_PROJECT", file("cleared.xml")), "true");
    EXPECT_EQ(result("LOAD_PROJECT", file("first.xml")), "true");
    EXPECT_EQ(result("SAVE_PROJECT", file("second.xml")), "true");

    std::string saved = testsupport::readFile(folder_ + "/first.xml");
    for (const char* part :
         {"<Clips>", "<ComposeClip>", "<Tracks type=\"composition\">", "<Tracks type=\"audio\">",
          "<Transitions>", "<Filters>", "<MultiFilter>", "<SubClip "}) {
        EXPECT_NE(saved.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(testsupport::readFile(folder_ + "/second.xml"), saved);
    EXPECT_EQ(testsupport::readFile(folder_ + "/cleared.xml"), kEmptyProject);
}

TEST_F(Editing, EachBadRequestGetsItsAnswerAndAFailedLoadLeavesAnEmptyProject) {
    testsupport::runCommand("printf 'this is not xml' > '" + folder_ + "/not_xml.xml'");
    testsupport::runCommand("printf '<mlt><Clips/></mlt>' > '" + folder_ + "/wrong_root.xml'");
    ASSERT_EQ(result("ADD_TRACK", R"({"ID":"Track0","Type":"composite"})"), "true");
    auto command = [](const std::string& name, const std::string& content) {
        return makeRequestBody("1", name, content);
    };
    const struct {
        uint16_t type;
        std::string body;
        const char* answer;
    } requests[] = {
        {kCommandMessage, command("NO_SUCH_COMMAND", "{}"), kFalseText},
        {kCommandMessage, command("add_track", "{}"), kFalseText},
        {kCommandMessage, command("ADD_TRACK", R"({"ID":5,"Type":"composite"})"), kFalseText},
        {kCommandMessage, command("DELETE_CLIP", R"({"TrackID":"Nowhere","ClipID":"c"})"),
         kFalseText},
        {kCommandMessage, R"({"ID":"1","Action":[{"Command":"ADD_TRACK","Content":"T"}]})",
         kFalseText},
        {kCommandMessage, R"({"ID":"1","Action":[5]})", kFalseText},
        {kCommandMessage, R"({"ID":"1","Action":{}})", kTrueText},
        {kCommandMessage, R"({"ID":"1","Action":[{"Command":"X"},{"Command":7}]})", kTrueText},
        {kCommandMessage, command("LOAD_PROJECT", file("not_xml.xml")), kFalseText},
        {kCommandMessage, command("LOAD_PROJECT", file("wrong_root.xml")), kFalseText},
        {kCommandMessage, command("LOAD_PROJECT", file("no/such/project.xml")), kFalseText},
        {kCommandMessage, command("LOAD_PROJECT", R"({"FileName":5})"), kFalseText},
        // Saving answers true whether or not the file could be written.
        {kCommandMessage, command("SAVE_PROJECT", file("no/such/project.xml")), kTrueText},
        {kCommandMessage,
         command("OPEN_MOVIE", R"({"Profile":"","Width":"800","Height":450,"WindowID":0})"),
         kFalseText},
        {kCommandMessage, command("HW_DECODE_ACCEL_ENABLE", R"({"Enable":true})"), kFalseText},
        {kCommandMessage, command("DELETE_BATCH_TRANSCLIP", R"([{"Type":9},{"Type":"1"},5])"),
         kTrueText},
        {kControlMessage, command("PRE_PLAY", "{}"), kTrueText},
        {kControlMessage,
         command("PRE_VIDEO_THUMB", R"({"FileName":"/nonexistent.mp4","Position":[1,"x",null],)"
                                    R"("OutDir":"/nonexistent/dir"})"),
         kTrueText},
        {kControlMessage, command("EXPORT_MOVIE", file("no/such/out.mp4")), kTrueText},
        {kControlMessage, command("PRE_NOTHING", "{}"), kTrueText},
    };
    for (const auto& request : requests) {
        tgMessageHead head;
        head.type = request.type;
        head.length = static_cast<uint32_t>(request.body.size());
        PipeReply reply;
        ASSERT_TRUE(service_.client().request(head, request.body, &reply)) << request.body;
        EXPECT_EQ(reply.body, request.answer) << request.body;
        ASSERT_EQ(result("PRE_GETFPS"), "0.0") << "after " << request.body;
    }
    EXPECT_FALSE(testsupport::fileExists(folder_ + "/no/such/project.xml"));
    EXPECT_EQ(result("SAVE_PROJECT", file("project.xml")), "true");
    EXPECT_EQ(testsupport::readFile(folder_ + "/project.xml"), kEmptyProject);
}

}  // namespace
