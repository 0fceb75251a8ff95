// Ten thousand random but well-formed editing requests against one running
// service: every request is answered, and the project that results saves,
// loads and saves again to the same document.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

class RandomEditor {
public:
    RandomEditor(unsigned seed, std::string directory)
        : random_(seed), directory_(std::move(directory)) {}

    // One request: the header type and the JSON body.
    std::pair<uint16_t, std::string> next() {
        int choice = pick(100);
        if (choice < 6) {
            return batch();
        }
        if (choice < 8) {
            return {kCommandMessage, single("UNDO_LAST_ACTION", "{}")};
        }
        if (choice < 10) {
            return {kCommandMessage, single("REDO_LAST_ACTION", "{}")};
        }
        if (choice < 11) {
            return {kCommandMessage, single("SAVE_PROJECT", fileContent())};
        }
        if (choice < 12) {
            return {kCommandMessage, single("LOAD_PROJECT", fileContent())};
        }
        if (choice == 12 && pick(4) == 0) {
            return {kCommandMessage, single("CLEAR_PROJECT", "{}")};
        }
        if (choice < 16) {
            return {kControlMessage, single(pickOf({"PRE_SEEK", "PRE_PAUSE", "PRE_NEXT_FRAME",
                                                    "PRE_FASTORBACK", "PRE_VOLUME"}),
                                            R"({"Position":5,"Speed":2.0,"Volume":"0.5"})")};
        }
        if (choice < 19) {
            return {kCommandMessage, single(pickOf({"PRE_GETTOTALFRAME", "PRE_GETFPS",
                                                    "PRE_GETCURRENTPOS", "GET_MLT_FILE"}),
                                            "")};
        }
        std::string name;
        std::string content = editContent(&name);
        return {kCommandMessage, single(name, content)};
    }

private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    std::string pickOf(std::initializer_list<const char*> names) {
        std::vector<const char*> list(names);
        return list[static_cast<size_t>(pick(static_cast<int>(list.size())))];
    }
    std::string id(const char* prefix, int range) {
        return std::string(prefix) + std::to_string(pick(range));
    }
    std::string track() {
        return pickOf({"Track0", "Track1", "AudioTrack0", "AudioTrack1", "maintractor", "nope"});
    }
    std::string fileContent() {
        return R"({"FileName":")" + directory_ + "/soak" + std::to_string(pick(3)) + R"(.xml"})";
    }
    std::string single(const std::string& name, const std::string& content) {
        return R"({"ID":"s","Action":[{"Command":")" + name + R"(","Content":)" +
               (content.empty() ? "{}" : content) + "}]}";
    }
    std::pair<uint16_t, std::string> batch() {
        std::string body = R"({"ID":"b","Action":[)";
        int count = pick(4);
        for (int i = 0; i < count; ++i) {
            std::string name;
            std::string content = editContent(&name);
            body += std::string(i ? "," : "") + R"({"Command":")" + name + R"(","Content":)" +
                    content + "}";
        }
        return {kCommandMessage, body + "]}"};
    }

