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
        for (const frameworktest::ScriptStep& step :
             frameworktest::timelineScript(testsupport::colourBarsWithTone(4),
                                           testsupport::toneWav(4), folder_)) {
            std::string answer = resultValueText(command(step.command, step.content));
            EXPECT_EQ(answer, step.answer) << step.command << " " << step.content;
        }
    }

    std::string folder_;
};

// The "id" of every track a tractor holds, in track order.
std::vector<std::string> trackIdsOf(mlt_tractor tractor) {
    std::vector<std::string> ids;
    mlt_multitrack multitrack = mlt_tractor_multitrack(tractor);
    for (int i = 0; i < mlt_multitrack_count(multitrack); ++i) {
        mlt_producer track = mlt_multitrack_track(multitrack, i);
        const char* id = mlt_properties_get(MLT_PRODUCER_PROPERTIES(track), "id");
        ids.push_back(id ? id : "");
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
    EXPECT_EQ(history().size(), 14);
}

TEST_F(TimelineDocumentTest, TimelineDocumentLoadsWithTheProjectTrackLayout) {
    std::string path = folder_ + "/timeline.xml";
    ASSERT_TRUE(project().writeTimelineXml(path));
    ASSERT_NE(mlt_factory_init(nullptr), nullptr);
    ProfileHolder profile(mlt_profile_init(nullptr));
    ProducerHolder producer(mlt_factory_producer(profile.get(), "xml", path.c_str()));
    ASSERT_NE(producer, nullptr);
    EXPECT_GT(mlt_producer_get_length(producer.get()), 0);
}

}  // namespace
}  // namespace fwtest
