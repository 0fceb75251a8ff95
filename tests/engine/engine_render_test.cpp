// An edited graph still plays: frames rendered headless from the preview
// producer after live edits show the clips' pictures at the profile's size.
#include <cstdint>

#include "engine_fixture.h"

namespace enginetest {
namespace {

struct Picture {
    bool rendered = false;
    int width = 0;
    int height = 0;
    double mean = 0.0;  // average of the RGB bytes
};

Picture render(mlt_producer producer, mlt_profile profile, int position) {
    Picture picture;
    mlt_producer_seek(producer, position);
    mlt_frame frame = nullptr;
    if (mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer), &frame, 0) != 0 || !frame) {
        return picture;
    }
    mlt_image_format format = mlt_image_rgb;
    uint8_t* image = nullptr;
    picture.width = profile->width;
    picture.height = profile->height;
    if (mlt_frame_get_image(frame, &image, &format, &picture.width, &picture.height, 0) == 0 &&
        image != nullptr && format == mlt_image_rgb) {
        picture.rendered = true;
        size_t size = static_cast<size_t>(picture.width) * picture.height * 3;
        uint64_t sum = 0;
        for (size_t i = 0; i < size; ++i) {
            sum += image[i];
        }
        picture.mean = static_cast<double>(sum) / size;
    }
    mlt_frame_close(frame);
    return picture;
}

TEST_F(EngineGraphTest, TheEditedGraphRendersTheClipsPictures) {
    CParseJson transition = content(R"({"TrackID_A":"Track0","TrackID_B":"Track0","Index_A":0,
        "Index_B":1,"Title":"dissolve","In":"10","Out":"5","ID":"t1","TrackType":0})");
    ASSERT_TRUE(helper().addTransition(transition, profile()));
    CParseJson append = content(addClipJson("Track0", "n1", -1, 0, 24));
    ASSERT_TRUE(helper().addClip(append, profile()));
    CParseJson filter = content(R"({"TrackID":"Track0","ID":"f1","Title":"bright","Index":0})");
    ASSERT_TRUE(helper().addFilter(filter, profile()));
    CParseJson alter = content(R"({"ID":"c3","TrackID":"Track0","IndexNew":2,"IndexOld":2,
        "In":"10","Out":"39","MltService":"avformat","Resource":")" +
                               media_ + "\"}");
    ASSERT_TRUE(helper().alterClip(alter, profile()));
    EXPECT_EQ(entries("n1"), "blank(180) 0-24");

    for (int position : {10, 95, 102, 120, 160, 190, 204}) {
        Picture picture = render(producer(), profile(), position);
        SCOPED_TRACE(position);
        ASSERT_TRUE(picture.rendered);
        EXPECT_EQ(picture.width, profile()->width);
        EXPECT_EQ(picture.height, profile()->height);
        // Colour bars are far from black.
        EXPECT_GT(picture.mean, 40.0);
    }
    EXPECT_EQ(mlt_producer_get_length(producer()), 205);
}

}  // namespace
}  // namespace enginetest