    std::string editContent(std::string* name) {
        std::string t = track();
        std::string clip = id("c", 40);
        std::string frames = std::to_string(pick(200));
        switch (pick(13)) {
            case 0:
                *name = "ADD_TRACK";
                return R"({"ID":")" + t + R"(","Type":")" +
                       pickOf({"composite", "video_only", "audio", "audio_only", "text"}) +
                       R"(","Main":)" + (t == "Track0" ? "true" : "false") + "}";
            case 1:
            case 2:
                *name = pick(3) ? "ADD_CLIP" : "ADD_COMPOSE_CLIP";
                return R"({"TrackID":")" + t + R"(","ID":")" + clip +
                       R"(","MltService":"avformat","Resource":"media/)" + clip +
                       R"(.mp4","In":"0","Out":")" + frames + R"(","Index":)" +
                       std::to_string(pick(6) - 1) + R"(,"BlankLength":")" +
                       std::to_string(pick(30)) + R"(","RepeatHead":")" + std::to_string(pick(3)) +
                       R"(","SubClips":[{"Name":"t1","Resource":"x","Profile":{"Width":64,"Height":36,"FrameRate":25.0}}]})";
            case 3:
                *name = pick(2) ? "ALTER_CLIP" : "ALTER_COMPOSE_CLIP";
                return R"({"TrackID":")" + t + R"(","ID":")" + clip +
                       R"(","MltService":"avformat","Resource":"media/other.mp4","In":"5","Out":")" +
                       frames + R"(","IndexOld":)" + std::to_string(pick(4) - 1) +
                       R"(,"IndexNew":)" + std::to_string(pick(4) - 1) + "}";
            case 4:
                *name = "DELETE_CLIP";
                return R"({"TrackID":")" + t + R"(","ClipID":")" + clip + R"(","Index":)" +
                       std::to_string(pick(4) - 1) + "}";
            case 5:
                *name = "DELETE_ALL_CLIP";
                return R"({"TrackID":")" + t + R"("})";
            case 6:
                *name = pick(3) ? "ADD_TRANSITION" : "ALTER_TRANSITION";
                return R"({"ID":")" + id("x", 10) + R"(","Title":")" +
                       pickOf({"dissolve", "wipe_left_to_right", "unknown"}) +
                       R"(","TrackID_A":")" + t + R"(","TrackID_B":")" +
                       (pick(2) ? t : track()) + R"(","Index_A":)" + std::to_string(pick(3)) +
                       R"(,"Index_B":)" + std::to_string(pick(3)) + R"(,"In":"5","Out":"5"})";
            case 7:
                *name = "DELETE_TRANSITION";
                return R"({"TransitionID":")" + id("x", 10) + R"(","TrackType":0})";
            case 8:
                *name = pick(3) ? "ADD_FILTER" : "ALTER_FILTER";
                return R"({"ID":")" + id("f", 10) + R"(","FilterID":")" + id("f", 10) +
                       R"(","Title":")" + pickOf({"sepia", "brightness", "volume", "nope"}) +
                       R"(","TrackID":")" + t + R"(","Index":)" + std::to_string(pick(3) - 1) +
                       R"(,"In":"1","Out":"50","Property":{"level":"0.5"}})";
            case 9:
                *name = "DELETE_FILTER";
                return R"({"TrackID":")" + t + R"(","FilterID":")" + id("f", 10) +
                       R"(","Index":)" + std::to_string(pick(3) - 1) + "}";
            case 10:
                *name = pick(2) ? "ADD_MULTI_FILTER" : "ALTER_MULTI_FILTER";
                return R"({"ID":")" + id("m", 5) + R"(","Title":")" +
                       pickOf({"fade_in_out", "old_film", "nope"}) + R"(","TrackID":")" + t +
                       R"(","Index":)" + std::to_string(pick(3) - 1) + "}";
            case 11:
                *name = "DELETE_TRACK";
                return R"({"TrackID":")" + t + R"("})";
            default:
                *name = "ALTER_TRACK";
                return R"({"TrackID":")" + t + R"("})";
        }
    }

    std::mt19937 random_;
    std::string directory_;
};

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
    std::string first = directory + "/final-a.xml";
    std::string second = directory + "/final-b.xml";
    EXPECT_EQ(service.commandResult("SAVE_PROJECT", R"({"FileName":")" + first + R"("})"), "true");
    EXPECT_EQ(service.commandResult("CLEAR_PROJECT", "{}"), "true");
    EXPECT_EQ(service.commandResult("LOAD_PROJECT", R"({"FileName":")" + first + R"("})"), "true");
    EXPECT_EQ(service.commandResult("SAVE_PROJECT", R"({"FileName":")" + second + R"("})"),
              "true");
    std::string saved = testsupport::readFile(first);
    EXPECT_GT(saved.size(), 100u);
    EXPECT_EQ(saved, testsupport::readFile(second));
    EXPECT_EQ(service.close(), 0);
    testsupport::runCommand("rm -rf '" + directory + "'");
}

}  // namespace
