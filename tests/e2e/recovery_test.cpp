// Crash-safe editing through the real host. A service killed in the middle of
// a random editing session leaves a journal from which quillavant-cli
// --recover rebuilds the very project its twin, which lived on, saves, and
// replaying it rebuilds the undo history too. Only an orderly end after a
// save removes the journal. A damaged journal recovers what it can.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "client/journal_replay.h"
#include "journal/journal_location.h"
#include "journal/journal_reader.h"
#include "journal/journal_writer.h"
#include "support/random_editor.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::RandomEditor;
using testsupport::ServiceProcess;

namespace {

constexpr int kRandomRequests = 300;
constexpr int kHistorySteps = 10;
constexpr char kJournalOff[] = "QUILLAVANT_JOURNAL=off";

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

std::string fileNameContent(const std::string& path) {
    return "{\"FileName\":" + q(path) + "}";
}

// Runs quillavant-cli with arguments; output receives what it printed.
int runCli(const std::string& arguments, std::string* output) {
    return testsupport::runCommand(
        testsupport::binaryPath("quillavant-cli") + " " + arguments + " 2>&1", output);
}

int recover(const std::string& journal, const std::string& out, std::string* output) {
    return runCli("--recover '" + journal + "' --save '" + out + "'", output);
}

// The one journal a service left in folder ("" when there is none).
std::string onlyJournal(const std::string& folder) {
    const std::vector<std::string> journals = journal::journalsIn(folder);
    EXPECT_LE(journals.size(), 1u);
    return journals.empty() ? std::string() : journals.front();
}

void killService(ServiceProcess& service) {
    ::kill(service.pid(), SIGKILL);
    EXPECT_EQ(service.waitForExit(), -1);
}

std::string savedProject(ServiceProcess& service, const std::string& path) {
    EXPECT_EQ(service.commandResult("SAVE_PROJECT", fileNameContent(path)), "true");
    return testsupport::readFile(path);
}

// Two services fed the same random session, each saving and loading project
// files in a folder of its own. The kept one runs without a journal, so equal
// answers also show that the journal changes none.
class TwinSessions {
  public:
    TwinSessions(unsigned seed, const std::string& directory)
        : kept_(kJournalOff),
          lostEditor_(seed, directory + "/lost"),
          keptEditor_(seed, directory + "/kept"),
          directory_(directory) {
        testsupport::runCommand("mkdir -p '" + directory + "/lost' '" + directory + "/kept'");
    }

    bool connect() { return lost_.connect() && kept_.connect(); }
    ServiceProcess& lost() { return lost_; }
    ServiceProcess& kept() { return kept_; }

    // The random session, with a save of each project midway.
    void run(int requests) {
        for (int i = 0; i < requests; ++i) {
            if (i == requests / 2) {
                savedProject(lost_, directory_ + "/lost/midway.xml");
                savedProject(kept_, directory_ + "/kept/midway.xml");
            }
            auto [type, lostBody] = lostEditor_.next();
            std::string keptBody = keptEditor_.next().second;
            ASSERT_EQ(send(lost_, type, lostBody), send(kept_, type, keptBody)) << lostBody;
        }
    }

  private:
    static std::string send(ServiceProcess& service, uint16_t type, const std::string& body) {
        tgMessageHead head;
        head.type = type;
        head.length = static_cast<uint32_t>(body.size());
        PipeReply reply;
        EXPECT_TRUE(service.client().request(head, body, &reply)) << body;
        return reply.body;
    }

