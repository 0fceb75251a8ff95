// The hardware encoder table the client chooses export encoders from.
#include <gtest/gtest.h>
#include <mlt-7/framework/mlt.h>

#include <cstdlib>
#include <string>

#include "player/hw_accel.h"
#include "player/media_mlt_handles.h"
#include "support/export_fixtures.h"
#include "support/export_log_capture.h"

namespace {

TEST(ExportHwAccel, TableListsEveryHardwareEncoderDisabledWithoutTheDevice) {
    unsetenv("NO_HARDWARE_ACCEL");
    testsupport::LogCapture log;
    EXPECT_EQ(getHwAccelAbility(), testsupport::expectedHwAccelTable(true));
    // An absent value is not reported.
    EXPECT_TRUE(log.messages().empty());
}

TEST(ExportHwAccel, NoHardwareAccelDisablesOnlyForExactlyTrue) {
    struct Case {
        const char* value;
        bool allowed;
    };
    const Case cases[] = {
        {"true", false}, {"TRUE", true}, {"True", true}, {"1", true}, {"", true}, {"false", true},
    };
    for (const Case& c : cases) {
        setenv("NO_HARDWARE_ACCEL", c.value, 1);
        testsupport::LogCapture log;
        EXPECT_EQ(getHwAccelAbility(), testsupport::expectedHwAccelTable(c.allowed)) << c.value;
        EXPECT_EQ(log.count(std::string("NO_HARDWARE_ACCEL = ") + c.value + "\n "), 1) << c.value;
    }
    unsetenv("NO_HARDWARE_ACCEL");
}

TEST(ExportHwAccel, EngineEnvironmentValueComesBeforeTheProcessOne) {
    media::ensureEngineFactory();
    setenv("NO_HARDWARE_ACCEL", "TRUE", 1);
    mlt_environment_set("NO_HARDWARE_ACCEL", "true");
    EXPECT_FALSE(isHardwareAccelAllowed());
    mlt_environment_set("NO_HARDWARE_ACCEL", nullptr);
    EXPECT_TRUE(isHardwareAccelAllowed());
    unsetenv("NO_HARDWARE_ACCEL");
}

TEST(ExportHwAccel, ProbeOpensAWorkingSoftwareEncoderAndRefusesNone) {
    EXPECT_TRUE(probeEncoder(avcodec_find_encoder_by_name("mpeg2video")));
    EXPECT_TRUE(probeEncoder(avcodec_find_encoder_by_name("libx264")));
    EXPECT_FALSE(probeEncoder(nullptr));
    // An audio encoder cannot be opened as a video encoder.
    EXPECT_FALSE(probeEncoder(avcodec_find_encoder_by_name("aac")));
}

}  // namespace
