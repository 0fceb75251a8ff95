#include "framework/control_dispatcher.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "framework/export_request.h"
#include "framework/framework_names.h"
#include "framework/temp_graph_file.h"
#include "log/log.h"
#include "player/player.h"
#include "project/profile_rewrite.h"
#include "project/project.h"

namespace {

constexpr char kPreviewGraphPrefix[] = "temp_";
constexpr char kExportGraphPrefix[] = "temp_export_";

struct ControlContext {
    MePlayer& player;
    MeProject& project;
    CParseJson content;
};

// How a control ends: success logs "Return [%s] control Ok"; a failure logs
// its error text with the control's name, or nothing when it has none.
struct ControlResult {
    bool ok;
    const char* errorFormat;
};

ControlResult succeeded() {
    return {true, nullptr};
}

ControlResult failed(const char* errorFormat = fwlog::kControlError) {
    return {false, errorFormat};
}

ControlResult failedSilently() {
    return {false, nullptr};
}

ControlResult succeededIf(bool ok) {
    return ok ? succeeded() : failed();
}

void logReceivedValues(const std::string& text) {
    writeLog(kLogInfo, fwlog::kReceivedValues, text.c_str());
}

std::string flagText(bool value) {
    return value ? "1" : "0";
}

// The client always writes a point as the decimal separator, whatever the
// locale the process runs in.
double textToDoubleInCLocale(const std::string& text) {
    const char* current = std::setlocale(LC_NUMERIC, nullptr);
    std::string previous = current != nullptr ? current : "C";
    std::setlocale(LC_NUMERIC, "C");
    double value = std::strtod(text.c_str(), nullptr);
    std::setlocale(LC_NUMERIC, previous.c_str());
    return value;
}

ControlResult stopPreview(ControlContext& context) {
    context.player.stop();
    return succeeded();
}

ControlResult pausePreview(ControlContext& context) {
    context.player.pause();
    return succeeded();
}

ControlResult playTimeline(ControlContext& context) {
    bool autoPlay = false;
    int position = 0;
    int width = 0;
    int height = 0;
    CParseJson& content = context.content;
    if (!content.getBool(fwkey::kAutoPlay, autoPlay) ||
        !content.getInt(fwkey::kPosition, position) || !content.getInt(fwkey::kWidth, width) ||
        !content.getInt(fwkey::kHeight, height)) {
        return failed();
    }
    MePlayer& player = context.player;
    player.windowWidth = width;
    player.windowHeight = height;

    // The preview always plays a fresh document written from the project.
    std::string xmlPath = makeTempGraphFile(player.getCachePath(), kPreviewGraphPrefix).path;
    context.project.writeTimelineXml(xmlPath);
    logReceivedValues("Xml:" + xmlPath + ", Position:" + std::to_string(position) +
                      ", AutoPlay:" + flagText(autoPlay) + ", Width:" + std::to_string(width) +
                      ", Height:" + std::to_string(height));
    return succeededIf(player.play(position, autoPlay, xmlPath) == 0);
}

ControlResult continuePreview(ControlContext& context) {
    context.player.continuePlay();
    return succeeded();
}

bool readPosition(ControlContext& context, int& position) {
    if (!context.content.getInt(fwkey::kPosition, position)) {
        return false;
    }
    logReceivedValues("Postion:" + std::to_string(position));
    return true;
}

ControlResult seekAndHold(ControlContext& context) {
    int position = 0;
    if (!readPosition(context, position)) {
        return failed();
    }
    context.player.seekAndHold(position);
    return succeeded();
}

ControlResult seekAndStop(ControlContext& context) {
    int position = 0;
    if (!readPosition(context, position)) {
        return failed();
    }
    context.player.seekAndStop(position);
    return succeeded();
}

ControlResult setVolume(ControlContext& context) {
    std::string text;
    if (!context.content.getString(fwkey::kVolume, text)) {
        return failed();
    }
    logReceivedValues(" Volume:" + text);
    MePlayer& player = context.player;
    player.volume = textToDoubleInCLocale(text);
    if (player.hasProducer()) {
        player.applyVolume();
    }
    return succeeded();
}

ControlResult setFullScreenBounds(ControlContext& context) {
    int width = 0;
    int height = 0;
    if (!context.content.getInt(fwkey::kWidth, width) ||
        !context.content.getInt(fwkey::kHeight, height)) {
        return failed();
    }
    context.player.fullScreenWidth = width;
    context.player.fullScreenHeight = height;
    return succeeded();
}

ControlResult setSpeed(ControlContext& context) {
    double speed = 0.0;
    if (!context.content.getDouble(fwkey::kSpeed, speed)) {
        return failed();
    }
    logReceivedValues(" Speed:" + std::to_string(speed));
    context.player.setPlaybackSpeed(speed);
    return succeeded();
}

ControlResult nextFrame(ControlContext& context) {
    context.player.nextFrame();
    return succeeded();
}

ControlResult previousFrame(ControlContext& context) {
    context.player.preFrame();
    return succeeded();
}

ControlResult resizeWindow(ControlContext& context) {
    int width = 0;
    int height = 0;
    if (!context.content.getInt(fwkey::kWidth, width) ||
        !context.content.getInt(fwkey::kHeight, height)) {
        return failed();
    }
    logReceivedValues("  Width:" + std::to_string(width) + "  Height:" + std::to_string(height));
    context.player.resizeWindow(width, height);
    return succeeded();
}

ControlResult snapPicture(ControlContext& context) {
    CParseJson& content = context.content;
    std::string profile;
    std::string fileName;
    int position = 0;
    std::string outFile;
    content.getString(fwkey::kProfile, profile);
    if (!content.getString(fwkey::kFileName, fileName)) {
        return failed(fwlog::kSnapMissingFileName);
    }
    if (!content.getInt(fwkey::kPosition, position)) {
        return failed(fwlog::kSnapMissingPosition);
    }
    if (!content.getString(fwkey::kOutFile, outFile)) {
        return failed(fwlog::kSnapMissingOutFile);
    }
    logReceivedValues("  FileName:" + fileName + "  Position:" + std::to_string(position) +
                      "  OutFile:" + outFile);
    if (!context.player.snapPic(position, profile, fileName, outFile)) {
        return failed(fwlog::kSnapFailed);
    }
    return succeeded();
}

PictureSpec readPictureSpec(CParseJson& content) {
    PictureSpec spec;
    Json::Value profile;
    if (content.getObject(fwkey::kProfile, profile)) {
        CParseJson members(profile);
        members.getInt(fwkey::kWidth, spec.width);
        members.getInt(fwkey::kHeight, spec.height);
        members.getDouble(fwkey::kFrameRate, spec.frameRate);
    }
    return spec;
}

std::vector<int> positionList(const Json::Value& array) {
    std::vector<int> positions;
    for (const Json::Value& element : array) {
        positions.push_back(element.isConvertibleTo(Json::intValue) ? element.asInt() : 0);
    }
    return positions;
}

ControlResult snapThumbnails(ControlContext& context) {
    CParseJson& content = context.content;
    PictureSpec spec = readPictureSpec(content);
    std::string fileName;
    Json::Value positionArray;
    std::string outDir;
    if (!content.getString(fwkey::kFileName, fileName) ||
        !content.getArray(fwkey::kPosition, positionArray) ||
        !content.getString(fwkey::kOutDir, outDir)) {
        return failed();
    }
    std::vector<int> positions = positionList(positionArray);
    // An empty list has no first position to show.
    std::string firstPosition = positions.empty() ? "" : std::to_string(positions.front());
    logReceivedValues("  FileName:" + fileName + "  Position:" + firstPosition +
                      "  OutDir:" + outDir);
    return succeededIf(context.player.snapMultiPic_Quick(positions, spec, fileName, outDir));
}

ControlResult makeAudioThumb(ControlContext& context) {
    std::string fileName;
    std::string outFile;
    if (!context.content.getString(fwkey::kFileName, fileName) ||
        !context.content.getString(fwkey::kOutFile, outFile)) {
        return failed();
    }
    logReceivedValues("FileName:" + fileName + "  OutFile:" + outFile);
    return succeededIf(context.player.makeAudioThumb(fileName, outFile));
}

ControlResult exportMovie(ControlContext& context) {
    CParseJson& content = context.content;
    MePlayer& player = context.player;
    ExportSettings settings;
    content.getString(fwkey::kPreset, settings.preset);
    content.getString(fwkey::kQualityLevel, settings.qualityLevel);
    if (!content.getString(fwkey::kXmlFile, settings.xmlFile)) {
        // Without a document of the client's own, the running graph is
        // written to one file that the player's save, the profile rewrite
        // and the export all name: the player puts its cache path in front
        // of the name it is given, so it gets the path relative to that
        // cache, while the rewrite and the export get the full path.
        TempGraphFile file = makeTempGraphFile(player.getCachePath(), kExportGraphPrefix);
        player.saveMltFile(file.playerName);
        rewriteMltProfile(file.path, player.fullScreenWidth, player.fullScreenHeight);
        settings.xmlFile = file.path;
    }
    if (!content.getString(fwkey::kFileName, settings.fileName)) {
        return failed();
    }
    readExportStreams(content, settings);
    player.exportMovie(settings);
    return succeeded();
}

ControlResult closePreview(ControlContext& context) {
    context.player.closeConsumer();
    return succeeded();
}

ControlResult closeExport(ControlContext& context) {
    context.player.closeExport();
    return succeeded();
}

ControlResult fullScreen(ControlContext& context) {
    CParseJson& content = context.content;
    bool on = false;
    std::string profile;
    int position = 0;
    int width = 0;
    int height = 0;
    int windowId = 0;
    if (!content.getBool(fwkey::kFullScreen, on) || !content.getString(fwkey::kProfile, profile) ||
        !content.getInt(fwkey::kPosition, position) || !content.getInt(fwkey::kWidth, width) ||
        !content.getInt(fwkey::kHeight, height) || !content.getInt(fwkey::kWindowId, windowId)) {
        return failedSilently();
    }
    context.player.fullScreen(on, width, height, position, windowId, profile);
    return succeeded();
}

using ControlHandler = ControlResult (*)(ControlContext& context);

struct ControlEntry {
    const char* name;
    ControlHandler handler;
    int logLevel;
};

const ControlEntry kControls[] = {
    {"PRE_STOP", stopPreview, kLogDebug},
    {"PRE_PAUSE", pausePreview, kLogDebug},
    {"PRE_PLAY", playTimeline, kLogDebug},
    {"PRE_CONTINUE", continuePreview, kLogDebug},
    {"PRE_SEEK", seekAndHold, kLogDebug},
    {"PRE_SEEK_STOP", seekAndStop, kLogDebug},
    {"PRE_VOLUME", setVolume, kLogDebug},
    {"PRE_FULLSCREENBOUND", setFullScreenBounds, kLogDebug},
    {"PRE_FASTORBACK", setSpeed, kLogDebug},
    {"PRE_NEXT_FRAME", nextFrame, kLogDebug},
    {"PRE_LAST_FRAME", previousFrame, kLogDebug},
    {"PRE_RESIZE_WIN", resizeWindow, kLogDebug},
    {"PRE_SNAP_PIC", snapPicture, kLogDebug},
    {"PRE_VIDEO_THUMB", snapThumbnails, kLogDebug},
    {"PRE_AUDIO_THUMB", makeAudioThumb, kLogInfo},
    {"EXPORT_MOVIE", exportMovie, kLogInfo},
    {"PRE_RESET", closePreview, kLogDebug},
    {"PRE_RESET_EXPORT", closeExport, kLogDebug},
    {"PRE_FULL_SCREEN", fullScreen, kLogDebug},
};

}  // namespace

bool runControl(MePlayer& player, MeProject& project, const CmdMessage& control) {
    std::string name = control.getCommand();
    auto entry =
        std::find_if(std::begin(kControls), std::end(kControls),
                     [&name](const ControlEntry& candidate) { return name == candidate.name; });
    if (entry == std::end(kControls)) {
        return true;
    }
    writeLog(entry->logLevel, fwlog::kControlReceived, name.c_str());
    ControlContext context{player, project, control.getContent()};
    ControlResult result = entry->handler(context);
    if (result.ok) {
        writeLog(entry->logLevel, fwlog::kControlOk, name.c_str());
    } else if (result.errorFormat != nullptr) {
        writeLog(kLogError, result.errorFormat, name.c_str());
    }
    return result.ok;
}
