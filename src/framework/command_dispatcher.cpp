#include "framework/command_dispatcher.h"

#include <algorithm>
#include <iterator>

#include "framework/framework_names.h"
#include "framework/undo_history.h"
#include "host/log.h"
#include "messages/result_text.h"
#include "player/player.h"
#include "project/project.h"

namespace {

// An editing command's project and player steps, answering their result.
template <EditStep Step>
CommandOutcome runEdit(CommandContext& context, const CmdMessage& command) {
    EditTarget target{context.player, context.project};
    CParseJson content = command.getContent();
    return {commandResult(Step(target, content))};
}

// A player query answered as it stands (bool, int, double or string).
template <auto Query>
CommandOutcome answerQuery(CommandContext& context, const CmdMessage&) {
    return {makeJsonText(kReturnResultKey, (context.player.*Query)())};
}

enum class HistoryPoint { No, Yes };

struct CommandEntry {
    const char* name;
    CommandHandler handler;
    int logLevel;
    HistoryPoint point;
    // Replaces "Receive [%s] command" for the two batch commands.
    const char* receivedText;
};

// In the order the client's protocol has always tested the names.
const CommandEntry kCommands[] = {
    {"OPEN_MOVIE", commands::openMovie, kLogInfo, HistoryPoint::No, nullptr},
    {"PRE_ISAUDIOVALID", answerQuery<&MePlayer::isAudioValid>, kLogInfo, HistoryPoint::No,
     nullptr},
    {"PRE_ISEXPORTSTOP", answerQuery<&MePlayer::isExportStopped>, kLogInfo, HistoryPoint::No,
     nullptr},
    {"PRE_GETCURRENTTIME", answerQuery<&MePlayer::getCurrentTime>, kLogDebug, HistoryPoint::No,
     nullptr},
    {"PRE_GETFPS", answerQuery<&MePlayer::getFps>, kLogDebug, HistoryPoint::No, nullptr},
    {"PRE_GETTOTALTIME", answerQuery<&MePlayer::getTotalTime>, kLogDebug, HistoryPoint::No,
     nullptr},
    {"PRE_GETCURRENTPOS", answerQuery<&MePlayer::getCurrentPosition>, kLogDebug,
     HistoryPoint::No, nullptr},
    {"PRE_GETEXPORTCURRENTPOS", answerQuery<&MePlayer::getExportCurrentPosition>, kLogDebug,
     HistoryPoint::No, nullptr},
    {"PRE_GETTOTALFRAME", answerQuery<&MePlayer::getTotalFrames>, kLogDebug, HistoryPoint::No,
     nullptr},
    {"PRE_GETEXPORTTOTALFRAME", answerQuery<&MePlayer::getExportTotalFrames>, kLogDebug,
     HistoryPoint::No, nullptr},
    {"PRE_GETTOTALTIME_STR", commands::totalTimeText, kLogDebug, HistoryPoint::No, nullptr},
    {"PRE_GETCURRENTTIME_STR", commands::currentTimeText, kLogDebug, HistoryPoint::No, nullptr},
    {"PRE_STOP_CONSUMER", answerQuery<&MePlayer::stopConsumer>, kLogInfo, HistoryPoint::No,
     nullptr},
    {"PRE_START_CONSUMER", answerQuery<&MePlayer::startConsumer>, kLogInfo, HistoryPoint::No,
     nullptr},
    {"GET_PORPERTY", commands::getProperty, kLogDebug, HistoryPoint::No, nullptr},
    {"GET_MLT_FILE", answerQuery<&MePlayer::getMltFile>, kLogInfo, HistoryPoint::No, nullptr},
    {"ADD_TRACK", runEdit<editing::addTrack>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ALTER_TRACK", runEdit<editing::deleteTrack>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"DELETE_TRACK", runEdit<editing::deleteTrack>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"DELETE_ALL_TRACK", runEdit<editing::deleteAllTrack>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ADD_CLIP", runEdit<editing::addClip>, kLogInfo, HistoryPoint::Yes, nullptr},
    // Compose-clip edits leave the history alone: an undo right after one
    // also undoes the edit recorded before it.
    {"ADD_COMPOSE_CLIP", runEdit<editing::addComposeClip>, kLogInfo, HistoryPoint::No, nullptr},
    {"DELETE_CLIP", runEdit<editing::deleteClip>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"DELETE_ALL_CLIP", runEdit<editing::deleteAllClip>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ALTER_CLIP", runEdit<editing::alterClip>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ALTER_COMPOSE_CLIP", runEdit<editing::alterComposeClip>, kLogInfo, HistoryPoint::No,
     nullptr},
    {"ADD_TRANSITION", runEdit<editing::addTransition>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ALTER_TRANSITION", runEdit<editing::alterTransition>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"DELETE_TRANSITION", runEdit<editing::deleteTransition>, kLogInfo, HistoryPoint::Yes,
     nullptr},
    {"UNDO_LAST_ACTION", commands::undoLastAction, kLogInfo, HistoryPoint::No, nullptr},
    {"REDO_LAST_ACTION", commands::redoLastAction, kLogInfo, HistoryPoint::No, nullptr},
    {"UPDATE_TEXTFILTER", commands::updateTextFilter, kLogInfo, HistoryPoint::No, nullptr},
    {"CLOSE_MOVIE", commands::closeMovie, kLogInfo, HistoryPoint::No, nullptr},
    {"DELETE_BATCH_TRANSCLIP", commands::deleteBatchTransClip, kLogInfo, HistoryPoint::Yes,
     fwlog::kBatchDeleteReceived},
    {"ADD_BATCH_CLIP", commands::addBatchClip, kLogInfo, HistoryPoint::Yes,
     fwlog::kBatchClipReceived},
    {"ADD_FILTER", runEdit<editing::addFilter>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ALTER_FILTER", runEdit<editing::alterFilter>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"DELETE_FILTER", runEdit<editing::deleteFilter>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ADD_MULTI_FILTER", runEdit<editing::addMultiFilter>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"ALTER_MULTI_FILTER", runEdit<editing::alterMultiFilter>, kLogInfo, HistoryPoint::Yes,
     nullptr},
    {"SAVE_PROJECT", commands::saveProject, kLogInfo, HistoryPoint::Yes, nullptr},
    {"LOAD_PROJECT", commands::loadProject, kLogInfo, HistoryPoint::Yes, nullptr},
    {"CLEAR_PROJECT", runEdit<editing::clearProject>, kLogInfo, HistoryPoint::Yes, nullptr},
    {"SAVE_MLT_FILE", commands::saveMltFile, kLogInfo, HistoryPoint::No, nullptr},
    {"PRE_SET_LOGDIRECTORY", commands::setLogDirectory, kLogInfo, HistoryPoint::No, nullptr},
    {"ALTER_SCENE_RESOURSE", commands::alterSceneResource, kLogInfo, HistoryPoint::No, nullptr},
    {"GET_HWACCEL_ABILITY", answerQuery<&MePlayer::getHwAccelAbility>, kLogInfo,
     HistoryPoint::No, nullptr},
    {"HW_DECODE_ACCEL_ENABLE", commands::enableHardwareDecoding, kLogInfo, HistoryPoint::No,
     nullptr},
};

// How a batch command ends its log lines.
enum class BatchClosing {
    Ok,            // "Return [%s] command Ok" whatever the steps answered
    ErrorIfFalse,  // "Return [%s] command Error" when the step fails, else nothing
};

struct EditEntry {
    const char* name;
    EditStep step;
    BatchClosing closing;
};

// Inside a batch the project files are neither saved nor loaded: the step
// only checks that the file is named.
bool namesProjectFile(EditTarget&, CParseJson& content) {
    std::string fileName;
    return content.getString(fwkey::kFileName, fileName);
}

const EditEntry kEditCommands[] = {
    {"ADD_TRACK", editing::addTrack, BatchClosing::Ok},
    {"ALTER_TRACK", editing::deleteTrack, BatchClosing::Ok},
    {"DELETE_TRACK", editing::deleteTrack, BatchClosing::Ok},
    {"DELETE_ALL_TRACK", editing::deleteAllTrack, BatchClosing::Ok},
    {"ADD_CLIP", editing::addClip, BatchClosing::Ok},
    {"ADD_COMPOSE_CLIP", editing::addComposeClip, BatchClosing::Ok},
    {"DELETE_CLIP", editing::deleteClip, BatchClosing::Ok},
    {"DELETE_ALL_CLIP", editing::deleteAllClip, BatchClosing::Ok},
    {"ALTER_CLIP", editing::alterClip, BatchClosing::Ok},
    {"ALTER_COMPOSE_CLIP", editing::alterComposeClip, BatchClosing::Ok},
    {"ADD_TRANSITION", editing::addTransition, BatchClosing::Ok},
    {"ALTER_TRANSITION", editing::alterTransition, BatchClosing::Ok},
    {"DELETE_TRANSITION", editing::deleteTransition, BatchClosing::Ok},
    {"ADD_FILTER", editing::addFilter, BatchClosing::Ok},
    {"ALTER_FILTER", editing::alterFilterInBatch, BatchClosing::Ok},
    {"DELETE_FILTER", editing::deleteFilterInBatch, BatchClosing::Ok},
    {"ADD_MULTI_FILTER", editing::addMultiFilter, BatchClosing::Ok},
    {"ALTER_MULTI_FILTER", editing::alterMultiFilter, BatchClosing::Ok},
    {"SAVE_PROJECT", namesProjectFile, BatchClosing::ErrorIfFalse},
    {"LOAD_PROJECT", namesProjectFile, BatchClosing::ErrorIfFalse},
    {"CLEAR_PROJECT", editing::clearProject, BatchClosing::Ok},
};

template <typename Entry, size_t Count>
const Entry* findEntry(const Entry (&table)[Count], const std::string& name) {
    auto found = std::find_if(std::begin(table), std::end(table),
                              [&name](const Entry& entry) { return name == entry.name; });
    return found == std::end(table) ? nullptr : found;
}

}  // namespace

