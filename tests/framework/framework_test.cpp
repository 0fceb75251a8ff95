// The framework's command processor: the result texts and log lines of its
// command and control dispatchers, the steps and history points they run, the
// temporary graph files, and the timeline document a script of commands builds.
#include <gtest/gtest.h>

#include <framework/mlt.h>

#include <clocale>
#include <cstdlib>
#include <mutex>
#include <regex>
#include <tuple>

#include "client/pipe_client.h"
#include "framework/guid_text.h"
#include "framework/quillavant_framework.h"
#include "log/log.h"
#include "messages/styled_json.h"
#include "platform/module_path.h"
#include "support/framework_timeline_script.h"
#include "support/model_fixtures.h"
#include "support/test_media.h"
#include "timeline/effect_catalogue.h"

namespace {

inline const char kTrueText[] = "{\n   \"ReturnResultString\" : true\n}\n";
inline const char kFalseText[] = "{\n   \"ReturnResultString\" : false\n}\n";

// The messages of every line logged while it lives.
class LogCapture {
  public:
    LogCapture() {
        setLogObserver([this](int level, const std::string& line) {
            // "[time] [Level] [instance][pid][tid] message\n"
            static const std::regex form(R"(^(?:[^\]]*\]){5} ([\s\S]*?)\n?$)");
            std::smatch match;
            std::lock_guard<std::mutex> lock(mutex_);
            lines_.emplace_back(level, std::regex_match(line, match, form) ? match[1] : line);
        });
    }
    ~LogCapture() { setLogObserver(nullptr); }

    // The messages logged at level (-1: any) that start with prefix, in order.
    std::vector<std::string> at(int level, const std::string& prefix = "") const {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<std::string> found;
        for (const auto& line : lines_) {
            if ((level < 0 || line.first == level) && line.second.rfind(prefix, 0) == 0) {
                found.push_back(line.second);
            }
        }
        return found;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::pair<int, std::string>> lines_;
};

// A message of several commands, each a name and its content text.
inline std::string batch(const std::vector<std::pair<std::string, std::string>>& commands) {
    std::string text;
    for (const auto& [name, content] : commands) {
        text += (text.empty() ? "" : ",") + std::string(R"({"Command":")") + name +
                R"(","Content":)" + content + "}";
    }
    return R"({"ID":"batch","Action":[)" + text + "]}";
}

inline std::string trackContent(const std::string& id, const std::string& type = "composite",
                                bool main = false) {
    return R"({"ID":")" + id + R"(","Type":")" + type + R"(","Main":)" + (main ? "true" : "false") +
           "}";
}

inline std::string clipContent(const std::string& id, const std::string& trackId) {
    return R"({"ID":")" + id + R"(","TrackID":")" + trackId +
           R"(","Index":-1,"MltService":"avformat","Resource":"/nonexistent/media.mp4","In":"0","Out":"24"})";
}

using Ids = std::vector<std::string>;

class FrameworkTest : public ::testing::Test {
  protected:
    void SetUp() override {
        modeltest::loadTestCatalogue();
        framework_ = std::make_unique<CQuillavantFramework>();
    }
    void TearDown() override { framework_->player().closeConsumer(); }

    std::string command(const std::string& name, const std::string& content = "") {
        return framework_->runCommandMessage(makeRequestBody("1", name, content));
    }
    std::string control(const std::string& name, const std::string& content = "") {
        return framework_->runControlMessage(makeRequestBody("1", name, content));
    }
    MeProject& project() { return framework_->project(); }
    MePlayer& player() { return framework_->player(); }
    const UndoHistory& history() { return framework_->history(); }

    template <typename Map>
    static Ids keysOf(const Map& map) {
        Ids ids;
        for (const auto& entry : map) {
            ids.push_back(entry.first);
        }
        return ids;
    }
    Ids clipIds() { return keysOf(project().clips()); }
    Ids videoTrackIds() { return keysOf(project().videoTracks()); }

    std::unique_ptr<CQuillavantFramework> framework_;
};

const char kPlayerRefused[] = "mlt_consumer_stop m_producer or consumer is null";
const char kGuid[] = "[0-9a-f]{8}-[0-9a-f]{4}-1[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}";

