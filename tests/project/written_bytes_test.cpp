#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "project/project.h"
#include "support/model_fixtures.h"

// The project document and the timeline XML of varied projects, byte for byte
// as the first writer (libxml2's tree, saved with xmlSaveFormatFileEnc) wrote
// them. The reference files in golden/ were made by that writer; setting
// QV_REGENERATE_GOLDEN=1 rewrites them from the current one.
namespace {

// Characters that need escaping in text or in attributes, control characters,
// non-ASCII text and a NUL (the writer stops a value at it, as C strings do).
const std::string kOdd = R"(a & b <c> \"q\" 'p' ]]> \t|\n|\r|\u0001 caf\u00e9 € 😀)";

using Edit = std::pair<bool (MeProject::*)(CParseJson&), std::string>;

// Every kind of object the commands can make, with and without its optional
// parts, on main and plain, video and audio tracks.
const Edit kEdits[] = {
    {&MeProject::addTrack,
     R"({"ID":"Track0","Type":"composite","Main":true,"Title":")" + kOdd + R"("})"},
    {&MeProject::addTrack, R"({"ID":"Track1","Type":"video_only","In":"0","Out":"500"})"},
    {&MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio","Main":true})"},
    {&MeProject::addTrack, R"({"ID":"AudioTrack1","Type":"audio_only"})"},
    {&MeProject::addTrack, R"({"ID":"Spur \u00dc","Type":"composite"})"},
    {&MeProject::addClip, R"({"TrackID":"Track0","ID":"c1","Index":-1,"MltService":"avformat",
        "Resource":")" + kOdd +
                              R"(","Type":"video","Length":250,"In":"0","Out":"99",
        "Title":"dropped"})"},
    {&MeProject::addClip, R"({"TrackID":"Track0","ID":"c2","Index":-1,"MltService":"avformat",
        "Resource":"b.mp4","Type":"audio","Length":"120","In":"10","Out":"59","RepeatHead":"4",
        "RepeatTail":"6","Repeat":"2","BlankLength":"30"})"},
    {&MeProject::addComposeClip, R"({"TrackID":"Track0","ID":"c3","Index":1,
        "MltService":"composer","Resource":"scene","Type":"image","In":"0","Out":"74",
        "SubClips":[{"Name":"title & <1>","Resource":")" +
                                     kOdd + R"(","Type":"text","In":"0",
        "Out":"49","Start":"10","End":"59","Profile":{"Width":1280,"Height":720,
        "FrameRate":29.97}},{"Name":"b","Resource":"x.png","Profile":{"FrameRate":25}},
        {"Name":"a","Resource":"y.png","Profile":{"Width":640,"FrameRate":23.976}}]})"},
    {&MeProject::addClip, R"({"TrackID":"Track0","ID":"c4","Index":-1,"MltService":"color",
        "Resource":"0xff0000ff","In":"0","Out":"24"})"},
    {&MeProject::addClip, R"({"TrackID":"Track0","ID":"c5","Index":-1,"MltService":"avformat",
        "Resource":"nul\u0000after","In":"5","Out":"-1"})"},
    {&MeProject::addClip, R"({"TrackID":"Track1","ID":"v1","Index":-1,"MltService":"avformat",
        "Resource":"v.mp4","In":"0","Out":"40","BlankLength":"12"})"},
    {&MeProject::addClip, R"({"TrackID":"Track1","ID":"v2","Index":0,"MltService":"avformat",
        "Resource":"w.mp4","BlankLength":"3"})"},
    {&MeProject::addClip, R"({"TrackID":"AudioTrack0","ID":"a1","Index":-1,"MltService":"avformat",
        "Resource":"a1.wav","Type":"audio","In":"0","Out":"199"})"},
    {&MeProject::addClip, R"({"TrackID":"AudioTrack0","ID":"a2","Index":-1,"MltService":"avformat",
        "Resource":"a2.wav","Type":"audio","In":"0","Out":"99"})"},
    {&MeProject::addClip, R"({"TrackID":"AudioTrack1","ID":"a3","Index":-1,"MltService":"avformat",
        "Resource":"a3.wav","Type":"audio","In":"5","Out":"80"})"},
    {&MeProject::addClip, R"({"TrackID":"Spur \u00dc","ID":"s\u00fc","Index":-1,
        "MltService":"avformat","Resource":"\u00fc.mp4","In":"0","Out":"9"})"},
    // A plain clip replaces a compose clip; a compose clip refilled in place.
    {&MeProject::alterClip, R"({"TrackID":"Track0","ID":"c6","IndexOld":3,"IndexNew":3,
        "MltService":"avformat","Resource":"replaced.mp4","In":"0","Out":"29"})"},
    {&MeProject::alterComposeClip, R"({"TrackID":"AudioTrack0","ID":"a2","IndexOld":1,
        "IndexNew":1,"MltService":"avformat","Resource":"again.wav","Type":"audio","In":"0",
        "Out":"89","SubClips":[]})"},
    // Transitions inside tracks: one placement is the B side twice.
    {&MeProject::addTransition, R"({"ID":"x1","Title":"t_dissolve","In":"10","Out":"15",
        "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1})"},
    {&MeProject::addTransition, R"({"ID":"x2","Title":"t_reversed","In":"5","Out":"5",
        "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":1,"Index_B":2,
        "Property":{"softness":")" + kOdd +
                                    R"("}})"},
    {&MeProject::addTransition, R"({"ID":"x0","Title":"unknown","In":"3","Out":"4",
        "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":2})"},
    {&MeProject::addTransition, R"({"ID":"ax","Title":"t_dissolve","In":"20","Out":"20",
        "TrackID_A":"AudioTrack0","TrackID_B":"AudioTrack0","Index_A":0,"Index_B":1})"},
    {&MeProject::addTransition, R"({"ID":"px","Title":"t_dissolve","In":"0","Out":"50",
        "TrackID_A":"Track1","TrackID_B":"Track1","Index_A":0,"Index_B":1})"},
    // Transitions between tracks, one naming a track that does not exist.
    {&MeProject::addTransition, R"({"ID":"t1","Title":"t_dissolve","In":"0","Out":"100",
        "TrackID_A":"Track0","TrackID_B":"AudioTrack0","Property":{"a_track":"7"}})"},
    {&MeProject::addTransition, R"({"ID":"t2","Title":"t_reversed","TrackID_A":"Track1",
        "TrackID_B":"nowhere"})"},
    {&MeProject::addTransition, R"({"ID":"t3","Title":"t_trackless","TrackID_A":"AudioTrack1",
        "TrackID_B":"Spur \u00dc"})"},
    {&MeProject::addTransition, R"({"ID":"t4","Title":"nothing","TrackID_A":"a",
        "TrackID_B":"b"})"},
    // Filters on tracks, on placements and on the whole timeline.
    {&MeProject::addFilter, R"({"ID":"f1","TrackID":"Track0","Title":"t_bright",
        "Property":{"level":")" +
                                kOdd + R"(","extra":"1"}})"},
    {&MeProject::addFilter, R"({"ID":"w1","TrackID":"Track0","Title":"webvfxfilter"})"},
    {&MeProject::addFilter, R"({"ID":"f2","TrackID":"Track0","Title":"t_bright","Index":1,
        "In":"2","Out":"8"})"},
    {&MeProject::addFilter, R"({"ID":"f3","TrackID":"Track0","Title":"t_bright","Index":1,
        "In":"-1","Out":"8"})"},
    {&MeProject::addFilter, R"({"ID":"f4","TrackID":"AudioTrack1","Title":"t_bright"})"},
    {&MeProject::addFilter, R"({"ID":"g1","TrackID":"maintractor","Title":"t_bright",
        "In":"0","Out":"300"})"},
    {&MeProject::addFilter, R"({"ID":"g1","TrackID":"maintractor","Title":"webvfxfilter"})"},
    {&MeProject::addFilter, R"({"ID":"g2","TrackID":"maintractor","Title":"t_bright",
        "Property":{"level":"0.25"}})"},
    {&MeProject::addMultiFilter, R"({"ID":"m1","TrackID":"Track0","Title":"t_multi",
        "Xml":"track & multi.xml","Properties":[{"ID":"one","Property":{"level":")" +
                                     kOdd + R"("}},{"ID":"two","Content":{"In":"3"}}]})"},
    {&MeProject::addMultiFilter, R"({"ID":"m2","TrackID":"Track0","Title":"t_multi",
        "Index":0})"},
    {&MeProject::addMultiFilter, R"({"ID":"m3","TrackID":"Track1","Title":"t_multi",
        "Index":1,"In":"1","Out":"2"})"},
};