    ServiceProcess lost_;
    ServiceProcess kept_;
    RandomEditor lostEditor_;
    RandomEditor keptEditor_;
    std::string directory_;
};

TEST(Recovery, AKilledServiceComesBackAsTheProjectAndHistoryItsTwinKept) {
    const struct {
        const char* name;
        // Whether a request is on its way to the service when it dies: it may
        // or may not have reached the journal, and its twin follows suit.
        bool requestInFlight;
    } cases[] = {{"killed between requests", false}, {"killed with a request in flight", true}};
    unsigned seed = 20261125u;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string dir = testsupport::makeTempDirectory("qv-recovery");
        TwinSessions twins(seed++, dir);
        ASSERT_TRUE(twins.connect());
        twins.run(kRandomRequests);
        const std::string inFlight = R"({"ID":"late","Action":[{"Command":"ADD_TRACK",)"
                                     R"("Content":{"ID":"LateTrack","Type":"audio"}}]})";
        if (c.requestInFlight) {
            tgMessageHead head;
            head.type = kCommandMessage;
            head.length = static_cast<uint32_t>(inFlight.size());
            unsigned char bytes[kMessageHeadSize];
            encodeMessageHead(head, bytes);
            twins.lost().client().writeBytes(bytes, sizeof(bytes));
            twins.lost().client().writeBytes(inFlight.data(), inFlight.size());
        }
        killService(twins.lost());

        const std::string journalPath = onlyJournal(twins.lost().recoveryFolder());
        ASSERT_FALSE(journalPath.empty());
        const journal::JournalContents contents = journal::readJournal(journalPath);
        EXPECT_FALSE(contents.isDamaged());
        if (!contents.entries.empty() && contents.entries.back().body == inFlight) {
            twins.kept().commandResult("ADD_TRACK", R"({"ID":"LateTrack","Type":"audio"})");
        }

        std::string output;
        EXPECT_EQ(recover(journalPath, dir + "/recovered.xml", &output), 0) << output;
        const std::string expected = savedProject(twins.kept(), dir + "/kept-final.xml");
        ASSERT_GT(expected.size(), 40u);
        EXPECT_EQ(testsupport::readFile(dir + "/recovered.xml"), expected);

        // Replayed into a service that goes on, the journal steps back and
        // forth through the same history as the twin.
        ServiceProcess replayed(kJournalOff);
        ASSERT_TRUE(replayed.connect());
        JournalReplay replay(journalPath, contents.entries, dir);
        EXPECT_EQ(replay.replay(replayed.client()).stoppedAt, -1);
        EXPECT_EQ(savedProject(replayed, dir + "/replayed-final.xml"), expected);
        for (int step = 0; step < kHistorySteps; ++step) {
            SCOPED_TRACE(step);
            const char* command =
                step < kHistorySteps * 2 / 3 ? "UNDO_LAST_ACTION" : "REDO_LAST_ACTION";
            EXPECT_EQ(replayed.commandResult(command), twins.kept().commandResult(command));
            EXPECT_EQ(savedProject(replayed, dir + "/replayed.xml"),
                      savedProject(twins.kept(), dir + "/kept.xml"));
        }
        EXPECT_EQ(replayed.close(), 0);
        EXPECT_EQ(twins.kept().close(), 0);
        testsupport::runCommand("rm -rf '" + dir + "'");
    }
}

