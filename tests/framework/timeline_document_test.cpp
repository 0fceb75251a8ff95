// The timeline a script of editing commands builds, as the engine sees it:
// the document the preview would play loads in MLT's "xml" producer with
// the project's track layout, and renders headless with melt.
#include <gtest/gtest.h>

#include <mlt-7/framework/mlt.h>

#include <memory>

#include "framework_fixture.h"
#include "support/framework_timeline_script.h"
#include "support/test_media.h"
#include "timeline/effect_catalogue.h"

namespace fwtest {
namespace {

struct ProfileCloser {
    void operator()(mlt_profile profile) const { mlt_profile_close(profile); }
};
struct ProducerCloser {
    void operator()(mlt_producer producer) const { mlt_producer_close(producer); }
};
using ProfileHolder = std::unique_ptr<mlt_profile_s, ProfileCloser>;
using ProducerHolder = std::unique_ptr<mlt_producer_s, ProducerCloser>;

class TimelineDocumentTest : public FrameworkTest {
  protected:
    void SetUp() override {
        FrameworkTest::SetUp();
        MeEffectCatalogue::instance().loadCatalogues(
            std::string(QV_SOURCE_DIR) + "/configs/Effect.xml",
            std::string(QV_SOURCE_DIR) + "/configs/MultiEffect.xml");
        folder_ = testsupport::makeTempDirectory("qv-fw-timeline");
        for (const frameworktest::ScriptStep& step : frameworktest::timelineScript(
                 testsupport::colourBarsWithTone(4), testsupport::toneWav(4), folder_)) {
            std::string answer = resultValueText(command(step.command, step.content));
            EXPECT_EQ(answer, step.answer) << step.command << " " << step.content;
        }
    }

    std::string folder_;
};

std::string idOf(mlt_producer producer) {
    const char* id = mlt_properties_get(MLT_PRODUCER_PROPERTIES(producer), "id");
    return id ? id : "";
}

// The tracks of a tractor, in track order. The xml producer hands the root
// tractor back under its own service name, so a tractor is known by its id.
std::vector<mlt_producer> tracksOf(mlt_producer tractorProducer) {
    std::vector<mlt_producer> tracks;
    auto tractor = static_cast<mlt_tractor>(tractorProducer->child);
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    for (int i = 0; i < mlt_multitrack_count(multitrack); ++i) {
        tracks.push_back(mlt_multitrack_track(multitrack, i));
    }
    return tracks;
}

std::vector<std::string> idsOf(const std::vector<mlt_producer>& producers) {
    std::vector<std::string> ids;
    for (mlt_producer producer : producers) {
        ids.push_back(idOf(producer));
    }
    return ids;
}

TEST_F(TimelineDocumentTest, ScriptBuildsTheModelItDescribes) {
    EXPECT_EQ(videoTrackIds(), (std::vector<std::string>{"Track0", "Track1"}));
    ASSERT_EQ(project().audioTracks().size(), 2u);
    EXPECT_EQ(clipIds(), (std::vector<std::string>{"a1_p", "a2_p", "cc1_p", "v1_p", "v2_p"}));
    EXPECT_EQ(project().transitions().size(), 2u);
    EXPECT_EQ(project().mainFilters().size(), 1u);
    EXPECT_EQ(project().findTrack("Track0")->transitions().size(), 1u);
    EXPECT_EQ(history().size(), 15);
}

TEST_F(TimelineDocumentTest, TimelineDocumentLoadsWithTheProjectTrackLayout) {
    std::string path = folder_ + "/timeline.xml";
    ASSERT_TRUE(project().writeTimelineXml(path));
    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    ProfileHolder profile(mlt_profile_init(nullptr));
    ProducerHolder producer(mlt_factory_producer(profile.get(), "xml", path.c_str()));
    ASSERT_NE(producer, nullptr);
    ASSERT_EQ(idOf(producer.get()), "interface_tractor");

    std::vector<mlt_producer> outer = tracksOf(producer.get());
    ASSERT_EQ(idsOf(outer), (std::vector<std::string>{"maintractor"}));
    std::vector<mlt_producer> tracks = tracksOf(outer[0]);
    ASSERT_EQ(idsOf(tracks), frameworktest::scriptTrackIds());

    // Each track tractor holds one playlist per placement of the model.
    const std::vector<std::vector<std::string>> placements = {
        {"v1", "v2"}, {"cc1"}, {"a1"}, {"a2"}};
    for (size_t i = 0; i < tracks.size(); ++i) {
        EXPECT_EQ(idsOf(tracksOf(tracks[i])), placements[i]) << idOf(tracks[i]);
    }
    // The main track lays its clips end to end: 40 frames, then a blank of
    // 35 (the 5 frozen head frames eat into it), 5 + 40 frames and 8 frozen
    // tail frames.
    EXPECT_EQ(mlt_producer_get_length(tracks[0]), 88);
    EXPECT_EQ(mlt_producer_get_length(tracks[1]), 40);
    EXPECT_EQ(mlt_producer_get_length(tracks[3]), 70);
    EXPECT_EQ(mlt_producer_get_length(producer.get()), 88);
}

TEST_F(TimelineDocumentTest, TimelineDocumentRendersHeadlessWithMelt) {
    std::string path = folder_ + "/timeline.xml";
    ASSERT_TRUE(project().writeTimelineXml(path));
    std::string movie = folder_ + "/render.mp4";
    ASSERT_EQ(testsupport::runCommand("melt '" + path + "' out=10 -consumer avformat:'" + movie +
                                      "' > '" + folder_ + "/melt.log' 2>&1"),
              0)
        << testsupport::readFile(folder_ + "/melt.log");
    std::string frames;
    testsupport::runCommand(
        "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
        "stream=nb_read_frames -of csv=p=0 '" +
            movie + "'",
        &frames);
    EXPECT_EQ(std::atoi(frames.c_str()), 11) << frames;
}

}  // namespace
}  // namespace fwtest
