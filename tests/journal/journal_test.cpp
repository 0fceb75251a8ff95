// The edit journal on its own: where it lives and what it is called, the
// records it writes and reads back, when it goes away, and how a reader
// copes with every way a journal can be cut off or damaged.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "journal/edit_journal.h"
#include "journal/journal_location.h"
#include "journal/journal_reader.h"
#include "journal/journal_writer.h"
#include "journal/sync_worker.h"
#include "support/test_media.h"

namespace {

using journal::ProjectFileUse;
using journal::RecordKind;

std::string readBytes(const std::string& path) {
    return testsupport::readFile(path);
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

std::string commandBody(const std::string& name, const std::string& content = "{}") {
    return R"({"ID":"1","Action":[{"Command":")" + name + R"(","Content":)" + content + "}]}";
}

tgMessageHead commandHead(uint16_t userWord) {
    tgMessageHead head;
    head.type = kCommandMessage;
    head.userWord1 = userWord;
    head.userWord2 = static_cast<uint16_t>(userWord + 1);
    return head;
}

// Sets environment variables for its lifetime and puts back what was there.
class EnvironmentScope {
  public:
    void set(const char* name, const char* value) {
        const char* old = std::getenv(name);
        saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~EnvironmentScope() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            it->second ? ::setenv(it->first.c_str(), it->second->c_str(), 1)
                       : ::unsetenv(it->first.c_str());
        }
    }

  private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

class JournalTest : public ::testing::Test {
  protected:
    void SetUp() override { dir_ = testsupport::makeTempDirectory("qv-journal"); }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    journal::JournalSettings settings() const { return {true, dir_ + "/state/recovery"}; }

    // One edit through the journal, as the framework brackets a request.
    static void edit(journal::EditJournal& journal, const std::string& body,
                     ProjectFileUse use = ProjectFileUse::None, const std::string& file = "",
                     bool written = false, uint16_t userWord = 0) {
        journal::EditRequest request(commandHead(userWord), body);
        request.fileUse = use;
        request.projectFile = file;
        journal.begin(request);
        journal.finish(written);
    }

    std::string dir_;
};

TEST(JournalLocation, FollowsTheOverrideThenXdgThenTheHomeFolder) {
    const struct {
        const char* recoveryDir;
        const char* stateHome;
        const char* expected;
    } cases[] = {
        {"/custom/place", "/state", "/custom/place"},
        {nullptr, "/state", "/state/quillavant/recovery"},
        {"", "/state", "/state/quillavant/recovery"},
        {nullptr, "relative/state", "/home/someone/.local/state/quillavant/recovery"},
        {nullptr, nullptr, "/home/someone/.local/state/quillavant/recovery"},
    };
    for (const auto& c : cases) {
        EnvironmentScope environment;
        environment.set("HOME", "/home/someone");
        environment.set("QUILLAVANT_RECOVERY_DIR", c.recoveryDir);
        environment.set("XDG_STATE_HOME", c.stateHome);
        EXPECT_EQ(journal::recoveryFolder(), c.expected)
            << (c.recoveryDir ? c.recoveryDir : "-") << " " << (c.stateHome ? c.stateHome : "-");
    }
    EnvironmentScope environment;
    environment.set("QUILLAVANT_JOURNAL", "off");
    EXPECT_FALSE(journal::journalEnabled());
    environment.set("QUILLAVANT_JOURNAL", "on");
    EXPECT_TRUE(journal::journalEnabled());
}

TEST_F(JournalTest, ReadsBackEveryEditWithTheDocumentsItLoaded) {
    const std::string document = dir_ + "/project.xml";
    // Larger than the space written ahead, so the record grows the file.
    std::string large(3u << 20, 'x');
    large.replace(0, 12, "<Quillavant>");
    writeBytes(document, large);
    std::filesystem::create_directory(dir_ + "/folder");
    const struct {
        std::string body;
        ProjectFileUse use;
        std::string file;
        RecordKind kind;
        std::string note;
    } edits[] = {
        {commandBody("ADD_TRACK"), ProjectFileUse::None, "", RecordKind::Edit, ""},
        {commandBody("SAVE_PROJECT"), ProjectFileUse::Saves, "", RecordKind::EditSavingProject, ""},
        {commandBody("LOAD_PROJECT"), ProjectFileUse::Loads, document,
         RecordKind::EditLoadingProject, ""},
        {commandBody("LOAD_PROJECT"), ProjectFileUse::Loads, dir_ + "/missing.xml",
         RecordKind::EditLoadingUnkeptProject, "no such file"},
        {commandBody("LOAD_PROJECT"), ProjectFileUse::Loads, dir_ + "/folder",
         RecordKind::EditLoadingUnkeptProject, "not a regular file"},
        {std::string("{\"ID\":\"\xC3\xA9\",\"Action\":[]}"), ProjectFileUse::None, "",
         RecordKind::Edit, ""},
    };
    journal::EditJournal journal("pipe", settings());
    uint16_t userWord = 7;
    for (const auto& e : edits) {
        edit(journal, e.body, e.use, e.file, false, userWord++);
    }
    EXPECT_EQ(journal.edits(), 6);
    const std::string path = journal.path();
    ASSERT_EQ(path, settings().folder + "/" + journal::journalFileName("pipe", getpid()));

    const journal::JournalContents contents = journal::readJournal(path);
    EXPECT_TRUE(contents.isJournal);
    EXPECT_TRUE(contents.problems.empty());
    EXPECT_EQ(contents.service.pipeName, "pipe");
    EXPECT_EQ(contents.service.processId, getpid());
    EXPECT_EQ(contents.service.started.size(), 19u);
    ASSERT_EQ(contents.entries.size(), 6u);
    for (size_t i = 0; i < contents.entries.size(); ++i) {
        const journal::JournalEntry& entry = contents.entries[i];
        SCOPED_TRACE(i);
        EXPECT_EQ(entry.kind, edits[i].kind);
        EXPECT_EQ(entry.body, edits[i].body);
        EXPECT_EQ(entry.head.userWord1, 7 + i);
        EXPECT_EQ(entry.head.userWord2, 8 + i);
        EXPECT_EQ(entry.head.length, edits[i].body.size());
        EXPECT_EQ(entry.note, edits[i].note);
    }
    ASSERT_TRUE(journal::extractDocument(path, contents.entries[2], dir_ + "/copy.xml"));
    EXPECT_TRUE(readBytes(dir_ + "/copy.xml") == large);
    // The service that wrote it still holds it.
    journal.endService();
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(JournalTest, IsRemovedOnlyWhenTheLastEditSavedTheProject) {
    // Each edit: what it does with a project file and whether a save wrote it.
    using Edit = std::pair<ProjectFileUse, bool>;
    const Edit plain{ProjectFileUse::None, false};
    const Edit saved{ProjectFileUse::Saves, true};
    const Edit unwritten{ProjectFileUse::Saves, false};
    const Edit loaded{ProjectFileUse::Loads, false};
    const struct {
        const char* name;
        std::vector<Edit> edits;
        bool kept;
    } cases[] = {
        {"no edit", {}, false},
        {"edits", {plain, plain}, true},
        {"edits, then a save", {plain, saved}, false},
        {"a save, then an edit", {saved, plain}, true},
        {"a save that was not written", {plain, unwritten}, true},
        {"a save, then a load", {saved, loaded}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove_all(settings().folder);
        std::string path;
        {
            journal::EditJournal journal("pipe", settings());
            for (const Edit& e : c.edits) {
                edit(journal, commandBody("ANY"), e.first, dir_ + "/none.xml", e.second);
            }
            path = journal.path();
            journal.endService();
        }
        EXPECT_EQ(journal::journalsIn(settings().folder).size(), c.kept ? 1u : 0u);
        EXPECT_EQ(!path.empty() && std::filesystem::exists(path), c.kept);
    }
}

TEST_F(JournalTest, MakesItsFolderAndFilePrivateAndNeverOverwritesAnOlderJournal) {
    const std::string folder = settings().folder;
    ASSERT_TRUE(std::filesystem::create_directories(folder));
    const std::string older = folder + "/" + journal::journalFileName("pipe", getpid());
    writeBytes(older, "left by a process with the same id before a reboot");
    journal::EditJournal journal("pipe", settings());
    edit(journal, commandBody("ADD_TRACK"));
    EXPECT_EQ(journal.path(), folder + "/" + journal::journalFileName("pipe", getpid(), 1));
    EXPECT_EQ(readBytes(older), "left by a process with the same id before a reboot");
    struct stat file {};
    ASSERT_EQ(::stat(journal.path().c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777, 0600u);

    std::filesystem::remove_all(dir_ + "/state");
    journal::EditJournal fresh("pipe", settings());
    edit(fresh, commandBody("ADD_TRACK"));
    struct stat made {};
    ASSERT_EQ(::stat((dir_ + "/state").c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 0777, 0700u);
}

TEST_F(JournalTest, AJournalThatCannotBeWrittenLeavesTheEditsAlone) {
    writeBytes(dir_ + "/file", "a file where the folder should be");
    const journal::JournalSettings cases[] = {
        {true, dir_ + "/file/recovery"},  // the folder cannot be made
        {false, dir_ + "/off"},           // switched off
    };
    for (const auto& settings : cases) {
        journal::EditJournal journal("pipe", settings);
        edit(journal, commandBody("ADD_TRACK"));
        edit(journal, commandBody("SAVE_PROJECT"), ProjectFileUse::Saves, "", true);
        EXPECT_EQ(journal.path(), "");
        EXPECT_EQ(journal.edits(), 0);
        journal.endService();
    }
    EXPECT_FALSE(std::filesystem::exists(dir_ + "/off"));
}

TEST(SyncWorker, WaitsForASyncStartedAfterTheRequestAndReportsFailuresOnce) {
    std::atomic<int> syncs{0};
    std::atomic<bool> succeed{true};
    journal::SyncWorker worker([&] {
        ++syncs;
        return succeed.load();
    });
    EXPECT_TRUE(worker.wait());
    EXPECT_EQ(syncs, 0);
    worker.request();
    EXPECT_TRUE(worker.wait());
    EXPECT_EQ(syncs, 1);
    succeed = false;
    worker.request();
    EXPECT_FALSE(worker.wait());
    EXPECT_TRUE(worker.wait());
}

}  // namespace