std::string result(const std::string& value) {
    return "{\n   \"ReturnResultString\" : " + value + "\n}\n";
}

TEST_F(FrameworkTest, AnswersInTheStyledTextAndLogsHowEachCommandEnded) {
    // A command, its content, its answer, the end of its Return line ("": none),
    // and the history points it records.
    const std::string cases[][5] = {
        {"PRE_ISAUDIOVALID", "", kTrueText, "Ok", "0"},
        {"PRE_GETFPS", "", result("0.0"), "", "0"},
        {"PRE_GETTOTALFRAME", "", result("0"), "", "0"},
        {"GET_MLT_FILE", "", result("\"\""), "Ok", "0"},
        {"PRE_START_CONSUMER", "", kFalseText, "Ok", "0"},
        {"ADD_TRACK", trackContent("Track0"), kTrueText, "Ok", "1"},
        {"ADD_TRACK", trackContent("Track9", "text"), kFalseText, "Ok", "1"},
        {"ADD_COMPOSE_CLIP", clipContent("cc", "Track0"), kFalseText, "Ok", "0"},
        {"ALTER_SCENE_RESOURSE", "{}", kTrueText, "Ok", "0"},
        {"NO_SUCH_COMMAND", "", kFalseText, "", "0"},
        {"add_track", trackContent("Track1"), kFalseText, "", "0"},
        {"HW_DECODE_ACCEL_ENABLE", R"({"Enable":1.0})", kFalseText, "Error", "0"},
        {"HW_DECODE_ACCEL_ENABLE", "{}", kFalseText, "Error", "0"},
        {"HW_DECODE_ACCEL_ENABLE", R"({"Enable":1})", kTrueText, "Ok", "0"},
        {"SAVE_PROJECT", "{}", kFalseText, "", "1"},
        {"LOAD_PROJECT", "{}", kFalseText, "Error", "1"},
        {"CLEAR_PROJECT", "", kTrueText, "Ok", "1"},
        {"UPDATE_TEXTFILTER", "{}", kFalseText, "Error", "0"},
        {"UPDATE_TEXTFILTER", R"({"FileName":"a.txt"})", kFalseText, "", "0"},
        {"PRE_SET_LOGDIRECTORY", R"({"LogPath":""})", kFalseText, "Ok", "0"},
        {"PRE_SET_LOGDIRECTORY", R"({"LogPath":5})", kFalseText, "Ok", "0"},
        {"OPEN_MOVIE", R"({"Profile":""})", kFalseText, "", "0"},
    };
    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    for (const auto& c : cases) {
        LogCapture log;
        int points = history().size();
        EXPECT_EQ(command(c[0], c[1]), c[2]) << c[0] << " " << c[1];
        EXPECT_EQ(log.at(-1, "Return ["),
                  c[3].empty() ? Ids{} : Ids{"Return [" + c[0] + "] command " + c[3]})
            << c[0] << " " << c[1];
        EXPECT_EQ(history().size() - points, std::stoi(c[4])) << c[0] << " " << c[1];
    }
    // The switch set the engine's global property; the log directory stayed unset.
    EXPECT_EQ(mlt_properties_get_int(mlt_global_properties(), "hwaccel_enable"), 1);
    EXPECT_EQ(logDirectory(), "");
    // A batch or an unreadable message answers true and records one point.
    for (const std::string& message :
         {batch({{"ADD_TRACK", trackContent("X", "text")}, {"DELETE_TRACK", "{}"}}),
          std::string("{")}) {
        int points = history().size();
        EXPECT_EQ(framework_->runCommandMessage(message), kTrueText) << message;
        EXPECT_EQ(history().size(), points + 1) << message;
    }
}

