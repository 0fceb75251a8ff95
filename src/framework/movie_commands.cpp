// The commands that set up the preview, ask the player for times and media
// descriptions, write the running graph to a file, name the log directory and
// switch hardware decoding. None of them records a history point.
#include <framework/mlt.h>

#include "framework/command_handlers.h"
#include "framework/framework_names.h"
#include "framework/temp_graph_file.h"
#include "log/log.h"
#include "messages/result_text.h"
#include "player/player.h"
#include "project/profile_rewrite.h"

namespace {

constexpr char kSavedGraphPrefix[] = "temp_";
constexpr char kHardwareDecodingProperty[] = "hwaccel_enable";

CommandOutcome textResult(const std::string& text) {
    return {makeJsonText(kReturnResultKey, text)};
}

}  // namespace

std::string timecodeForClient(std::string timecode) {
    size_t lastColon = timecode.rfind(':');
    if (lastColon != std::string::npos) {
        timecode[lastColon] = '.';
    }
    return timecode;
}

namespace commands {

CommandOutcome openMovie(CommandContext& context, const CmdMessage& command) {
    CParseJson content = command.getContent();
    MePlayer& player = context.player;
    const CommandOutcome refused{commandResult(false), ClosingLine::None};

    std::string profile;
    if (!content.getString(fwkey::kProfile, profile)) {
        return refused;
    }
    player.profileName = profile;

    int width = 0;
    int height = 0;
    if (!content.getInt(fwkey::kWidth, width) || !content.getInt(fwkey::kHeight, height)) {
        return refused;
    }
    player.windowWidth = width;
    player.windowHeight = height;

    // The aspect is optional; a half-sent one keeps the previous aspect.
    int aspectNum = 0;
    int aspectDen = 0;
    bool hasNum = content.getInt(fwkey::kDisplayAspectNum, aspectNum);
    bool hasDen = content.getInt(fwkey::kDisplayAspectDen, aspectDen);
    if (hasNum && hasDen) {
        player.displayAspectNum = aspectNum;
        player.displayAspectDen = aspectDen;
    }

    int windowId = 0;
    if (!content.getInt(fwkey::kWindowId, windowId)) {
        return refused;
    }
    player.windowId = windowId;

    std::string cachePath;
    content.getString(fwkey::kCachePath, cachePath);
    writeLog(kLogInfo, fwlog::kCachePath, cachePath.c_str());
    player.setCachePath(cachePath);

    writeLog(kLogInfo, fwlog::kOpenMovie, width, height, windowId, aspectNum, aspectDen,
             profile.c_str());
    return {commandResult(true)};
}

CommandOutcome totalTimeText(CommandContext& context, const CmdMessage&) {
    return textResult(timecodeForClient(context.player.getTotalTimeString()));
}

CommandOutcome currentTimeText(CommandContext& context, const CmdMessage&) {
    return textResult(timecodeForClient(context.player.getCurrentTimeString()));
}

CommandOutcome getProperty(CommandContext& context, const CmdMessage& command) {
    CParseJson content = command.getContent();
    std::string fileName;
    std::string fileType;
    content.getString(fwkey::kFileName, fileName);
    content.getString(fwkey::kFileType, fileType);
    return textResult(context.player.getProperty(fileName, fileType));
}

CommandOutcome updateTextFilter(CommandContext&, const CmdMessage& command) {
    CParseJson content = command.getContent();
    std::string fileName;
    bool named = content.getString(fwkey::kFileName, fileName);
    return {commandResult(false), named ? ClosingLine::None : ClosingLine::Error};
}

CommandOutcome closeMovie(CommandContext& context, const CmdMessage&) {
    context.player.closeConsumer();
    return {commandResult(true)};
}

CommandOutcome saveMltFile(CommandContext& context, const CmdMessage&) {
    MePlayer& player = context.player;
    TempGraphFile file = makeTempGraphFile(player.getCachePath(), kSavedGraphPrefix);
    player.saveMltFile(file.playerName);
    rewriteMltProfile(file.path, player.fullScreenWidth, player.fullScreenHeight);
    return textResult(file.path);
}

CommandOutcome setLogDirectory(CommandContext& context, const CmdMessage& command) {
    CParseJson content = command.getContent();
    std::string logPath;
    content.getString(fwkey::kLogPath, logPath);
    writeLog(kLogInfo, fwlog::kLogPath, logPath.c_str());
    if (logPath.empty()) {
        return {commandResult(false)};
    }
    ::setLogDirectory(logPath);
    startLogWriter();
    context.player.initFactory();
    return {commandResult(true)};
}

CommandOutcome alterSceneResource(CommandContext& context, const CmdMessage& command) {
    CParseJson content = command.getContent();
    context.player.alterSceneResource(content);
    return {commandResult(true)};
}

CommandOutcome enableHardwareDecoding(CommandContext&, const CmdMessage& command) {
    CParseJson content = command.getContent();
    int enable = 0;
    if (!content.getInt(fwkey::kEnable, enable)) {
        return {commandResult(false), ClosingLine::Error};
    }
    // The global properties exist only once the engine has started.
    if (mlt_properties global = mlt_global_properties()) {
        mlt_properties_set_int(global, kHardwareDecodingProperty, enable);
    }
    return {commandResult(true)};
}

}  // namespace commands
