// Render plans: what an export's graph and encoders let it change about the
// engine's default render, and the movie staying the same when it does.
#include <framework/mlt.h>
#include <gtest/gtest.h>
extern "C" {
#include <libavcodec/avcodec.h>
}

#include <string>
#include <vector>

#include "export/export_session.h"
#include "export/graph_survey.h"
#include "export/render_plan.h"
#include "h264_settings.h"
#include "media/mlt_handles.h"
#include "platform/platform.h"
#include "support/export_fixtures.h"
#include "support/test_media.h"

namespace {

// Square pixels, 25 fps and BT.601, like the small test media as MLT reads
// them, so documents of the export's size need no scaling or conversion.
constexpr char kProfile[] = "square_pal";
constexpr int kFrames = 50;

class RenderPlanTest : public ::testing::Test {
  protected:
    void SetUp() override {
        media::ensureEngineFactory();
        directory_ = testsupport::makeTempDirectory("render-plan");
        bars_ = testsupport::colourBarsWithTone(3);
    }
    void TearDown() override { testsupport::runCommand("rm -rf '" + directory_ + "'"); }

    testsupport::CutTimeline cut() const {
        testsupport::CutTimeline timeline;
        timeline.source = bars_;
        timeline.frames = kFrames;
        return timeline;
    }
    std::string document(const testsupport::CutTimeline& timeline) {
        return testsupport::writeCutTimeline(
            directory_ + "/timeline" + std::to_string(++documents_) + ".xml", timeline);
    }
    // The export a client asks for: H.264 and AAC at the document's size.
    ExportSettings settings(const std::string& xmlFile, const std::string& movie) const {
        return h264Settings(xmlFile, directory_ + "/" + movie, "320", "240");
    }
    // Renders to the end; false when the render does not end. The bound only
    // guards against a render that hangs.
    static bool renderToEnd(ExportSession& session) {
        for (uint64_t begin = platform::tickCountMs(); platform::tickCountMs() - begin < 120000;
             platform::sleepMilliseconds(20)) {
            if (session.isStopped()) {
                return true;
            }
        }
        return false;
    }