TEST_F(FrameworkTest, LogsReceiveAndOkExceptForQueriesAndUnknownNames) {
    LogCapture log;
    command("PRE_GETCURRENTPOS");
    command("NO_SUCH_COMMAND");
    EXPECT_TRUE(log.at(kLogInfo).empty() && log.at(kLogError).empty());
    // The Ok line follows the normal path even when the step failed.
    command("ADD_TRACK", trackContent("Track9", "text"));
    EXPECT_EQ(log.at(kLogInfo),
              (Ids{"Receive [ADD_TRACK] command", "Return [ADD_TRACK] command Ok"}));
    // Inside a batch unknown names, queries and undo are skipped silently too.
    framework_->runCommandMessage(batch({{"NO_SUCH_COMMAND", "{}"},
                                         {"ADD_TRACK", trackContent("T0")},
                                         {"PRE_GETFPS", "{}"},
                                         {"UNDO_LAST_ACTION", "{}"}}));
    EXPECT_EQ(log.at(kLogInfo).size(), 4u);
    EXPECT_EQ(history().size(), 2);
}

TEST_F(FrameworkTest, ClipsAndFiltersAnswerThePlayerStepOnlyAfterTheModelAccepted) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    // Without a running preview the engine edit fails, yet the model takes the clip.
    EXPECT_EQ(command("ADD_CLIP", clipContent("c1", "Track0")), kFalseText);
    command("ADD_COMPOSE_CLIP", clipContent("c2", "Track0"));
    EXPECT_EQ(clipIds(), (Ids{"c1_p", "c2_p"}));
    // The compose clip recorded no point, so undo takes back both clips; the
    // track object is the one the first point shares and keeps its placements.
    command("UNDO_LAST_ACTION");
    EXPECT_TRUE(clipIds().empty());
    EXPECT_EQ(project().findTrack("Track0")->mediaIds(), (Ids{"c1_p", "c2_p"}));
    EXPECT_EQ(command("ADD_FILTER", R"({"ID":"f1","Title":"t_bright","TrackID":"maintractor"})"),
              kTrueText);
    LogCapture log;
    EXPECT_EQ(command("DELETE_FILTER", R"({"FilterID":"f1","TrackID":"NoTrack"})"), kFalseText);
    EXPECT_TRUE(log.at(kLogError).empty());
    EXPECT_EQ(command("DELETE_FILTER", R"({"FilterID":"f1","TrackID":"maintractor"})"), kFalseText);
    EXPECT_TRUE(project().mainFilters().empty());
    EXPECT_EQ(log.at(kLogError), Ids{kPlayerRefused});
    // A batch runs the player step whatever the model answered.
    framework_->runCommandMessage(
        batch({{"DELETE_FILTER", R"({"FilterID":"f","TrackID":"No"})"}, {"PRE_GETFPS", "{}"}}));
    EXPECT_EQ(log.at(kLogError, kPlayerRefused).size(), 2u);
}

TEST_F(FrameworkTest, BatchCommandsHandleEachElementAndReportOthers) {
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    LogCapture log;
    EXPECT_EQ(command("ADD_BATCH_CLIP",
                      "[" + clipContent("c1", "Track0") + "," + clipContent("c2", "Track0") + "]"),
              kTrueText);
    EXPECT_EQ(project().findTrack("Track0")->mediaIds(), (Ids{"c1_p", "c2_p"}));
    int points = history().size();
    const std::string content = R"([{"Type":"1","TrackID":"Track0","ClipID":"c1"},)"
                                R"({"Type":"7","TrackID":"Track0"}])";
    EXPECT_EQ(command("DELETE_BATCH_TRANSCLIP", content), kTrueText);
    EXPECT_EQ(clipIds(), Ids{"c2_p"});
    Json::Value parsed;
    ASSERT_TRUE(parseJsonText(content, parsed));
    EXPECT_EQ(log.at(kLogError), Ids{"Type Exception " + toStyledJson(parsed)});
    EXPECT_EQ(log.at(kLogInfo, "Re"), (Ids{"Return [ADD_BATCH_CLIP] command Ok",
                                           "Return [DELETE_BATCH_TRANSCLIP] command Ok"}));
    EXPECT_EQ(history().size(), points + 1);
    // Content that is not an array is reported; an absent one is an empty batch.
    for (const char* name : {"ADD_BATCH_CLIP", "DELETE_BATCH_TRANSCLIP"}) {
        EXPECT_EQ(command(name, clipContent("c3", "Track0")), kTrueText) << name;
    }
    EXPECT_EQ(command("ADD_BATCH_CLIP"), kTrueText);
    EXPECT_EQ(log.at(kLogError, "Not"), Ids(2, "Not an array element "));
    EXPECT_EQ(history().size(), points + 4);
}

