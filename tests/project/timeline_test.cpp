#include <framework/mlt.h>
#include <gtest/gtest.h>

#include "project/profile_rewrite.h"
#include "project/project.h"
#include "support/model_fixtures.h"

// Timelines written from a project: exact XML, rendered by MLT, profile rewrite.
namespace {

const char kProject[] = R"(<Quillavant><Clips><Clip><ID>c_p</ID><MltService>avformat</MltService>
  <Resource>a.mp4</Resource><Type>audio</Type></Clip></Clips>
  <Tracks type="composition"><Track><ID>Track0</ID><Type>composite</Type><Visible>1</Visible>
    <Main>1</Main><Playlists><Playlist><ID>p</ID><In>0</In><Out>9</Out><MediaId>c_p</MediaId>
    <BlankLen>4</BlankLen></Playlist></Playlists></Track>
    <Track><ID>Track1</ID><Type>video_only</Type><Visible>0</Visible></Track></Tracks>
  <Tracks type="audio"><Track><ID>AudioTrack0</ID><Type>audio_only</Type><Visible>1</Visible></Track>
    <Track><ID>AudioTrack1</ID><Type>audio</Type><Visible>0</Visible></Track></Tracks>
  <Transitions><Transition><ID>x</ID><ATrackId>Track1</ATrackId><BTrackId>AudioTrack0</BTrackId>
    <Effect><EffectName>e</EffectName><Property name="a_track">0</Property>
    <Property name="b_track">0</Property></Effect></Transition><Transition><ID>y</ID>
    <ATrackId>nowhere</ATrackId><BTrackId>Track0</BTrackId><Effect><Property name="a_track">5</Property>
    <Property name="b_track">1</Property></Effect></Transition></Transitions>
  <Filters><Filter><ID>f</ID><In>1</In><Out>2</Out><Effect><Property name="k">v</Property>
    </Effect></Filter></Filters></Quillavant>)";

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
    modeltest::writeTextFile(folder + "/project.xml", kProject);
    MeProject project;
    ASSERT_TRUE(project.loadProject(folder + "/project.xml"));
    ASSERT_TRUE(project.writeTimelineXml(folder + "/timeline.xml"));
    EXPECT_EQ(testsupport::readFile(folder + "/timeline.xml"), kTimeline);
    // Writing works on copies: the stored transitions keep their tracks.
    EXPECT_EQ(project.transitions().at("x")->effect().properties().at("a_track"), "0");
}

TEST(ProfileRewrite, OverwritesProfileValuesAndHidesVideoOfFirstAudioTrack) {
    const std::string path = testsupport::makeTempDirectory("qv-profile") + "/graph.xml";
    modeltest::writeTextFile(path, R"(<mlt>
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

TEST(TimelineInMlt, MultiTrackTimelineLoadsWithItsLengthAndTracksAndRenders) {
    modeltest::loadTestCatalogue();
    const std::string video =
        R"(","MltService":"avformat","Index":-1,"Type":"video","Resource":")" +
        testsupport::colourBarsWithTone(4) + "\"}";
    const std::string tone = R"(","MltService":"avformat","Index":-1,"Type":"audio","Resource":")" +
                             testsupport::toneWav(4) + "\"}";
    const std::pair<bool (MeProject::*)(CParseJson&), std::string> edits[] = {
        {&MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})"},
        {&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})"},
        {&MeProject::addClip, R"({"TrackID":"Track0","ID":"v1","In":"0","Out":"49)" + video},
        {&MeProject::addClip, R"({"TrackID":"Track0","ID":"v2","In":"0","Out":"74)" + video},
        {&MeProject::addClip, R"({"TrackID":"AudioTrack0","ID":"a1","In":"0","Out":"99)" + tone},
        {&MeProject::addTransition, R"({"ID":"x","Title":"t_dissolve","In":"10","Out":"15",
            "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1})"},
        {&MeProject::addFilter,
         R"({"ID":"f","TrackID":"maintractor","Title":"t_bright","In":"0","Out":"20"})"}};
    MeProject project;
    for (const auto& [edit, text] : edits) {
        CParseJson content = modeltest::json(text);
        ASSERT_TRUE((project.*edit)(content)) << text;
    }
    const std::string path = testsupport::makeTempDirectory("qv-mlt") + "/timeline.xml";
    ASSERT_TRUE(project.writeTimelineXml(path));

    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    mlt_profile profile = mlt_profile_init(nullptr);
    mlt_producer root = mlt_factory_producer(profile, "xml", path.c_str());
    ASSERT_TRUE(root) << testsupport::readFile(path);
    // Track0: 50 frames, 15 still, then from 90 head 10 + 75 frames.
    EXPECT_EQ(mlt_producer_get_length(root), 125);
    for (int position : {0, 55, 95, 124}) {
        mlt_producer_seek(root, position);
        mlt_frame frame = nullptr;
        ASSERT_EQ(mlt_service_get_frame(MLT_PRODUCER_SERVICE(root), &frame, 0), 0);
        mlt_image_format format = mlt_image_rgb;
        int width = 0, height = 0, sum = 0;
        uint8_t* image = nullptr;
        mlt_frame_get_image(frame, &image, &format, &width, &height, 0);
        ASSERT_TRUE(image && width == profile->width && height == profile->height) << position;
        for (int i = 0; i < width * height * 3; i += 97) {
            sum += image[i];
        }
        EXPECT_GT(sum, 0) << "frame " << position << " is black";
        mlt_frame_close(frame);
    }
    mlt_producer_close(root);
    mlt_profile_close(profile);
}

}  // namespace