// What edits cannot make: a global feed, hidden tracks, missing fields and
// repeated identifiers, read from a hand-written document.
const char kHandWritten[] = R"(<Quillavant>
  <Clips><Clip><ID>g_p</ID><Global>1</Global><MltService>avformat</MltService>
    <Resource>g.mp4</Resource><Type>video</Type><Length>30</Length></Clip>
    <Clip><ID>g_p</ID><Resource>second</Resource></Clip>
    <ComposeClip><ID>k_p</ID><Title>t &amp; u</Title><SubClips><SubClip name="z" fps="x">r</SubClip>
    <SubClip name="z">repeated</SubClip><SubClip>nameless</SubClip></SubClips></ComposeClip></Clips>
  <Tracks type="video"><Track><ID>Track0</ID><Global>1</Global><Type>composite</Type>
    <Visible>1</Visible><Main>1</Main><Playlists><Playlist><ID>p</ID><In>0</In><Out>9</Out>
    <MediaId>g_p</MediaId><BlankLen>4</BlankLen></Playlist><Playlist><ID>q</ID>
    <MediaId>k_p</MediaId></Playlist></Playlists><Transitions><Transition><ID>x</ID><In>2</In>
    <Out>2</Out><APlaylistId>p</APlaylistId><BPlaylistId>gone</BPlaylistId></Transition>
    </Transitions></Track>
    <Track><ID>Track1</ID><Type>video_only</Type><Visible>0</Visible></Track></Tracks>
  <Tracks><Track><ID>Track2</ID><Type>composite</Type></Track></Tracks>
  <Tracks type="audio"><Track><ID>AudioTrack1</ID><Type>audio</Type><Visible>0</Visible>
    </Track></Tracks>
  <Transitions><Transition><ID>y</ID><ATrackId>Track1</ATrackId><BTrackId>Track2</BTrackId>
    <Effect><EffectName>e</EffectName><Type>9</Type><Property name="a_track">3</Property>
    <Property name="b_track">1</Property><Property name="a_track">dup</Property></Effect>
    </Transition></Transitions>
  <Filters><Filter><ID>f</ID><In>1</In></Filter></Filters></Quillavant>)";

