// A multi-track timeline built over the real socket: the answers each
// editing command gives, a project file that survives a save, clear, load
// and save unchanged byte for byte, and the document the preview plays,
// which MLT renders headless.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "support/display_xvfb.h"
#include "support/framework_timeline_script.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kTrueText[] = "{\n   \"ReturnResultString\" : true\n}\n";

class EditingTimeline : public ::testing::Test {
  protected:
    void startService() {
        folder_ = testsupport::makeTempDirectory("qv-e2e-editing");
        service_.reset(new ServiceProcess());
        ASSERT_TRUE(service_->connect());
        ASSERT_EQ(result("OPEN_MOVIE", R"({"Profile":"","Width":640,"Height":360,"WindowID":0,)"
                                       R"("CachePath":")" +
                                           folder_ + "\"}"),
                  "true");
    }

    void TearDown() override {
        if (service_) {
            EXPECT_EQ(service_->close(), 0) << service_->stderrText();
        }
        testsupport::runCommand("rm -rf '" + folder_ + "'");
    }

    std::string result(const std::string& name, const std::string& content = "") {
        return service_->commandResult(name, content);
    }

    void buildTimeline() {
        for (const frameworktest::ScriptStep& step : frameworktest::timelineScript(
                 testsupport::colourBarsWithTone(4), testsupport::toneWav(4), folder_)) {
            EXPECT_EQ(result(step.command, step.content), step.answer)
                << step.command << " " << step.content;
        }
    }

    std::string fileName(const std::string& path) { return R"({"FileName":")" + path + "\"}"; }

    // The single file in the folder whose name matches pattern, or "".
    std::string findFile(const std::string& pattern) {
        std::string listing;
        testsupport::runCommand("ls '" + folder_ + "'", &listing);
        std::regex form(pattern);
        std::smatch match;
        std::string found;
        size_t start = 0;
        while (start < listing.size()) {
            size_t end = listing.find('\n', start);
            std::string name = listing.substr(start, end - start);
            if (std::regex_match(name, match, form)) {
                found = folder_ + "/" + name;
            }
            start = end == std::string::npos ? listing.size() : end + 1;
        }
        return found;
    }

    // Renders the first eleven frames of a document with melt and counts
    // the video frames written.
    int renderedFrames(const std::string& document) {
        std::string movie = folder_ + "/render.mp4";
        std::string log = folder_ + "/melt.log";
        if (testsupport::runCommand("melt '" + document + "' out=10 -consumer avformat:'" + movie +
                                    "' > '" + log + "' 2>&1") != 0) {
            ADD_FAILURE() << testsupport::readFile(log);
            return -1;
        }
        std::string frames;
        testsupport::runCommand(
            "ffprobe -v error -count_frames -select_streams v:0 "
            "-show_entries stream=nb_read_frames -of csv=p=0 '" +
                movie + "'",
            &frames);
        return std::atoi(frames.c_str());
    }

    std::string folder_;
    std::unique_ptr<ServiceProcess> service_;
};

TEST_F(EditingTimeline, ProjectFileSurvivesSaveClearLoadAndSaveUnchanged) {
    startService();
    buildTimeline();
    std::string first = folder_ + "/first.xml";
    std::string second = folder_ + "/second.xml";
    std::string cleared = folder_ + "/cleared.xml";

    EXPECT_EQ(result("SAVE_PROJECT", fileName(first)), "true");
    EXPECT_EQ(result("CLEAR_PROJECT"), "true");
    EXPECT_EQ(result("SAVE_PROJECT", fileName(cleared)), "true");
    EXPECT_EQ(result("LOAD_PROJECT", fileName(first)), "true");
    EXPECT_EQ(result("SAVE_PROJECT", fileName(second)), "true");

    std::string saved = testsupport::readFile(first);
    ASSERT_FALSE(saved.empty());
    for (const char* part :
         {"<Clips>", "<ComposeClip>", "<Tracks type=\"composition\">", "<Tracks type=\"audio\">",
          "<Transitions>", "<Filters>", "<MultiFilter>", "<SubClip "}) {
        EXPECT_NE(saved.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(testsupport::readFile(second), saved);
    EXPECT_EQ(testsupport::readFile(cleared),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Quillavant/>\n");
}

TEST_F(EditingTimeline, UndoOverTheSocketStepsBackOverRecordedEdits) {
    startService();
    buildTimeline();
    std::string before = folder_ + "/before.xml";
    std::string after = folder_ + "/after.xml";
    EXPECT_EQ(result("SAVE_PROJECT", fileName(before)), "true");
    // Undo the save's own point, the multi-filter and the timeline filter.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(result("UNDO_LAST_ACTION"), "true");
    }
    EXPECT_EQ(result("SAVE_PROJECT", fileName(after)), "true");
    std::string undone = testsupport::readFile(after);
    EXPECT_EQ(undone.find("<ID>loud</ID>"), std::string::npos);
    EXPECT_NE(testsupport::readFile(before).find("<ID>loud</ID>"), std::string::npos);
}

TEST_F(EditingTimeline, PreviewDocumentAndSavedGraphRenderWithMelt) {
    ASSERT_FALSE(testsupport::ensureDisplay().empty());
    startService();
    buildTimeline();

    EXPECT_EQ(service_->control("PRE_PLAY", R"({"AutoPlay":false,"Position":0,"Width":640,)"
                                            R"("Height":360})"),
              kTrueText);
    std::string preview = findFile("temp_[0-9a-f-]{36}\\.xml");
    ASSERT_FALSE(preview.empty());
    EXPECT_EQ(result("GET_MLT_FILE"), "\"" + preview + "\"");
    EXPECT_EQ(result("PRE_GETTOTALFRAME"), "88");
    EXPECT_EQ(renderedFrames(preview), 11);

    // The running graph written back to a file in the cache, named as answered.
    std::string saved = result("SAVE_MLT_FILE");
    std::smatch match;
    std::string expected = "\"(" + folder_ + "/temp_[0-9a-f-]{36}\\.xml)\"";
    ASSERT_TRUE(std::regex_match(saved, match, std::regex(expected))) << saved;
    EXPECT_NE(match[1].str(), preview);
    EXPECT_TRUE(testsupport::fileExists(match[1].str()));
    EXPECT_EQ(renderedFrames(match[1].str()), 11);
}

TEST_F(EditingTimeline, WhilePreviewRunsLiveEditsAnswerThePlayerStep) {
    ASSERT_FALSE(testsupport::ensureDisplay().empty());
    startService();
    buildTimeline();
    ASSERT_EQ(service_->control("PRE_PLAY", R"({"AutoPlay":false,"Position":0,"Width":640,)"
                                            R"("Height":360})"),
              kTrueText);
    ASSERT_EQ(result("PRE_GETTOTALFRAME"), "88");

    EXPECT_EQ(result("ADD_CLIP", R"({"ID":"v3","TrackID":"Track1","Index":-1,"In":"0",)"
                                 R"("Out":"24","MltService":"avformat","Resource":")" +
                                     testsupport::colourBarsWithTone(4) + "\"}"),
              "true");
    // A filter change the model refuses never reaches the running graph, which
    // would have accepted it.
    EXPECT_EQ(result("ALTER_FILTER", R"({"ID":"loud","FilterID":"loud","Title":"volume",)"
                                     R"("TrackID":"Nowhere"})"),
              "false");
    EXPECT_EQ(result("ALTER_FILTER", R"({"ID":"loud","FilterID":"loud","Title":"volume",)"
                                     R"("TrackID":"maintractor","Property":{"level":"-6"}})"),
              "true");
}

}  // namespace
