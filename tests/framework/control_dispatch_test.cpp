// The control dispatcher: the fields each control reads, the values it logs,
// its error texts, and the temporary graph files of PRE_PLAY and EXPORT_MOVIE.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <regex>

#include "framework_fixture.h"
#include "support/test_media.h"

namespace fwtest {
namespace {

using ControlDispatchTest = FrameworkTest;

struct ControlCase {
    const char* control;
    std::string content;
    std::vector<std::string> infoLines;  // logged in this order among the Info lines
    std::vector<std::string> errorLines;
};

TEST_F(ControlDispatchTest, ControlsLogTheirValuesAndErrorTexts) {
    const ControlCase cases[] = {
        {"PRE_SEEK", R"({"Position":5})", {"[Postion:5]"}, {}},
        {"PRE_SEEK", "{}", {}, {"Return [PRE_SEEK] control Error"}},
        {"PRE_SEEK", R"({"Position":"5"})", {}, {"Return [PRE_SEEK] control Error"}},
        {"PRE_SEEK_STOP", R"({"Position":7})", {"[Postion:7]"}, {}},
        {"PRE_SEEK_STOP", R"({"Position":7.0})", {}, {"Return [PRE_SEEK_STOP] control Error"}},
        {"PRE_VOLUME", R"({"Volume":"0.25"})", {"[ Volume:0.25]"}, {}},
        {"PRE_VOLUME", R"({"Volume":0.25})", {}, {"Return [PRE_VOLUME] control Error"}},
        {"PRE_FASTORBACK", R"({"Speed":2.0})", {"[ Speed:2.000000]"}, {}},
        {"PRE_FASTORBACK", R"({"Speed":2})", {}, {"Return [PRE_FASTORBACK] control Error"}},
        {"PRE_RESIZE_WIN", R"({"Width":640,"Height":360})", {"[  Width:640  Height:360]"}, {}},
        {"PRE_RESIZE_WIN", R"({"Width":640})", {}, {"Return [PRE_RESIZE_WIN] control Error"}},
        {"PRE_FULLSCREENBOUND",
         R"({"Width":640})",
         {},
         {"Return [PRE_FULLSCREENBOUND] control Error"}},
        {"PRE_PLAY",
         R"({"AutoPlay":1,"Position":0,"Width":640,"Height":360})",
         {},
         {"Return [PRE_PLAY] control Error"}},
        {"PRE_SNAP_PIC",
         R"({"Position":1,"OutFile":"/tmp/x.jpg"})",
         {},
         {"Return [PRE_SNAP_PIC] control Error 1 "}},
        {"PRE_SNAP_PIC",
         R"({"FileName":"/nonexistent/a.mp4","OutFile":"/tmp/x.jpg"})",
         {},
         {"Return [PRE_SNAP_PIC] control Error 2 "}},
        {"PRE_SNAP_PIC",
         R"({"FileName":"/nonexistent/a.mp4","Position":"1"})",
         {},
         {"Return [PRE_SNAP_PIC] control Error 2 "}},
        {"PRE_SNAP_PIC",
         R"({"FileName":"/nonexistent/a.mp4","Position":1})",
         {},
         {"Return [PRE_SNAP_PIC] control Error 3"}},
        {"PRE_VIDEO_THUMB",
         R"({"FileName":"a.mp4","Position":3,"OutDir":"/tmp"})",
         {},
         {"Return [PRE_VIDEO_THUMB] control Error"}},
        {"PRE_VIDEO_THUMB",
         R"({"FileName":"a.mp4","Position":[3]})",
         {},
         {"Return [PRE_VIDEO_THUMB] control Error"}},
        {"PRE_AUDIO_THUMB",
         R"({"FileName":"a.wav"})",
         {"Receive [PRE_AUDIO_THUMB] control"},
         {"Return [PRE_AUDIO_THUMB] control Error"}},
        {"EXPORT_MOVIE",
         R"({"XmlFile":"/nonexistent/a.xml"})",
         {"Receive [EXPORT_MOVIE] control"},
         {"Return [EXPORT_MOVIE] control Error"}},
        // A missing full-screen field fails without a word.
        {"PRE_FULL_SCREEN", R"({"FullScreen":true,"Profile":"","Position":0,"Width":640})", {}, {}},
        {"PRE_STOP", "", {}, {}},
        {"PRE_PAUSE", "", {}, {}},
        {"PRE_CONTINUE", "", {}, {}},
        {"PRE_NEXT_FRAME", "", {}, {}},
        {"PRE_LAST_FRAME", "", {}, {}},
        {"PRE_RESET_EXPORT", "", {}, {}},
        {"NO_SUCH_CONTROL", "{}", {}, {}},
    };
    for (const ControlCase& c : cases) {
        LogCapture log;
        EXPECT_EQ(control(c.control, c.content), kTrueText) << c.control;
        std::vector<std::string> info;
        std::vector<std::string> errors;
        for (const LoggedLine& line : log.lines()) {
            // The player's own lines are not the dispatcher's business.
            bool dispatcherLine = line.message.rfind("[", 0) == 0 ||
                                  line.message.find("] control") != std::string::npos;
            if (line.level == kLogInfo && dispatcherLine) {
                info.push_back(line.message);
            } else if (line.level == kLogError && dispatcherLine) {
                errors.push_back(line.message);
            }
        }
        EXPECT_EQ(info.size(), c.infoLines.size()) << c.control << " " << c.content;
        for (const std::string& expected : c.infoLines) {
            EXPECT_TRUE(log.has(kLogInfo, expected)) << c.control << ": " << expected;
        }
        EXPECT_EQ(errors, c.errorLines) << c.control << " " << c.content;
    }
}

TEST_F(ControlDispatchTest, SnapshotWithAllFieldsLogsItsValuesAndNoNumberedError) {
    LogCapture log;
    control("PRE_SNAP_PIC", R"({"FileName":"/nonexistent/a.mp4","Position":3,
                               "OutFile":"/nonexistent/out.jpg"})");
    EXPECT_TRUE(log.has(
        kLogInfo, "[  FileName:/nonexistent/a.mp4  Position:3  OutFile:/nonexistent/out.jpg]"));
    // The engine makes a producer even for a missing file, so the snapshot
    // itself reports success.
    EXPECT_TRUE(log.startingWith(kLogError, "Return [PRE_SNAP_PIC] control Error").empty());
}

TEST_F(ControlDispatchTest, ThumbnailSeriesLogsOnlyTheFirstPosition) {
    std::string outDir = testsupport::makeTempDirectory("qv-fw-thumbs");
    LogCapture log;
    control("PRE_VIDEO_THUMB", R"({"FileName":"/nonexistent/a.mp4","Position":[40,80],
                                  "OutDir":")" +
                                   outDir + "\"}");
    EXPECT_TRUE(
        log.has(kLogInfo, "[  FileName:/nonexistent/a.mp4  Position:40  OutDir:" + outDir + "]"));
    log.clear();
    control("PRE_VIDEO_THUMB", R"({"FileName":"/nonexistent/a.mp4","Position":[],
                                  "OutDir":")" +
                                   outDir + "\"}");
    EXPECT_TRUE(
        log.has(kLogInfo, "[  FileName:/nonexistent/a.mp4  Position:  OutDir:" + outDir + "]"));
    EXPECT_TRUE(log.has(kLogError, "Return [PRE_VIDEO_THUMB] control Error"));
}

TEST_F(ControlDispatchTest, EveryControlOfAMessageRunsWhateverTheOthersDid) {
    EXPECT_EQ(framework_->runControlMessage(
                  batch({{"PRE_SEEK", "{}"},
                         {"PRE_FULLSCREENBOUND", R"({"Width":1920,"Height":1080})"},
                         {"PRE_VOLUME", "{}"}})),
              kTrueText);
    EXPECT_EQ(player().fullScreenWidth, 1920);
    EXPECT_EQ(player().fullScreenHeight, 1080);
    EXPECT_EQ(framework_->runControlMessage("no json"), kTrueText);
}

// Makes LC_NUMERIC a locale whose decimal separator is a comma: an installed
// one, else one compiled with localedef into a private folder named by
// LOCPATH. Answers the locale's name, or "" when neither works.
std::string useCommaLocale() {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"}) {
        if (std::setlocale(LC_NUMERIC, name) != nullptr) {
            return name;
        }
    }
    static const std::string folder = testsupport::makeTempDirectory("qv-fw-locale");
    const char kCompiled[] = "de_DE.UTF-8";
    if (testsupport::runCommand("localedef -i de_DE -f UTF-8 '" + folder + "/" + kCompiled +
                                "' > /dev/null 2>&1") != 0) {
        return "";
    }
    setenv("LOCPATH", folder.c_str(), 1);
    return std::setlocale(LC_NUMERIC, kCompiled) != nullptr ? kCompiled : "";
}