TEST(Recovery, OnlyAnOrderlyEndAfterASaveRemovesTheJournal) {
    enum class End { Close, Vanish, Kill };
    const struct {
        const char* name;
        std::vector<const char*> steps;  // E edit, Q query, S save, F failed save, U undo
        End end;
        bool leavesJournal;
    } cases[] = {
        {"queries only", {"Q", "Q"}, End::Close, false},
        {"edited, saved, closed", {"E", "E", "S", "Q"}, End::Close, false},
        {"edited, saved, client vanished", {"E", "S"}, End::Vanish, false},
        {"edited, saved, edited again", {"E", "S", "E"}, End::Close, true},
        {"edited, saved, undone", {"E", "E", "S", "U"}, End::Close, true},
        {"edited, saved where it cannot be written", {"E", "F"}, End::Close, true},
        {"edited, closed", {"E"}, End::Close, true},
        {"edited, client vanished", {"E"}, End::Vanish, true},
        {"edited, saved, killed", {"E", "S"}, End::Kill, true},
    };
    const std::string dir = testsupport::makeTempDirectory("qv-journal-end");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ServiceProcess service("QUILLAVANT_RECOVERY_DIR=" + dir + "/state/recovery");
        ASSERT_TRUE(service.connect());
        const pid_t pid = service.pid();
        int edits = 0;
        for (const std::string step : c.steps) {
            if (step == "E") {
                service.commandResult("ADD_TRACK", "{\"ID\":\"T" + std::to_string(edits++) +
                                                       "\",\"Type\":\"audio\"}");
            } else if (step == "Q") {
                service.commandResult("PRE_GETFPS");
            } else if (step == "S") {
                savedProject(service, dir + "/saved.xml");
            } else if (step == "F") {
                savedProject(service, dir + "/no/such/folder/saved.xml");
            } else {
                service.commandResult("UNDO_LAST_ACTION");
            }
        }
        if (c.end == End::Close) {
            EXPECT_EQ(service.close(), 0);
        } else if (c.end == End::Vanish) {
            service.client().disconnect();
            EXPECT_EQ(service.waitForExit(), 0);
        } else {
            killService(service);
        }
        const std::string journalPath = onlyJournal(dir + "/state/recovery");
        EXPECT_EQ(!journalPath.empty(), c.leavesJournal) << journalPath;
        if (journalPath.empty()) {
            continue;
        }
        // Named after its pipe and process, private to the user, in a folder
        // made private to the user.
        const std::string name = service.pipeName() + "." + std::to_string(pid);
        EXPECT_NE(journalPath.find("/" + name + ".journal"), std::string::npos) << journalPath;
        struct stat file {};
        struct stat folder {};
        ASSERT_EQ(stat(journalPath.c_str(), &file), 0);
        ASSERT_EQ(stat((dir + "/state").c_str(), &folder), 0);
        EXPECT_EQ(file.st_mode & 0777, 0600u);
        EXPECT_EQ(folder.st_mode & 0777, 0700u);
        EXPECT_EQ(journal::readJournal(journalPath).entries.size(),
                  c.steps.size() - std::count(c.steps.begin(), c.steps.end(), std::string("Q")));
        std::remove(journalPath.c_str());
    }
    testsupport::runCommand("rm -rf '" + dir + "'");
}

// A real journal, left by a killed service, of a session on clips whose media
// the test made; then copies of it damaged in the ways a crash, a bad disk or
// a user can damage one.
class DamagedJournals : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = testsupport::makeTempDirectory("qv-damaged");
        gone_ = dir_ + "/gone.mp4";
        testsupport::runCommand("cp '" + testsupport::colourBarsWithTone(2) + "' '" + gone_ + "'");
        ServiceProcess service;
        ASSERT_TRUE(service.connect());
        service.commandResult("ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})");
        addClip(service, "first", gone_);
        addClip(service, "second", testsupport::colourBarsWithTone(2));
        addClip(service, "third", testsupport::colourBarsWithTone(2));
        killService(service);
        journal_ = onlyJournal(service.recoveryFolder());
        ASSERT_FALSE(journal_.empty());
        bytes_ = testsupport::readFile(journal_);
        entries_ = journal::readJournal(journal_).entries;
        ASSERT_EQ(entries_.size(), 4u);
        std::remove(gone_.c_str());
    }
    void TearDown() override { testsupport::runCommand("rm -rf '" + dir_ + "'"); }

    static void addClip(ServiceProcess& service, const std::string& id, const std::string& media) {
        service.commandResult("ADD_CLIP", R"({"TrackID":"Track0","ID":)" + q(id) +
                                              R"(,"MltService":"avformat","Resource":)" + q(media) +
                                              R"(,"In":"0","Out":"24","Index":-1})");
    }

    // Where the body of entry index lies in the journal file.
    size_t bodyOffset(size_t index) const {
        return static_cast<size_t>(entries_[index].offset) + 16 + kMessageHeadSize;
    }

    std::string write(const std::string& name, const std::string& bytes) const {
        const std::string path = dir_ + "/" + name + ".journal";
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    std::string dir_;
    std::string gone_;
    std::string journal_;
    std::string bytes_;
    std::vector<journal::JournalEntry> entries_;
};

