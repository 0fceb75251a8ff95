// The timeline XML written from a project loads in MLT's own "xml" producer
// and renders.
#include <framework/mlt.h>
#include <gtest/gtest.h>

#include <memory>

#include "project/project.h"
#include "support/model_fixtures.h"

using modeltest::json;

namespace {

template <typename Handle, void (*Close)(Handle)>
struct MltClose {
    void operator()(Handle handle) const { Close(handle); }
};
using Profile = std::unique_ptr<mlt_profile_s, MltClose<mlt_profile, mlt_profile_close>>;
using Producer = std::unique_ptr<mlt_producer_s, MltClose<mlt_producer, mlt_producer_close>>;
using Frame = std::unique_ptr<mlt_frame_s, MltClose<mlt_frame, mlt_frame_close>>;

// A tractor keeps its tracks in its "multitrack" data, whatever type the
// xml producer reports for it.
mlt_multitrack multitrackOf(mlt_producer producer) {
    return static_cast<mlt_multitrack>(mlt_properties_get_data(
        MLT_PRODUCER_PROPERTIES(mlt_producer_cut_parent(producer)), "multitrack", nullptr));
}

void edit(MeProject& project, bool (MeProject::*operation)(CParseJson&), const std::string& text) {
    CParseJson content = json(text);
    ASSERT_TRUE((project.*operation)(content)) << text;
}

TEST(TimelineInMlt, MultiTrackTimelineLoadsWithItsLengthAndTracksAndRenders) {
    modeltest::loadTestCatalogue();
    const std::string video = testsupport::colourBarsWithTone(4);
    const std::string tone = testsupport::toneWav(4);
    MeProject project;
    edit(project, &MeProject::addTrack, R"({"ID":"Track0","Type":"composite","Main":true})");
    edit(project, &MeProject::addTrack, R"({"ID":"AudioTrack0","Type":"audio"})");
    const std::string clip = R"("MltService":"avformat","Type":"video","Index":-1,"Resource":")";
    edit(project, &MeProject::addClip,
         R"({"TrackID":"Track0","ID":"v1","In":"0","Out":"49",)" + clip + video + "\"}");
    edit(project, &MeProject::addClip,
         R"({"TrackID":"Track0","ID":"v2","In":"0","Out":"74",)" + clip + video + "\"}");
    edit(project, &MeProject::addClip,
         R"({"TrackID":"AudioTrack0","ID":"a1","In":"0","Out":"99","Type":"audio",)"
         R"("MltService":"avformat","Index":-1,"Resource":")" +
             tone + "\"}");
    edit(project, &MeProject::addTransition, R"({"ID":"x","Title":"t_dissolve","In":"10",
        "Out":"15","TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,"Index_B":1})");
    edit(project, &MeProject::addFilter,
         R"({"ID":"f","TrackID":"maintractor","Title":"t_bright","In":"0","Out":"20"})");
    const std::string path = testsupport::makeTempDirectory("qv-mlt") + "/timeline.xml";
    ASSERT_TRUE(project.writeTimelineXml(path));

    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    Profile profile(mlt_profile_init(nullptr));
    Producer root(mlt_factory_producer(profile.get(), "xml", path.c_str()));
    ASSERT_TRUE(root) << testsupport::readFile(path);
    // Track0: 50 frames, 15 still, then the second clip from 90 (blank 40 +
    // head 10 + 75 frames): 125 frames; the audio track is 100 long.
    EXPECT_EQ(mlt_producer_get_length(root.get()), 125);
    mlt_multitrack interfaceTracks = multitrackOf(root.get());
    ASSERT_NE(interfaceTracks, nullptr);
    ASSERT_EQ(mlt_multitrack_count(interfaceTracks), 1);
    mlt_multitrack mainTracks = multitrackOf(mlt_multitrack_track(interfaceTracks, 0));
    ASSERT_NE(mainTracks, nullptr);
    EXPECT_EQ(mlt_multitrack_count(mainTracks), 2);
    EXPECT_EQ(mlt_producer_get_length(mlt_multitrack_track(mainTracks, 1)), 100);

    for (int position : {0, 55, 95, 124}) {
        mlt_producer_seek(root.get(), position);
        mlt_frame raw = nullptr;
        ASSERT_EQ(mlt_service_get_frame(MLT_PRODUCER_SERVICE(root.get()), &raw, 0), 0);
        Frame frame(raw);
        mlt_image_format format = mlt_image_rgb;
        int width = 0;
        int height = 0;
        uint8_t* image = nullptr;
        ASSERT_EQ(mlt_frame_get_image(frame.get(), &image, &format, &width, &height, 0), 0)
            << position;
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(width, profile->width);
        EXPECT_EQ(height, profile->height);
        long sum = 0;
        for (int i = 0; i < width * height * 3; i += 97) {
            sum += image[i];
        }
        EXPECT_GT(sum, 0) << "frame " << position << " is black";
    }
}

}  // namespace
