#include "export/hw_accel.h"

#include <framework/mlt.h>
#include <json/value.h>
extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstdlib>

#include "export/encoder_trial.h"
#include "log/log.h"
#include "messages/styled_json.h"

namespace {

constexpr char kNameKey[] = "name";
constexpr char kProducerKey[] = "producer";
constexpr char kEnableKey[] = "enable";
constexpr char kHwAccelName[] = "hwAccel";
constexpr char kNoHardwareAccel[] = "NO_HARDWARE_ACCEL";
constexpr char kDisabledValue[] = "true";
constexpr char kLogNoHardwareAccel[] = "NO_HARDWARE_ACCEL = %s\n ";

struct EncoderRow {
    const char* group;     // the software encoder of the same codec
    const char* name;      // the FFmpeg encoder name
    const char* producer;  // the hardware vendor
};

// In the order the client is told about them; the last row only reports
// whether hardware acceleration is allowed.
// clang-format off
const EncoderRow kEncoderTable[] = {
    {"libx264", "h264_qsv", "intel"},
    {"libx264", "h264_nvenc", "nvidia"},
    {"libx265", "hevc_qsv", "intel"},
    {"libx265", "hevc_nvenc", "nvidia"},
    {"mjpeg", "mjpeg_qsv", "intel"},
    {"mpeg2video", "mpeg2_qsv", "intel"},
    {kHwAccelName, kHwAccelName, "intel"},
};
// clang-format on

bool isEncoderUsable(const char* name) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(name);
    return encoder != nullptr && probeEncoder(encoder);
}

// The value as the engine sees it. MLT's own environment holds only what the
// engine set itself (mlt_factory_init copies nothing from the process
// environment), so a value set for the process is read from there instead.
const char* environmentValue(const char* name) {
    const char* value = mlt_environment(name);
    return value != nullptr ? value : std::getenv(name);
}

}  // namespace

std::string getHwAccelAbility() {
    Json::Value root(Json::objectValue);
    for (const EncoderRow& row : kEncoderTable) {
        bool isAccelRow = std::string(row.name) == kHwAccelName;
        Json::Value entry(Json::objectValue);
        entry[kNameKey] = row.name;
        entry[kProducerKey] = row.producer;
        entry[kEnableKey] = isAccelRow ? isHardwareAccelAllowed() : isEncoderUsable(row.name);
        root[row.group].append(entry);
    }
    return toStyledJson(root);
}

bool probeEncoder(const AVCodec* encoder) {
    return encoderOpens(encoder, PictureSettings());
}

bool isHardwareAccelAllowed() {
    const char* value = environmentValue(kNoHardwareAccel);
    if (value == nullptr) {
        return true;
    }
    writeLog(kLogInfo, kLogNoHardwareAccel, value);
    return std::string(value) != kDisabledValue;
}