TEST_F(DamagedJournals, RecoverWhatCanBeReadSayWhatWasSkippedAndStillSave) {
    std::string torn = bytes_.substr(0, bodyOffset(3) + 10);
    std::string corrupt = bytes_;
    corrupt[bodyOffset(2) + 20] ^= 0x55;
    std::string foreign = bytes_;
    foreign.replace(0, 8, "NOTAJRNL");
    const struct {
        const char* name;
        std::string bytes;
        int exitCode;
        std::vector<std::string> said;
        std::vector<std::string> kept;     // clips in the recovered project
        std::vector<std::string> dropped;  // clips not in it
    } cases[] = {
        {"whole, with media gone",
         bytes_,
         0,
         {"recovered 4 of 4 edits", "no longer exist: " + gone_},
         {"first", "second", "third"},
         {}},
        {"the last entry cut off",
         torn,
         0,
         {"warning: the last entry", "cut off", "recovered 3 of 3 edits"},
         {"first", "second"},
         {"third"}},
        {"an entry in the middle corrupt",
         corrupt,
         5,
         {"damaged journal:", "skipped", "recovered 3 of 3 edits"},
         {"first", "third"},
         {"second"}},
        {"not a journal", foreign, 6, {"is not an edit journal"}, {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string out = dir_ + "/out.xml";
        std::remove(out.c_str());
        std::string output;
        EXPECT_EQ(recover(write("case", c.bytes), out, &output), c.exitCode) << output;
        for (const std::string& text : c.said) {
            EXPECT_NE(output.find(text), std::string::npos) << text << "\n" << output;
        }
        const std::string project = testsupport::readFile(out);
        EXPECT_EQ(testsupport::fileExists(out), c.exitCode != 6);
        for (const std::string& id : c.kept) {
            EXPECT_NE(project.find("<ID>" + id + "</ID>"), std::string::npos) << id;
        }
        for (const std::string& id : c.dropped) {
            EXPECT_EQ(project.find("<ID>" + id + "</ID>"), std::string::npos) << id;
        }
    }
}

TEST(Recovery, ListsJournalsWithTheirPipeEditsAndWhetherTheirServiceRuns) {
    const std::string dir = testsupport::makeTempDirectory("qv-list");
    const std::string environment = "QUILLAVANT_RECOVERY_DIR=" + dir;
    std::string output;
    ServiceProcess service(environment);
    ASSERT_TRUE(service.connect());
    for (const char* id : {"A", "B", "C"}) {
        service.commandResult("ADD_TRACK",
                              std::string("{\"ID\":\"") + id + "\",\"Type\":\"audio\"}");
    }
    auto listed = [&] {
        EXPECT_EQ(
            testsupport::runCommand(environment + " " + testsupport::binaryPath("quillavant-cli") +
                                        " --list-recoverable",
                                    &output),
            0);
        return output;
    };
    const std::string line = service.pipeName() + " ";
    EXPECT_NE(listed().find(line), std::string::npos) << output;
    EXPECT_NE(output.find(std::to_string(service.pid()) + "      3  " + dir), std::string::npos)
        << output;
    EXPECT_NE(output.find("(its service is running)"), std::string::npos) << output;
    killService(service);
    EXPECT_EQ(listed().find("(its service is running)"), std::string::npos) << output;
    EXPECT_NE(output.find(line), std::string::npos) << output;
    testsupport::runCommand("rm -rf '" + dir + "'");
    EXPECT_NE(listed().find("no recoverable edit journals in " + dir), std::string::npos) << output;
}

}  // namespace