TEST_F(FrameworkTest, SaveAndLoadProjectRoundTripButOnlyOutsideABatch) {
    std::string file = testsupport::makeTempDirectory("qv-fw-project") + "/project.xml";
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    command("ADD_CLIP", clipContent("c1", "Track0"));
    LogCapture log;
    framework_->runCommandMessage(batch({{"SAVE_PROJECT", R"({"FileName":")" + file + "\"}"},
                                         {"LOAD_PROJECT", "{}"},
                                         {"SAVE_PROJECT", "{}"}}));
    EXPECT_FALSE(testsupport::fileExists(file));
    EXPECT_EQ(log.at(kLogError),
              (Ids{"Return [LOAD_PROJECT] command Error", "Return [SAVE_PROJECT] command Error"}));

    EXPECT_EQ(command("SAVE_PROJECT", R"({"FileName":")" + file + "\"}"), kTrueText);
    EXPECT_NE(testsupport::readFile(file).find("<Quillavant>"), std::string::npos);
    command("CLEAR_PROJECT");
    EXPECT_EQ(command("LOAD_PROJECT", R"({"FileName":")" + file + "\"}"), kTrueText);
    EXPECT_EQ(clipIds(), Ids{"c1_p"});
}

TEST_F(FrameworkTest, UndoStopsAtTheFirstPointAndRecordingCutsTheRedoBranch) {
    EXPECT_EQ(command("UNDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(command("REDO_LAST_ACTION"), kTrueText);
    EXPECT_EQ(history().index(), -1);
    for (const char* id : {"T0", "T1", "T2"}) {
        command("ADD_TRACK", trackContent(id));
    }
    const std::pair<const char*, Ids> steps[] = {
        {"UNDO_LAST_ACTION", {"T0", "T1"}}, {"UNDO_LAST_ACTION", {"T0"}},
        {"UNDO_LAST_ACTION", {"T0"}},       {"REDO_LAST_ACTION", {"T0", "T1"}},
        {"ADD_TRACK", {"T0", "T1", "T3"}},  {"REDO_LAST_ACTION", {"T0", "T1", "T3"}},
        {"UNDO_LAST_ACTION", {"T0", "T1"}},
    };
    for (const auto& [name, tracks] : steps) {
        command(name, trackContent("T3"));
        EXPECT_EQ(videoTrackIds(), tracks) << name << " to " << tracks.size();
    }
    EXPECT_EQ(history().size(), 3);
}

TEST_F(FrameworkTest, OpenMovieLogsItsSettingsAndSetsWhereTemporaryFilesGo) {
    // Without a cache the graph file of SAVE_MLT_FILE lies beside the host.
    auto tempFileIn = [](const std::string& folder) {
        return std::regex("\\{\n   \"ReturnResultString\" : \"" + folder + "/temp_" + kGuid +
                          "\\.xml\"\n\\}\n");
    };
    std::string answer = command("SAVE_MLT_FILE");
    EXPECT_TRUE(std::regex_match(answer, tempFileIn(platform::moduleDirectory()))) << answer;
    std::string cache = testsupport::makeTempDirectory("qv-fw-cache");
    LogCapture log;
    command("OPEN_MOVIE", R"({"Profile":"","Width":1,"Height":2,"WindowID":3})");
    command("OPEN_MOVIE", R"({"Profile":"atsc_720p_25","Width":960,"Height":540,"WindowID":12,
                              "Display_Aspect_Num":16,"Display_Aspect_Den":9,"CachePath":")" +
                              cache + "\"}");
    // A missing field ends it: what came before is stored, half an aspect is not.
    EXPECT_EQ(
        command("OPEN_MOVIE", R"({"Profile":"p","Width":640,"Height":360,"Display_Aspect_Num":4})"),
        kFalseText);
    EXPECT_EQ(
        std::make_tuple(player().profileName, player().windowWidth, player().windowHeight,
                        player().displayAspectNum, player().displayAspectDen, player().windowId),
        std::make_tuple(std::string("p"), 640, 360, 16, 9, 12));
    const std::string tabs = "\t\t\t\t\t\t\t\t\t\t   \t\t\t";
    EXPECT_EQ(
        log.at(kLogInfo),
        (Ids{"Receive [OPEN_MOVIE] command", "CachePath: ",
             "Open_Movie: width=1 height=2" + tabs + "WinID=3 Aspect_Num=0 Aspect_Den=0,profile:",
             "Return [OPEN_MOVIE] command Ok", "Receive [OPEN_MOVIE] command",
             "CachePath: " + cache,
             "Open_Movie: width=960 height=540" + tabs +
                 "WinID=12 Aspect_Num=16 Aspect_Den=9,profile:atsc_720p_25",
             "Return [OPEN_MOVIE] command Ok", "Receive [OPEN_MOVIE] command"}));
    answer = command("SAVE_MLT_FILE");
    EXPECT_TRUE(std::regex_match(answer, tempFileIn(cache))) << answer;
    EXPECT_NE(answer, command("SAVE_MLT_FILE"));
}

TEST(GuidText, CountsIntervalsSince1582PlusACounterWithinAMillisecond) {
    GuidGenerator generator;
    // 1970-01-01 00:00:00.000 is 0x01B21DD213814000 intervals after 1582-10-15.
    EXPECT_EQ(generator.next({0, 0}).substr(0, 19), "13814000-1dd2-11b2-");
    EXPECT_EQ(generator.next({0, 0}).substr(0, 19), "13814001-1dd2-11b2-");
}

TEST_F(FrameworkTest, ControlsLogTheirValuesAndErrorTexts) {
    const std::string thumbs = testsupport::makeTempDirectory("qv-fw-thumbs");
    const std::string file = R"({"FileName":"/nonexistent/a.mp4",)";
    // A control, its content, its one Info line, and the end of its one error line.
    const std::string cases[][4] = {
        {"PRE_SEEK", R"({"Position":5})", "[Postion:5]", ""},
        {"PRE_SEEK", R"({"Position":"5"})", "", "Error"},
        {"PRE_VOLUME", R"({"Volume":"0.25"})", "[ Volume:0.25]", ""},
        {"PRE_VOLUME", R"({"Volume":0.25})", "", "Error"},
        {"PRE_FASTORBACK", R"({"Speed":2.0})", "[ Speed:2.000000]", ""},
        {"PRE_RESIZE_WIN", R"({"Width":640,"Height":360})", "[  Width:640  Height:360]", ""},
        {"PRE_FULLSCREENBOUND", R"({"Width":640})", "", "Error"},
        {"PRE_PLAY", R"({"AutoPlay":1,"Position":0,"Width":640,"Height":360})", "", "Error"},
        {"PRE_SNAP_PIC", R"({"Position":1,"OutFile":"/tmp/x.jpg"})", "", "Error 1 "},
        {"PRE_SNAP_PIC", file + R"("Position":"1"})", "", "Error 2 "},
        {"PRE_SNAP_PIC", file + R"("Position":1})", "", "Error 3"},
        // The engine makes a producer even for a missing file: the snapshot succeeds.
        {"PRE_SNAP_PIC", file + R"("Position":3,"OutFile":"/no/x.jpg"})",
         "[  FileName:/nonexistent/a.mp4  Position:3  OutFile:/no/x.jpg]", ""},
        {"PRE_VIDEO_THUMB", file + R"("Position":3,"OutDir":"/tmp"})", "", "Error"},
        // A series logs only its first position.
        {"PRE_VIDEO_THUMB", file + R"("Position":[40,80],"OutDir":")" + thumbs + "\"}",
         "[  FileName:/nonexistent/a.mp4  Position:40  OutDir:" + thumbs + "]", ""},
        {"PRE_VIDEO_THUMB", file + R"("Position":[],"OutDir":")" + thumbs + "\"}",
         "[  FileName:/nonexistent/a.mp4  Position:  OutDir:" + thumbs + "]", "Error"},
        {"PRE_AUDIO_THUMB", R"({"FileName":"a.wav"})", "Receive [PRE_AUDIO_THUMB] control",
         "Error"},
        {"EXPORT_MOVIE", R"({"XmlFile":"/a.xml"})", "Receive [EXPORT_MOVIE] control", "Error"},
        // A missing full-screen field fails without a word.
        {"PRE_FULL_SCREEN", R"({"FullScreen":true,"Profile":"","Position":0,"Width":640})", "", ""},
        {"NO_SUCH_CONTROL", "{}", "", ""},
    };
    for (const auto& c : cases) {
        LogCapture log;
        EXPECT_EQ(control(c[0], c[1]), kTrueText) << c[0];
        // The player's own lines are not the dispatcher's business.
        Ids info = log.at(kLogInfo, "["), received = log.at(kLogInfo, "Re");
        info.insert(info.end(), received.begin(), received.end());
        EXPECT_EQ(info, c[2].empty() ? Ids{} : Ids{c[2]}) << c[0] << c[1];
        EXPECT_EQ(log.at(kLogError, "Re"),
                  c[3].empty() ? Ids{} : Ids{"Return [" + c[0] + "] control " + c[3]})
            << c[0] << c[1];
    }
    // Every control of a message runs whatever the others did.
    framework_->runControlMessage(batch({{"PRE_SEEK", "{}"},
                                         {"PRE_FULLSCREENBOUND", R"({"Width":1920,"Height":1080})"},
                                         {"PRE_VOLUME", "{}"}}));
    EXPECT_EQ(player().fullScreenHeight, 1080);
}

