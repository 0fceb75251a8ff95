// Which requests the framework keeps in the service's journal: every message
// that changes the project or its history, with the project files it saves
// or loads marked, and nothing else. Keeping them changes no answer.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "client/pipe_client.h"
#include "framework/quillavant_framework.h"
#include "journal/edit_journal.h"
#include "journal/journal_reader.h"
#include "support/model_fixtures.h"
#include "support/test_media.h"

namespace {

using journal::RecordKind;

class JournaledEditTest : public ::testing::Test {
  protected:
    void SetUp() override {
        modeltest::loadTestCatalogue();
        dir_ = testsupport::makeTempDirectory("qv-journaled-edit");
        journal_ = std::make_unique<journal::EditJournal>(
            "pipe", journal::JournalSettings{true, dir_ + "/recovery"});
        journaled_.setJournal(journal_.get());
    }
    void TearDown() override {
        journaled_.setJournal(nullptr);
        journaled_.player().closeConsumer();
        plain_.player().closeConsumer();
        std::filesystem::remove_all(dir_);
    }

    // Sends body to both frameworks and checks they answer alike.
    void send(const std::string& body) {
        EXPECT_EQ(journaled_.runCommandMessage(body), plain_.runCommandMessage(body)) << body;
    }

    std::string file(const std::string& name) const { return "\"" + dir_ + "/" + name + "\""; }

    std::string dir_;
    CQuillavantFramework journaled_;
    CQuillavantFramework plain_;
    std::unique_ptr<journal::EditJournal> journal_;
};

std::string message(const std::string& name, const std::string& content = "{}") {
    return makeRequestBody("1", name, content);
}

TEST_F(JournaledEditTest, KeepsWhatChangesTheProjectAndMarksItsProjectFiles) {
    std::filesystem::create_directory(dir_ + "/folder");
    const std::string track = R"({"ID":"Track0","Type":"composite","Main":true})";
    const std::string clip = R"({"ID":"c1","TrackID":"Track0","Index":-1,"MltService":"avformat",)"
                             R"("Resource":"/nonexistent.mp4","In":"0","Out":"24"})";
    const std::string saveHere = "{\"FileName\":" + file("saved.xml") + "}";
    const struct {
        std::string body;
        std::optional<RecordKind> kept;
    } cases[] = {
        {message("PRE_GETFPS"), std::nullopt},
        {message("GET_MLT_FILE"), std::nullopt},
        {message("NO_SUCH_COMMAND"), std::nullopt},
        {message("UPDATE_TEXTFILTER", R"({"FileName":"a"})"), std::nullopt},
        {message("ADD_TRACK", track), RecordKind::Edit},
        {message("ADD_CLIP", clip), RecordKind::Edit},
        {message("ADD_COMPOSE_CLIP", R"({"ID":"c2","TrackID":"Track0","Index":-1})"),
         RecordKind::Edit},
        {message("UNDO_LAST_ACTION"), RecordKind::Edit},
        {message("REDO_LAST_ACTION"), RecordKind::Edit},
        {message("DELETE_BATCH_TRANSCLIP", "[]"), RecordKind::Edit},
        {R"({"ID":"b","Action":[]})", RecordKind::Edit},
        {"{", RecordKind::Edit},
        {message("SAVE_PROJECT", saveHere), RecordKind::EditSavingProject},
        {message("SAVE_PROJECT"), RecordKind::Edit},
        {message("LOAD_PROJECT", saveHere), RecordKind::EditLoadingProject},
        {message("LOAD_PROJECT", "{\"FileName\":" + file("missing.xml") + "}"),
         RecordKind::EditLoadingUnkeptProject},
        {message("LOAD_PROJECT", "{\"FileName\":" + file("folder") + "}"),
         RecordKind::EditLoadingUnkeptProject},
        {message("LOAD_PROJECT", R"({"FileName":7})"), RecordKind::Edit},
        {R"({"ID":"b","Action":[{"Command":"SAVE_PROJECT","Content":)" + saveHere +
             R"(},{"Command":"LOAD_PROJECT","Content":)" + saveHere + "}]}",
         RecordKind::Edit},
        {message("CLEAR_PROJECT"), RecordKind::Edit},
    };
    std::vector<RecordKind> expected;
    for (const auto& c : cases) {
        send(c.body);
        if (c.kept) {
            expected.push_back(*c.kept);
        }
    }
    EXPECT_EQ(journaled_.runControlMessage(message("PRE_PAUSE")),
              plain_.runControlMessage(message("PRE_PAUSE")));

    const journal::JournalContents contents = journal::readJournal(journal_->path());
    std::vector<RecordKind> kinds;
    std::vector<std::string> bodies;
    for (const journal::JournalEntry& entry : contents.entries) {
        kinds.push_back(entry.kind);
        bodies.push_back(entry.body);
    }
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(bodies.front(), message("ADD_TRACK", track));
    // The load kept the document as the save before it wrote it.
    const auto load = std::find_if(contents.entries.begin(), contents.entries.end(),
                                   [](const journal::JournalEntry& entry) {
                                       return entry.kind == RecordKind::EditLoadingProject;
                                   });
    ASSERT_NE(load, contents.entries.end());
    ASSERT_TRUE(journal::extractDocument(journal_->path(), *load, dir_ + "/kept.xml"));
    EXPECT_EQ(testsupport::readFile(dir_ + "/kept.xml"),
              testsupport::readFile(dir_ + "/saved.xml"));
}

}  // namespace
