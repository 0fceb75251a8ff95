// Requests a careless or hostile client may send: unknown names, missing and
// mistyped fields, unreadable project files and paths into folders that do
// not exist. Each gets its specified answer and the service keeps answering.
#include <gtest/gtest.h>

#include <string>

#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kTrueText[] = "{\n   \"ReturnResultString\" : true\n}\n";
const char kFalseText[] = "{\n   \"ReturnResultString\" : false\n}\n";

struct BadRequest {
    const char* what;
    uint16_t type;
    std::string body;
    std::string answer;
};

class FrameworkBadInput : public ::testing::Test {
  protected:
    void SetUp() override {
        folder_ = testsupport::makeTempDirectory("qv-e2e-bad-input");
        service_.reset(new ServiceProcess());
        ASSERT_TRUE(service_->connect());
    }

    void TearDown() override {
        if (service_) {
            EXPECT_EQ(service_->close(), 0) << service_->stderrText();
        }
        testsupport::runCommand("rm -rf '" + folder_ + "'");
    }

    std::string send(uint16_t type, const std::string& body) {
        tgMessageHead head;
        head.type = type;
        head.length = static_cast<uint32_t>(body.size());
        PipeReply reply;
        return service_->client().request(head, body, &reply) ? reply.body : std::string();
    }

    std::string command(const std::string& name, const std::string& content) {
        return makeRequestBody("1", name, content);
    }

    std::string folder_;
    std::unique_ptr<ServiceProcess> service_;
};

TEST_F(FrameworkBadInput, EachBadRequestGetsItsAnswerAndTheServiceGoesOn) {
    std::string notXml = folder_ + "/not_xml.xml";
    std::string wrongRoot = folder_ + "/wrong_root.xml";
    testsupport::runCommand("printf 'this is not xml' > '" + notXml + "'");
    testsupport::runCommand("printf '<mlt><Clips/></mlt>' > '" + wrongRoot + "'");
    const std::string missingFolder = folder_ + "/no/such/folder/project.xml";

    const BadRequest requests[] = {
        {"unknown command", kCommandMessage, command("NO_SUCH_COMMAND", "{}"), kFalseText},
        {"lower-case name", kCommandMessage, command("add_track", "{}"), kFalseText},
        {"track without fields", kCommandMessage, command("ADD_TRACK", "{}"), kFalseText},
        {"track id as a number", kCommandMessage,
         command("ADD_TRACK", R"({"ID":5,"Type":"composite"})"), kFalseText},
        {"delete of an unknown track", kCommandMessage,
         command("DELETE_CLIP", R"({"TrackID":"Nowhere","ClipID":"c1"})"), kFalseText},
        {"unknown transition", kCommandMessage,
         command("DELETE_TRANSITION", R"({"TransitionID":"none"})"), kFalseText},
        {"filter on an unknown track", kCommandMessage,
         command("ALTER_FILTER", R"({"ID":"f","FilterID":"f","Title":"greyscale",)"
                                 R"("TrackID":"Nowhere"})"),
         kFalseText},
        {"content that is a string", kCommandMessage,
         R"({"ID":"1","Action":[{"Command":"ADD_TRACK","Content":"Track0"}]})", kFalseText},
        {"action entry that is a number", kCommandMessage, R"({"ID":"1","Action":[5]})",
         kFalseText},
        {"action that is an object", kCommandMessage, R"({"ID":"1","Action":{}})", kTrueText},
        {"batch of unknown commands", kCommandMessage,
         R"({"ID":"1","Action":[{"Command":"X"},{"Command":7}]})", kTrueText},
        {"project file that is not XML", kCommandMessage,
         command("LOAD_PROJECT", R"({"FileName":")" + notXml + "\"}"), kFalseText},
        {"project file with the wrong root", kCommandMessage,
         command("LOAD_PROJECT", R"({"FileName":")" + wrongRoot + "\"}"), kFalseText},
        {"project file that does not exist", kCommandMessage,
         command("LOAD_PROJECT", R"({"FileName":")" + missingFolder + "\"}"), kFalseText},
        {"project file name as a number", kCommandMessage,
         command("LOAD_PROJECT", R"({"FileName":5})"), kFalseText},
        // Saving answers true whether or not the file could be written.
        {"project saved into a missing folder", kCommandMessage,
         command("SAVE_PROJECT", R"({"FileName":")" + missingFolder + "\"}"), kTrueText},
        {"open movie with a text width", kCommandMessage,
         command("OPEN_MOVIE", R"({"Profile":"","Width":"800","Height":450,"WindowID":0})"),
         kFalseText},
        {"hardware decoding as a bool", kCommandMessage,
         command("HW_DECODE_ACCEL_ENABLE", R"({"Enable":true})"), kFalseText},
        {"batch clip that is an object", kCommandMessage, command("ADD_BATCH_CLIP", "{}"),
         kTrueText},
        {"batch deletion of unknown types", kCommandMessage,
         command("DELETE_BATCH_TRANSCLIP", R"([{"Type":9},{"Type":"1"},5])"), kTrueText},
        {"control with missing fields", kControlMessage, command("PRE_PLAY", "{}"), kTrueText},
        {"snapshot into a missing folder", kControlMessage,
         command("PRE_SNAP_PIC", R"({"FileName":"/nonexistent.mp4","Position":0,"OutFile":")" +
                                     missingFolder + ".jpg\"}"),
         kTrueText},
        {"thumbnails with positions of every kind", kControlMessage,
         command("PRE_VIDEO_THUMB", R"({"FileName":"/nonexistent.mp4","Position":[1,"x",null],)"
                                    R"("OutDir":")" +
                                        folder_ + "/no/such\"}"),
         kTrueText},
        {"export without a preview or a document", kControlMessage,
         command("EXPORT_MOVIE", R"({"FileName":")" + folder_ + R"(/no/such/out.mp4"})"),
         kTrueText},
        {"unknown control", kControlMessage, command("PRE_NOTHING", "{}"), kTrueText},
    };
    for (const BadRequest& request : requests) {
        EXPECT_EQ(send(request.type, request.body), request.answer) << request.what;
        ASSERT_EQ(service_->commandResult("PRE_GETFPS"), "0.0") << "after " << request.what;
    }
    EXPECT_FALSE(testsupport::fileExists(missingFolder));
}

TEST_F(FrameworkBadInput, FailedLoadLeavesAnEmptyProject) {
    std::string project = folder_ + "/project.xml";
    std::string wrongRoot = folder_ + "/wrong_root.xml";
    testsupport::runCommand("printf '<mlt/>' > '" + wrongRoot + "'");
    ASSERT_EQ(service_->commandResult("ADD_TRACK", R"({"ID":"Track0","Type":"composite"})"),
              "true");
    EXPECT_EQ(service_->commandResult("LOAD_PROJECT", R"({"FileName":")" + wrongRoot + "\"}"),
              "false");
    EXPECT_EQ(service_->commandResult("SAVE_PROJECT", R"({"FileName":")" + project + "\"}"),
              "true");
    EXPECT_EQ(testsupport::readFile(project),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Quillavant/>\n");
}

TEST_F(FrameworkBadInput, SavedGraphWithoutPreviewStillAnswersItsPath) {
    std::string answer = service_->commandResult("SAVE_MLT_FILE");
    EXPECT_EQ(answer.front(), '"');
    EXPECT_NE(answer.find("/temp_"), std::string::npos) << answer;
    EXPECT_EQ(service_->commandResult("PRE_GETFPS"), "0.0");
}

}  // namespace
