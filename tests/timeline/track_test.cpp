#include <gtest/gtest.h>

#include "support/model_fixtures.h"
#include "timeline/tractor.h"

using modeltest::json;
using modeltest::xmlOf;

namespace {

template <typename Object>
std::string mltOf(Object&& object) {
    return xmlOf([&](xmlNodePtr root) { object.writeMltXml(root); });
}

MePlayList placementFrom(const std::string& text) {
    MePlayList placement;
    EXPECT_TRUE(placement.initFromJsonText(text)) << text;
    placement.setMediaId("c_p");
    return placement;
}

TEST(MePlayList, WritesBlankHeadClipAndTailEntries) {
    const char* cases[][2] = {
        {R"({"ID":"p","BlankLength":"25","In":"0","Out":"99"})",
         R"(<blank length="25"/>
  <entry producer="c_p" in="0" out="99"/>)"},
        {R"({"ID":"p","In":"5","BlankLength":""})", R"(<entry producer="c_p"/>)"},
        {R"({"ID":"p","In":"40","Out":"60","RepeatHead":"10","RepeatTail":"3","Repeat":"2"})",
         R"(<entry producer="c_p" in="40" out="40" repeat="10"/>
  <entry producer="c_p" in="40" out="60" repeat="2"/>
  <entry producer="c_p" in="60" out="60" repeat="3"/>)"}};
    for (const auto& [fields, entries] : cases) {
        EXPECT_EQ(mltOf(placementFrom(fields)),
                  "<playlist id=\"p\">\n  " + std::string(entries) + "\n</playlist>\n");
    }
}

TEST(MePlayList, HeadRepeatEatsIntoTheBlank) {
    const char* cases[][3] = {{"25", "0", "25"}, {"50", "20", "30"}, {"30", "0", "30"}};
    for (const auto& [blank, blankAfter, repeatAfter] : cases) {
        MePlayList placement = placementFrom(R"({"ID":"p","In":"7","Out":"9"})");
        placement.setBlankLength(blank);
        EXPECT_TRUE(placement.setHeadRepeat(30));
        EXPECT_EQ(placement.blankLength() + " " + placement.repeatHead(),
                  std::string(blankAfter) + " " + repeatAfter);
    }
}

// The stored filters keep the client's range; deleting an unknown one succeeds.
TEST(MePlayList, FilterRangesShiftByTheBlankOnlyInMltXml) {
    modeltest::loadTestCatalogue();
    MePlayList placement = placementFrom(R"({"ID":"p","BlankLength":"25","In":"0","Out":"99"})");
    for (const char* fields : {R"("ID":"a","In":"10","Out":"20")", R"("ID":"b","In":"-1")",
                               R"("ID":"c","In":"-1","Out":"20")"}) {
        CParseJson filter =
            json(std::string(R"({"TrackID":"t","Title":"t_bright",)") + fields + "}");
        ASSERT_TRUE(placement.addFilter(filter));
    }
    const std::string written = mltOf(placement);
    for (const char* element :
         {R"("a" title="t_bright" in="35" out="45">)", R"("b" title="t_bright">)",
          R"("c" title="t_bright" in="-1" out="20">)"}) {
        EXPECT_NE(written.find(std::string("<filter id=") + element), std::string::npos) << element;
    }
    EXPECT_EQ(placement.filters()[0].in(), "10");
    modeltest::expectProjectElementRoundTrip(placement);
    EXPECT_TRUE(placement.deleteFilter("a") && placement.deleteFilter("a"));
    EXPECT_EQ(placement.filters().size(), 2u);
}

class TractorTest : public ::testing::Test {
  protected:
    void SetUp() override { modeltest::loadTestCatalogue(); }
    void init(const std::string& fields) {
        ASSERT_TRUE(apply(&MeTractor::initFromJson, "{" + fields + "}"));
    }
    // A placement "p<n>" of media "c<n>_p" playing frames in..out.
    bool place(int n, int in, int out, int index = -1) {
        CParseJson fields = json(R"({"ID":"p)" + std::to_string(n) + R"(","In":")" +
                                 std::to_string(in) + R"(","Out":")" + std::to_string(out) +
                                 R"(","BlankLength":"7","Index":)" + std::to_string(index) + "}");
        return tractor_.addClip(fields, "c" + std::to_string(n) + "_p");
    }
    bool apply(bool (MeTractor::*operation)(CParseJson&), const std::string& text) {
        CParseJson fields = json(text);
        return (tractor_.*operation)(fields);
    }
    MeTractor tractor_;
};

