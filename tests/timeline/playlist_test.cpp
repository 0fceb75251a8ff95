#include <gtest/gtest.h>

#include "host/log.h"
#include "support/model_fixtures.h"
#include "timeline/playlist.h"

using modeltest::json;
using modeltest::xmlOf;

namespace {

std::string mltOf(const MePlayList& placement) {
    return xmlOf([&](xmlNodePtr root) { placement.writeMltXml(root); });
}

MePlayList placementFrom(const std::string& text) {
    MePlayList placement;
    EXPECT_TRUE(placement.initFromJsonText(text)) << text;
    placement.setMediaId("c_p");
    return placement;
}

TEST(MePlayListMlt, WritesBlankHeadClipAndTailEntries) {
    struct Case {
        const char* json;
        const char* expected;
    } cases[] = {
        {R"({"ID":"p","BlankLength":"25","In":"0","Out":"99"})",
         "<playlist id=\"p\">\n  <blank length=\"25\"/>\n"
         "  <entry producer=\"c_p\" in=\"0\" out=\"99\"/>\n</playlist>\n"},
        {R"({"ID":"p","In":"5"})",
         "<playlist id=\"p\">\n  <entry producer=\"c_p\"/>\n</playlist>\n"},
        {R"({"ID":"p","In":"40","Out":"60","RepeatHead":"10","RepeatTail":"3","Repeat":"2"})",
         "<playlist id=\"p\">\n  <entry producer=\"c_p\" in=\"40\" out=\"40\" repeat=\"10\"/>\n"
         "  <entry producer=\"c_p\" in=\"40\" out=\"60\" repeat=\"2\"/>\n"
         "  <entry producer=\"c_p\" in=\"60\" out=\"60\" repeat=\"3\"/>\n</playlist>\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(mltOf(placementFrom(c.json)), c.expected) << c.json;
    }
}

TEST(MePlayListMlt, HeadRepeatEatsIntoTheBlank) {
    struct Case {
        const char* blank;
        int head;
        const char* blankAfter;
        const char* repeatAfter;
    } cases[] = {{"25", 30, "0", "25"}, {"50", 30, "20", "30"}, {"30", 30, "0", "30"}};
    for (const auto& c : cases) {
        MePlayList placement = placementFrom(R"({"ID":"p","In":"7","Out":"9"})");
        placement.setBlankLength(c.blank);
        EXPECT_TRUE(placement.setHeadRepeat(c.head));
        EXPECT_EQ(placement.blankLength(), c.blankAfter) << c.blank;
        EXPECT_EQ(placement.repeatHead(), c.repeatAfter) << c.blank;
        EXPECT_EQ(placement.headIn(), "7");
    }
}

TEST(MePlayListFilters, RangesShiftByTheBlankOnlyInMltXml) {
    modeltest::loadTestCatalogue();
    MePlayList placement = placementFrom(R"({"ID":"p","BlankLength":"25","In":"0","Out":"99"})");
    for (const char* range :
         {R"("In":"10","Out":"20")", R"("In":"-1","Out":"-1")", R"("In":"-1","Out":"20")"}) {
        CParseJson filter =
            json(std::string(R"({"ID":"f","TrackID":"t","Title":"t_bright",)") + range + "}");
        ASSERT_TRUE(placement.addFilter(filter));
    }
    std::string written = mltOf(placement);
    EXPECT_NE(written.find("<filter id=\"f\" title=\"t_bright\" in=\"35\" out=\"45\">"),
              std::string::npos);
    EXPECT_NE(written.find("<filter id=\"f\" title=\"t_bright\">"), std::string::npos);
    EXPECT_NE(written.find("<filter id=\"f\" title=\"t_bright\" in=\"-1\" out=\"20\">"),
              std::string::npos);
    EXPECT_EQ(placement.filters()[0].in(), "10");
    modeltest::expectProjectElementRoundTrip(placement);
}

TEST(MePlayListFilters, DeletingAnUnknownFilterLogsAndStillSucceeds) {
    modeltest::loadTestCatalogue();
    MePlayList placement = placementFrom(R"({"ID":"p"})");
    CParseJson filter = json(R"({"ID":"f","TrackID":"t","Title":"t_bright"})");
    CParseJson multi = json(R"({"ID":"m","TrackID":"t","Title":"t_multi"})");
    CParseJson unknown = json(R"({"ID":"u","TrackID":"t","Title":"t_nothing"})");
    ASSERT_TRUE(placement.addFilter(filter));
    ASSERT_TRUE(placement.addMultiFilter(multi));
    EXPECT_FALSE(placement.addFilter(unknown));
    EXPECT_FALSE(placement.addMultiFilter(unknown));
    modeltest::expectProjectElementRoundTrip(placement);

    std::vector<std::string> lines;
    setLogObserver([&](int, const std::string& line) { lines.push_back(line); });
    EXPECT_TRUE(placement.deleteFilter("m"));
    EXPECT_TRUE(placement.deleteFilter("f"));
    EXPECT_TRUE(placement.deleteFilter("f"));
    setLogObserver(nullptr);
    EXPECT_TRUE(placement.filters().empty());
    EXPECT_TRUE(placement.multiFilters().empty());
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("MePlayList::deleteFilter failed still return true filterID [f]\n"),
              std::string::npos);
}

TEST(MePlayListJson, CountsDefaultToZeroAndDurationSpansInToOut) {
    MePlayList placement = placementFrom(R"({"ID":"p","In":"10","Out":"59","BlankLength":""})");
    EXPECT_EQ(placement.blankLength(), "0");
    EXPECT_EQ(placement.repeat(), "0");
    EXPECT_EQ(placement.headIn(), "0");
    EXPECT_EQ(placement.duration(), "50");
    EXPECT_FALSE(MePlayList().initFromJsonText(R"({"In":"1"})"));
}

}  // namespace
