#include <gtest/gtest.h>

#include "host/log.h"
#include "project/profile_rewrite.h"
#include "project/project.h"
#include "support/model_fixtures.h"

using modeltest::writeTextFile;

namespace {

// Hidden tracks come only from a project file.
const char kProject[] = R"(<Quillavant>
  <Clips><Clip><ID>c_p</ID><MltService>avformat</MltService><Resource>a.mp4</Resource>
    <Type>audio</Type></Clip></Clips>
  <Tracks type="composition">
    <Track><ID>Track0</ID><Type>composite</Type><Visible>1</Visible><Main>1</Main>
      <Playlists><Playlist><ID>p</ID><In>0</In><Out>9</Out><MediaId>c_p</MediaId>
        <BlankLen>4</BlankLen></Playlist></Playlists></Track>
    <Track><ID>Track1</ID><Type>video_only</Type><Visible>0</Visible></Track>
  </Tracks>
  <Tracks type="audio">
    <Track><ID>AudioTrack0</ID><Type>audio_only</Type><Visible>1</Visible></Track>
    <Track><ID>AudioTrack1</ID><Type>audio</Type><Visible>0</Visible></Track>
  </Tracks>
  <Transitions><Transition><ID>x</ID><ATrackId>Track1</ATrackId><BTrackId>AudioTrack0</BTrackId>
    <Effect><EffectName>e</EffectName><Property name="a_track">0</Property>
      <Property name="b_track">0</Property></Effect></Transition>
    <Transition><ID>y</ID><ATrackId>nowhere</ATrackId><BTrackId>Track0</BTrackId>
      <Effect><Property name="a_track">5</Property><Property name="b_track">1</Property></Effect>
    </Transition></Transitions>
  <Filters><Filter><ID>f</ID><In>1</In><Out>2</Out><Effect><Property name="k">v</Property>
    </Effect></Filter></Filters>
</Quillavant>)";

const char kTimeline[] = R"(<?xml version="1.0" encoding="utf-8"?>
<mlt>
  <producer id="c_p">
    <property name="resource">a.mp4</property>
    <property name="mlt_service">avformat</property>
    <property name="video_index">-1</property>
  </producer>
  <playlist id="p">
    <entry producer="c_p" in="0" out="9"/>
  </playlist>
  <tractor id="Track0">
    <track producer="p"/>
  </tractor>
  <tractor id="AudioTrack0"/>
  <tractor id="maintractor">
    <track producer="Track0"/>
    <track producer="Track1" hide="audio"/>
    <track producer="AudioTrack0" hide="video"/>
    <transition id="x">
      <property name="a_track">1</property>
      <property name="b_track">2</property>
    </transition>
    <transition id="y">
      <property name="a_track">0</property>
      <property name="b_track">-1</property>
    </transition>
    <filter id="f" in="1" out="2">
      <property name="k">v</property>
    </filter>
  </tractor>
  <tractor id="interface_tractor" global_feed="1">
    <track producer="maintractor"/>
  </tractor>
</mlt>
)";

TEST(TimelineXml, StacksTracksUnderMaintractorAndSkipsHiddenElements) {
    const std::string folder = testsupport::makeTempDirectory("qv-timeline");
    writeTextFile(folder + "/project.xml", kProject);
    MeProject project;
    ASSERT_TRUE(project.loadProject(folder + "/project.xml"));
    ASSERT_TRUE(project.writeTimelineXml(folder + "/timeline.xml"));
    EXPECT_EQ(testsupport::readFile(folder + "/timeline.xml"), kTimeline);
    // Writing works on copies: the stored transitions keep their tracks.
    EXPECT_EQ(project.transitions().at("x")->effect().properties().at("a_track"), "0");
}

TEST(ProfileRewrite, OverwritesPresentProfileValuesAndHidesVideoOfFirstAudioTrack) {
    const std::string path = testsupport::makeTempDirectory("qv-profile") + "/graph.xml";
    writeTextFile(path, R"(<mlt>
  <profile description="PAL" width="720" height="576" frame_rate_num="30" display_aspect_num="4"/>
  <tractor id="AudioTrack0"><track producer="a"/><track producer="b" hide="both"/>
    <filter id="f"/><track producer="c"/></tractor>
  <tractor id="AudioTrack1"><track producer="d"/></tractor>
</mlt>)");
    rewriteMltProfile(path, 1920, 1080);
    EXPECT_EQ(testsupport::readFile(path),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt>\n"
              "  <profile description=\"720p\" width=\"1920\" height=\"1080\" "
              "frame_rate_num=\"25\" display_aspect_num=\"16\"/>\n"
              "  <tractor id=\"AudioTrack0\">\n    <track producer=\"a\" hide=\"video\"/>\n"
              "    <track producer=\"b\" hide=\"both\"/>\n    <filter id=\"f\"/>\n"
              "    <track producer=\"c\"/>\n  </tractor>\n"
              "  <tractor id=\"AudioTrack1\">\n    <track producer=\"d\"/>\n  </tractor>\n"
              "</mlt>\n");
}

TEST(ProfileRewrite, LeavesUnusableFilesUnchangedAndSaysWhy) {
    const std::string folder = testsupport::makeTempDirectory("qv-profile");
    struct Case {
        const char* text;
        const char* line;
    } cases[] = {
        {"<project><profile width=\"1\"/></project>", "Mlt is not root\n"},
        {"garbage", "Document not parsed successfully\n"},
    };
    for (const auto& c : cases) {
        writeTextFile(folder + "/graph.xml", c.text);
        std::vector<std::string> lines;
        setLogObserver([&](int, const std::string& line) { lines.push_back(line); });
        rewriteMltProfile(folder + "/graph.xml", 1, 2);
        setLogObserver(nullptr);
        ASSERT_EQ(lines.size(), 1u) << c.text;
        EXPECT_NE(lines[0].find(c.line), std::string::npos) << lines[0];
        EXPECT_EQ(testsupport::readFile(folder + "/graph.xml"), c.text);
    }
}

}  // namespace
