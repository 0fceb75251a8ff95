#include "framework/export_request.h"

#include "framework/framework_names.h"

namespace {

struct SettingField {
    const char* key;
    std::string ExportSettings::*member;
};

const SettingField kVideoFields[] = {
    {fwkey::kEncoder, &ExportSettings::videoEncoder},
    {fwkey::kWidth, &ExportSettings::videoWidth},
    {fwkey::kHeight, &ExportSettings::videoHeight},
    {fwkey::kFrameRate, &ExportSettings::videoFrameRate},
    {fwkey::kBitRate, &ExportSettings::videoBitRate},
};

const SettingField kAudioFields[] = {
    {fwkey::kEncoder, &ExportSettings::audioEncoder},
    {fwkey::kChannel, &ExportSettings::audioChannel},
    {fwkey::kSampleRate, &ExportSettings::audioSampleRate},
    {fwkey::kBitRate, &ExportSettings::audioBitRate},
};

template <size_t Count>
void readStream(CParseJson& content, const char* key, const SettingField (&fields)[Count],
                ExportSettings& settings) {
    Json::Value stream;
    if (!content.getObject(key, stream)) {
        return;
    }
    CParseJson members(stream);
    for (const SettingField& field : fields) {
        members.getString(field.key, settings.*field.member);
    }
}

}  // namespace

void readExportStreams(CParseJson& content, ExportSettings& settings) {
    readStream(content, fwkey::kVideo, kVideoFields, settings);
    readStream(content, fwkey::kAudio, kAudioFields, settings);
}