TEST_F(TractorTest, InsertAtAppendsAtTheEndOrMinusOneAndRefusesPastIt) {
    init(R"("ID":"T","Type":"composite")");
    ASSERT_TRUE(place(1, 0, 9) && place(2, 0, 9, 0) && place(3, 0, 9, 2));
    EXPECT_FALSE(place(4, 0, 9, 4) || place(4, 0, 9, -2));
    CParseJson noIndex = json(R"({"ID":"p9"})");
    EXPECT_FALSE(tractor_.addClip(noIndex, "c9_p"));
    EXPECT_EQ(tractor_.mediaIds(), (std::vector<std::string>{"c2_p", "c1_p", "c3_p"}));
    EXPECT_EQ(tractor_.positionOf("p3"), 20);
}

// On the main track each placement starts where the previous one ends.
TEST_F(TractorTest, MainTrackTransitionOverlapsTheCutWithStillTailAndHead) {
    init(R"("ID":"Track0","Type":"video_only","Main":true)");
    ASSERT_TRUE(place(1, 0, 99) && place(2, 0, 49));
    ASSERT_TRUE(apply(&MeTractor::addTransition, R"({"ID":"x","Title":"t_dissolve","In":"10",
        "Out":"15","TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1})"));
    EXPECT_EQ(mltOf(tractor_), R"(<playlist id="p1">
  <entry producer="c1_p" in="0" out="99"/>
  <entry producer="c1_p" in="99" out="99" repeat="15"/>
</playlist>
<playlist id="p2">
  <blank length="90"/>
  <entry producer="c2_p" in="0" out="0" repeat="10"/>
  <entry producer="c2_p" in="0" out="49"/>
</playlist>
<tractor id="Track0">
  <track producer="p1" hide="audio"/>
  <track producer="p2" hide="audio"/>
  <transition id="x" title="t_dissolve" in="90" out="114">
    <property name="a_track">0</property>
    <property name="b_track">1</property>
    <property name="mlt_service">luma</property>
  </transition>
</tractor>
)");
    EXPECT_EQ(tractor_.transitions().at("x")->in(), "10");
    EXPECT_EQ(tractor_.placementAt(1)->blankLength(), "100");
}

// Plain tracks keep the blanks, write no transitions and put webvfx filters last.
TEST_F(TractorTest, PlainTrackHidesByType) {
    init(R"("ID":"T","Type":"audio_only")");
    ASSERT_TRUE(place(1, 0, 9) && place(2, 0, 9));
    ASSERT_TRUE(apply(&MeTractor::addTransition,
                      R"({"ID":"x","TrackID_A":"T","TrackID_B":"T","Index_A":0,"Index_B":1})"));
    ASSERT_TRUE(apply(&MeTractor::addFilter, R"({"ID":"w","TrackID":"T","Title":"webvfxfilter"})"));
    ASSERT_TRUE(apply(&MeTractor::addFilter, R"({"ID":"b","TrackID":"T","Title":"t_bright"})"));
    const std::string written = mltOf(tractor_);
    EXPECT_NE(written.find("<track producer=\"p2\" hide=\"video\"/>"), std::string::npos);
    EXPECT_NE(written.find("<blank length=\"7\"/>"), std::string::npos);
    EXPECT_EQ(written.find("<transition"), std::string::npos);
    EXPECT_LT(written.find("<filter id=\"b\""), written.find("<filter id=\"w\""));
    std::string saved = xmlOf([&](xmlNodePtr root) { tractor_.writeXml(root); });
    EXPECT_LT(saved.find("<ID>b</ID>"), saved.find("<ID>w</ID>"));
}

// With TrackID AudioTrack0 placements are found by identifier, else refilled at IndexOld.
TEST_F(TractorTest, AlterClipMovesPlacementsExceptOnAudioTracks) {
    init(R"("ID":"Track1","Type":"composite")");
    ASSERT_TRUE(place(1, 0, 9) && place(2, 0, 9) && place(3, 0, 9));
    CParseJson move = json(R"({"ID":"p3","TrackID":"Track1","IndexOld":2,"IndexNew":0,"In":"1"})");
    ASSERT_TRUE(tractor_.alterClip(move, "n_p"));
    EXPECT_EQ(tractor_.mediaIds(), (std::vector<std::string>{"n_p", "c1_p", "c2_p"}));
    EXPECT_EQ(tractor_.placementAt(0)->in(), "1");
    auto alter = [&](const char* fields) {
        CParseJson content = json(std::string(R"({"TrackID":"AudioTrack0",)") + fields + "}");
        return tractor_.alterClip(content, "x_p");
    };
    EXPECT_TRUE(alter(R"("ID":"p1","IndexOld":1,"IndexNew":0)"));
    EXPECT_FALSE(alter(R"("ID":"yy","IndexOld":0,"IndexNew":1)"));
    EXPECT_FALSE(alter(R"("ID":"p2","IndexOld":0)"));
    EXPECT_TRUE(alter(R"("ID":"zz","IndexOld":0,"IndexNew":0)"));
    EXPECT_EQ(tractor_.mediaIds(), (std::vector<std::string>{"x_p", "x_p", "c2_p"}));
}

}  // namespace