struct Scenario {
    const char* name;
    std::function<void(MeProject&, const std::string& folder)> build;
};

void buildByEdits(MeProject& project, const std::string&) {
    for (const auto& [operation, text] : kEdits) {
        CParseJson content = modeltest::json(text);
        EXPECT_TRUE((project.*operation)(content)) << text;
    }
}

void buildFromDocument(MeProject& project, const std::string& folder) {
    modeltest::writeTextFile(folder + "/hand.xml", kHandWritten);
    ASSERT_TRUE(project.loadProject(folder + "/hand.xml"));
}

const Scenario kScenarios[] = {{"edited", buildByEdits}, {"loaded", buildFromDocument}};

std::string goldenPath(const std::string& name) {
    return std::string(QV_SOURCE_DIR) + "/tests/project/golden/" + name;
}

void expectMatchesGolden(const std::string& written, const std::string& name) {
    if (std::getenv("QV_REGENERATE_GOLDEN") != nullptr) {
        modeltest::writeTextFile(goldenPath(name), written);
    }
    const std::string golden = testsupport::readFile(goldenPath(name));
    ASSERT_FALSE(golden.empty()) << name;
    EXPECT_EQ(written, golden) << name;
}

// The project document before and after the timeline is written (writing a
// main track stores its placements' blank lengths), and the timeline itself.
TEST(WrittenBytes, ProjectDocumentAndTimelineMatchTheReferenceWriter) {
    modeltest::loadTestCatalogue();
    for (const Scenario& scenario : kScenarios) {
        SCOPED_TRACE(scenario.name);
        const std::string folder = testsupport::makeTempDirectory("qv-golden");
        MeProject project;
        scenario.build(project, folder);
        const std::string prefix = scenario.name;
        ASSERT_TRUE(project.saveProject(folder + "/project.xml"));
        expectMatchesGolden(testsupport::readFile(folder + "/project.xml"),
                            prefix + "-project.xml");
        ASSERT_TRUE(project.writeTimelineXml(folder + "/timeline.xml"));
        expectMatchesGolden(testsupport::readFile(folder + "/timeline.xml"),
                            prefix + "-timeline.xml");
        ASSERT_TRUE(project.saveProject(folder + "/again.xml"));
        expectMatchesGolden(testsupport::readFile(folder + "/again.xml"),
                            prefix + "-project-after-timeline.xml");
    }
}

}  // namespace