    std::string directory_;
    std::string bars_;
    int documents_ = 0;
};

std::string textOf(mlt_properties properties, const char* name) {
    const char* value = mlt_properties_get(properties, name);
    return value ? value : "";
}

// The plan an engine that keeps 4:2:0 pictures whole would make for the
// session's graph; the installed engine's own plan never asks for them.
RenderPlan planWithWholePlanes(const ExportSession& session, int processors) {
    RenderTarget target = renderTargetOf(session.profile(), session.consumer(), processors);
    target.planarPicturesIntact = true;
    return planRender(GraphSurvey(session.producer(), true), target);
}

TEST_F(RenderPlanTest, FormatsFollowTheGraphAndTheEncoders) {
    auto with = [this](auto change) {
        testsupport::CutTimeline timeline = cut();
        change(timeline);
        return timeline;
    };
    const struct {
        const char* what;
        testsupport::CutTimeline timeline;
        const char* videoEncoder;
        const char* audioEncoder;
        const char* movie;
        std::string pictures;  // with whole 4:2:0 planes
        std::string sound;
    } cases[] = {
        {"cut only", cut(), "libx264", "aac", "cut.mp4", "yuv420p", "f32le"},
        // Both ask for their own formats: the conversions stay the same.
        {"dissolve and sepia", with([](auto& t) {
             t.transition = "luma";
             t.filter = "sepia";
         }),
         "libx264", "aac", "effects.mp4", "yuv420p", "f32le"},
        {"unknown effect", with([](auto& t) { t.filter = "charcoal"; }), "libx264", "aac",
         "charcoal.mp4", "", ""},
        // Mono sums channels in the format it is handed.
        {"mono", with([](auto& t) { t.filter = "mono"; }), "libx264", "aac", "mono.mp4", "yuv420p",
         ""},
        // MLT renders a document of another profile on its own and scales it.
        {"document of another size", with([](auto& t) {
             t.width = 640;
             t.height = 480;
         }),
         "libx264", "aac", "other-size.mp4", "", ""},
        {"interlaced source",
         with([](auto& t) { t.source = testsupport::interlacedBarsWithTone(3, 320, 240); }),
         "libx264", "aac", "interlaced.mp4", "", "f32le"},
        {"full-range source",
         with([](auto& t) { t.source = testsupport::fullRangeBarsWithTone(3, 320, 240); }),
         "libx264", "aac", "full-range.mp4", "", "f32le"},
        {"source to scale",
         with([](auto& t) { t.source = testsupport::colourBarsWithTone(3, 352, 288); }), "libx264",
         "aac", "scaled.mp4", "", "f32le"},
        // MJPEG takes full-range 4:2:0 first; 16-bit PCM is MLT's own format.
        {"other encoders", cut(), "mjpeg", "pcm_s16le", "other.mkv", "", ""},
        {"planar 32-bit sound", cut(), "libx264", "libmp3lame", "mp3.mkv", "yuv420p", "s32le"},
        {"unknown video encoder", cut(), "no_such_encoder", "aac", "no-video.mp4", "", "f32le"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ExportSettings s = settings(document(c.timeline), c.movie);
        s.videoEncoder = c.videoEncoder;
        s.audioEncoder = c.audioEncoder;
        ExportSession session;
        session.start(s, kProfile);
        ASSERT_NE(session.consumer(), nullptr);
        const RenderPlan& plan = session.renderPlan();
        EXPECT_EQ(plan.imageFormat, engineKeepsPlanarPicturesWhole() ? c.pictures : "");
        EXPECT_EQ(plan.audioFormat, c.sound);
        mlt_properties consumer = MLT_CONSUMER_PROPERTIES(session.consumer());
        EXPECT_EQ(textOf(consumer, "mlt_audio_format"), c.sound);
        EXPECT_EQ(planWithWholePlanes(session, 2).imageFormat, c.pictures);
    }
}

TEST_F(RenderPlanTest, MovieMatchesTheEngineDefaultRender) {
    testsupport::CutTimeline effects = cut();
    effects.transition = "luma";
    effects.filter = "sepia";
    for (const testsupport::CutTimeline& timeline : {cut(), effects}) {
        const std::string xmlFile = document(timeline);
        std::vector<testsupport::ProbedFile> movies;
        for (bool fastPaths : {true, false}) {
            const ExportSettings s = settings(xmlFile, fastPaths ? "fast.mp4" : "default.mp4");
            ExportSession session;
            session.allowFastPaths(fastPaths);
            session.start(s, kProfile);
            EXPECT_EQ(session.renderPlan() == RenderPlan(), !fastPaths);
            ASSERT_TRUE(renderToEnd(session));
            session.close();
            movies.push_back(testsupport::probeFile(s.fileName));
        }
        const testsupport::ProbedFile& fast = movies[0];
        const testsupport::ProbedFile& general = movies[1];
        SCOPED_TRACE(timeline.transition + timeline.filter);
        ASSERT_EQ(fast.streams.size(), 2u);
        ASSERT_EQ(general.streams.size(), 2u);
        for (size_t i = 0; i < fast.streams.size(); ++i) {
            const testsupport::ProbedStream& a = fast.streams[i];
            const testsupport::ProbedStream& b = general.streams[i];
            EXPECT_EQ(a.codecType + a.codecName + a.pixelFormat + a.sampleFormat + a.frameRate,
                      b.codecType + b.codecName + b.pixelFormat + b.sampleFormat + b.frameRate);
            EXPECT_EQ((std::vector<long>{a.width, a.height, a.sampleRate, a.channels}),
                      (std::vector<long>{b.width, b.height, b.sampleRate, b.channels}));
            EXPECT_EQ(a.decodedFrames, b.decodedFrames);
            EXPECT_NEAR(a.duration, b.duration, 0.001);
        }
        EXPECT_EQ(fast.stream("video")->decodedFrames, kFrames);
        EXPECT_NEAR(fast.duration, general.duration, 0.001);
        const testsupport::PicturePsnr psnr =
            testsupport::picturePsnr(directory_ + "/fast.mp4", directory_ + "/default.mp4");
        EXPECT_GE(psnr.lowest(), 45.0) << psnr.y << " " << psnr.u << " " << psnr.v;
    }
}

}  // namespace