TEST_F(FrameworkTest, VolumeTextIsReadWithAPointWhateverTheLocale) {
    std::string folder = testsupport::makeTempDirectory("qv-fw-locale");
    if (testsupport::runCommand("localedef -i de_DE -f UTF-8 '" + folder +
                                "/de_DE.UTF-8' > /dev/null 2>&1") != 0) {
        GTEST_SKIP() << "no locale with a decimal comma is available";
    }
    setenv("LOCPATH", folder.c_str(), 1);
    std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    ASSERT_NE(std::setlocale(LC_NUMERIC, "de_DE.UTF-8"), nullptr);
    ASSERT_EQ(std::strtod("0.75", nullptr), 0.0) << "the locale reads a point as the end";
    control("PRE_VOLUME", R"({"Volume":"0.75"})");
    std::string after = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, previous.c_str());
    EXPECT_DOUBLE_EQ(player().volume, 0.75);
    // The process's own numeric locale is left as it was.
    EXPECT_EQ(after, "de_DE.UTF-8");
}

TEST_F(FrameworkTest, PlayAndExportWriteTheirTemporaryFilesInTheCache) {
    std::string cache = testsupport::makeTempDirectory("qv-fw-play");
    command("OPEN_MOVIE",
            R"({"Profile":"","Width":640,"Height":360,"WindowID":0,"CachePath":")" + cache + "\"}");
    LogCapture log;
    // Without a preview export has no graph to write; nothing lands outside the cache.
    control("EXPORT_MOVIE", R"({"FileName":")" + cache + R"(/out.mp4"})");
    EXPECT_EQ(log.at(kLogInfo, "Return"), Ids{"Return [EXPORT_MOVIE] control Ok"});
    std::string listing;
    testsupport::runCommand("ls '" + cache + "'", &listing);
    EXPECT_TRUE(std::regex_match(listing, std::regex("(temp_export_[0-9a-f-]{36}\\.xml\n)?")))
        << listing;

    command("ADD_TRACK", trackContent("Track0", "composite", true));
    control("PRE_PLAY", R"({"AutoPlay":false,"Position":0,"Width":320,"Height":180})");
    std::smatch match;
    std::regex form("\\[Xml:(" + cache +
                    "/temp_[0-9a-f-]{36}\\.xml), Position:0, AutoPlay:0, Width:320, Height:180\\]");
    Ids lines = log.at(kLogInfo, "[Xml:");
    ASSERT_TRUE(lines.size() == 1 && std::regex_match(lines[0], match, form)) << lines[0];
    EXPECT_NE(testsupport::readFile(match[1]).find("maintractor"), std::string::npos);
    EXPECT_EQ(player().getMltFile(), match[1].str());
}