TEST_F(ControlDispatchTest, VolumeTextIsReadWithAPointWhateverTheLocale) {
    control("PRE_VOLUME", R"({"Volume":"0.5"})");
    EXPECT_DOUBLE_EQ(player().volume, 0.5);

    std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    std::string comma = useCommaLocale();
    if (comma.empty()) {
        GTEST_SKIP() << "no locale with a decimal comma is available";
    }
    ASSERT_EQ(std::strtod("0.75", nullptr), 0.0) << "the locale reads a point as the end";
    control("PRE_VOLUME", R"({"Volume":"0.75"})");
    std::string after = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, previous.c_str());
    EXPECT_DOUBLE_EQ(player().volume, 0.75);
    // The process's own numeric locale is left as it was.
    EXPECT_EQ(after, comma);
}

TEST_F(ControlDispatchTest, PlayWritesTheTimelineToATemporaryFileInTheCache) {
    std::string cache = testsupport::makeTempDirectory("qv-fw-play");
    command("OPEN_MOVIE",
            R"({"Profile":"","Width":640,"Height":360,"WindowID":0,"CachePath":")" + cache + "\"}");
    command("ADD_TRACK", trackContent("Track0", "composite", true));
    LogCapture log;
    control("PRE_PLAY", R"({"AutoPlay":false,"Position":0,"Width":320,"Height":180})");

    std::vector<std::string> lines = log.startingWith(kLogInfo, "[Xml:");
    ASSERT_EQ(lines.size(), 1u);
    std::smatch match;
    std::regex form("\\[Xml:(" + cache +
                    "/temp_[0-9a-f-]{36}\\.xml), Position:0, AutoPlay:0, Width:320, Height:180\\]");
    ASSERT_TRUE(std::regex_match(lines[0], match, form)) << lines[0];
    std::string written = testsupport::readFile(match[1]);
    EXPECT_NE(written.find("maintractor"), std::string::npos);
    EXPECT_EQ(player().windowWidth, 320);
    EXPECT_EQ(player().windowHeight, 180);
    EXPECT_EQ(player().getMltFile(), match[1].str());
}

TEST_F(ControlDispatchTest, ExportWithoutDocumentWritesOneTemporaryFileInTheCache) {
    std::string cache = testsupport::makeTempDirectory("qv-fw-export");
    command("OPEN_MOVIE",
            R"({"Profile":"","Width":640,"Height":360,"WindowID":0,"CachePath":")" + cache + "\"}");
    LogCapture log;
    control("EXPORT_MOVIE", R"({"FileName":")" + cache + R"(/out.mp4"})");
    EXPECT_TRUE(log.has(kLogInfo, "Return [EXPORT_MOVIE] control Ok"));
    // Without a preview there is no graph to write; nothing lands outside
    // the cache either way.
    std::string listing;
    testsupport::runCommand("ls '" + cache + "'", &listing);
    std::regex allowed("(temp_export_[0-9a-f-]{36}\\.xml\n)?");
    EXPECT_TRUE(std::regex_match(listing, allowed)) << listing;
}

}  // namespace
}  // namespace fwtest