std::string commandResult(bool value) {
    return makeJsonText(kReturnResultKey, value);
}

std::string dispatchCommand(CommandContext& context, const CmdMessage& command) {
    std::string name = command.getCommand();
    const CommandEntry* entry = findEntry(kCommands, name);
    if (entry == nullptr) {
        writeLog(kLogDebug, fwlog::kCommandReceived, name.c_str());
        writeLog(kLogDebug, fwlog::kCommandOk, name.c_str());
        return commandResult(false);
    }

    if (entry->receivedText != nullptr) {
        writeLog(entry->logLevel, "%s", entry->receivedText);
    } else {
        writeLog(entry->logLevel, fwlog::kCommandReceived, name.c_str());
    }
    CommandOutcome outcome = entry->handler(context, command);
    if (entry->point == HistoryPoint::Yes) {
        context.history.recordPoint(context.project);
    }
    switch (outcome.closing) {
        case ClosingLine::Ok:
            writeLog(entry->logLevel, fwlog::kCommandOk, name.c_str());
            break;
        case ClosingLine::Error:
            writeLog(kLogError, fwlog::kCommandError, name.c_str());
            break;
        case ClosingLine::None:
            break;
    }
    return outcome.resultText;
}

bool dispatchEditCommand(EditTarget& target, const CmdMessage& command) {
    std::string name = command.getCommand();
    const EditEntry* entry = findEntry(kEditCommands, name);
    if (entry == nullptr) {
        return false;
    }
    writeLog(kLogInfo, fwlog::kCommandReceived, name.c_str());
    CParseJson content = command.getContent();
    bool result = entry->step(target, content);
    if (entry->closing == BatchClosing::Ok) {
        writeLog(kLogInfo, fwlog::kCommandOk, name.c_str());
    } else if (!result) {
        writeLog(kLogError, fwlog::kCommandError, name.c_str());
    }
    return result;
}
