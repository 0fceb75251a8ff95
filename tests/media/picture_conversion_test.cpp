// Whole-picture conversions in MLT's avformat producer: when the service asks
// for them, and the pictures staying the same byte for byte when it does.
#include <framework/mlt.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "media/mlt_handles.h"
#include "support/test_media.h"

namespace {

constexpr char kVariable[] = "MLT_AVFORMAT_SLICED_PIXFMT_DISABLE";

// Sets or clears the variable for one test and puts back what the process had.
class VariableScope {
  public:
    VariableScope() {
        const char* value = std::getenv(kVariable);
        had_ = value != nullptr;
        saved_ = had_ ? value : "";
    }
    ~VariableScope() {
        if (had_) {
            setenv(kVariable, saved_.c_str(), 1);
        } else {
            unsetenv(kVariable);
        }
    }

  private:
    bool had_ = false;
    std::string saved_;
};

// The packed 4:2:2 picture the engine renders by default for one frame of a
// 1080p 4:2:0 file: wide enough for the producer to cut it into strips.
std::vector<uint8_t> renderedPicture(const std::string& path, int position) {
    media::ProfileHandle profile = media::makeProfile("atsc_1080p_25");
    media::ProducerHandle producer =
        media::ProducerHandle::adopt(mlt_factory_producer(profile.get(), "avformat", path.c_str()));
    if (!producer) {
        return {};
    }
    mlt_producer_seek(producer.get(), position);
    mlt_frame frame = nullptr;
    mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer.get()), &frame, 0);
    if (frame == nullptr) {
        return {};
    }
    mlt_image_format format = mlt_image_yuv422;
    int width = 1920;
    int height = 1080;
    uint8_t* image = nullptr;
    std::vector<uint8_t> bytes;
    if (mlt_frame_get_image(frame, &image, &format, &width, &height, 0) == 0 && image) {
        bytes.assign(image, image + mlt_image_format_size(format, width, height, nullptr));
    }
    mlt_frame_close(frame);
    return bytes;
}

TEST(PictureConversion, WholeAndStripConversionsGiveTheSamePictures) {
    media::ensureEngineFactory();
    const std::string source = testsupport::colourBarsWithTone(1, 1920, 1080);
    VariableScope scope;
    unsetenv(kVariable);
    const std::vector<uint8_t> inStrips = renderedPicture(source, 12);
    setenv(kVariable, "1", 1);
    const std::vector<uint8_t> whole = renderedPicture(source, 12);
    ASSERT_EQ(inStrips.size(), 1920u * 1080u * 2u);
    EXPECT_TRUE(inStrips == whole);
}

}  // namespace