// A tractor's tracks and their ids, in order. The xml producer hands the root
// tractor back under its own service name, so a tractor is known by its id.
std::vector<mlt_producer> tracksOf(mlt_producer tractor, Ids* ids) {
    mlt_multitrack multitrack = mlt_tractor_multitrack(static_cast<mlt_tractor>(tractor->child));
    std::vector<mlt_producer> tracks;
    for (int i = 0; i < mlt_multitrack_count(multitrack); ++i) {
        tracks.push_back(mlt_multitrack_track(multitrack, i));
        const char* id = mlt_properties_get(MLT_PRODUCER_PROPERTIES(tracks.back()), "id");
        ids->push_back(id ? id : "");
    }
    return tracks;
}

TEST_F(FrameworkTest, ScriptedTimelineLoadsWithItsTrackLayoutAndRendersWithMelt) {
    MeEffectCatalogue::instance().loadCatalogues(
        std::string(QV_SOURCE_DIR) + "/configs/Effect.xml",
        std::string(QV_SOURCE_DIR) + "/configs/MultiEffect.xml");
    std::string folder = testsupport::makeTempDirectory("qv-fw-timeline");
    for (const frameworktest::ScriptStep& step : frameworktest::timelineScript(
             testsupport::colourBarsWithTone(4), testsupport::toneWav(4), folder)) {
        EXPECT_EQ(resultValueText(command(step.command, step.content)), step.answer)
            << step.command << " " << step.content;
    }
    std::string path = folder + "/timeline.xml";
    ASSERT_TRUE(project().writeTimelineXml(path));

    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    std::unique_ptr<mlt_profile_s, void (*)(mlt_profile)> profile(mlt_profile_init(nullptr),
                                                                  mlt_profile_close);
    std::unique_ptr<mlt_producer_s, void (*)(mlt_producer)> producer(
        mlt_factory_producer(profile.get(), "xml", path.c_str()), mlt_producer_close);
    ASSERT_NE(producer, nullptr);
    EXPECT_STREQ(mlt_properties_get(MLT_PRODUCER_PROPERTIES(producer.get()), "id"),
                 "interface_tractor");
    Ids outerIds, trackIds;
    std::vector<mlt_producer> outer = tracksOf(producer.get(), &outerIds);
    ASSERT_EQ(outerIds, Ids{"maintractor"});
    std::vector<mlt_producer> tracks = tracksOf(outer[0], &trackIds);
    ASSERT_EQ(trackIds, frameworktest::scriptTrackIds());
    // Each track tractor holds one playlist per placement of the model.
    const Ids placements[] = {{"v1", "v2"}, {"cc1"}, {"a1"}, {"a2"}};
    for (size_t i = 0; i < tracks.size(); ++i) {
        Ids ids;
        tracksOf(tracks[i], &ids);
        EXPECT_EQ(ids, placements[i]) << trackIds[i];
    }
    // The main track lays its clips end to end: 40 frames, then a blank of 35
    // (the 5 frozen head frames eat into it), 5 + 40 frames and 8 frozen tail frames.
    EXPECT_EQ(mlt_producer_get_length(tracks[0]), 88);
    EXPECT_EQ(mlt_producer_get_length(tracks[1]), 40);
    EXPECT_EQ(mlt_producer_get_length(tracks[3]), 70);
    EXPECT_EQ(mlt_producer_get_length(producer.get()), 88);

    std::string movie = folder + "/render.mp4", frames;
    ASSERT_EQ(testsupport::runCommand("melt '" + path + "' out=10 -consumer avformat:'" + movie +
                                      "' > '" + folder + "/melt.log' 2>&1"),
              0)
        << testsupport::readFile(folder + "/melt.log");
    testsupport::runCommand(
        "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
        "stream=nb_read_frames -of csv=p=0 '" +
            movie + "'",
        &frames);
    EXPECT_EQ(std::atoi(frames.c_str()), 11) << frames;
}

}  // namespace
