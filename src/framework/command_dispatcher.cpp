#include "framework/command_dispatcher.h"

#include <algorithm>
#include <iterator>

#include "framework/framework_names.h"
#include "framework/undo_history.h"
#include "log/log.h"
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

// How an editing command ends its log lines inside a batch.
enum class BatchClosing {
    Ok,            // "Return [%s] command Ok" whatever the steps answered
    ErrorIfFalse,  // "Return [%s] command Error" when the step fails, else nothing
};

struct CommandEntry {
    const char* name;
    CommandHandler handler;
    int logLevel;
    HistoryPoint point;
    // Replaces "Receive [%s] command" for the two batch commands.
    const char* receivedText;
    // The step a batch runs for this command; none for the commands a batch
    // skips.
    EditStep batchStep;
    BatchClosing batchClosing;
    EditKind editKind;
};

CommandEntry query(const char* name, CommandHandler handler, int logLevel) {
    return {name,    handler, logLevel,         HistoryPoint::No,
            nullptr, nullptr, BatchClosing::Ok, EditKind::None};
}

// Stepping through the history changes the project without recording a point.
CommandEntry historyStep(const char* name, CommandHandler handler) {
    return {name,    handler, kLogInfo,         HistoryPoint::No,
            nullptr, nullptr, BatchClosing::Ok, EditKind::Edit};
}

CommandEntry edit(const char* name, CommandHandler handler, HistoryPoint point, EditStep batchStep,
                  BatchClosing batchClosing = BatchClosing::Ok, EditKind kind = EditKind::Edit) {
    return {name, handler, kLogInfo, point, nullptr, batchStep, batchClosing, kind};
}

CommandEntry batchCommand(const char* name, CommandHandler handler, const char* receivedText) {
    return {name,         handler, kLogInfo,         HistoryPoint::Yes,
            receivedText, nullptr, BatchClosing::Ok, EditKind::Edit};
}

// Inside a batch the project files are neither saved nor loaded: the step
// only checks that the file is named.
bool namesProjectFile(EditTarget&, CParseJson& content) {
    std::string fileName;
    return content.getString(fwkey::kFileName, fileName);
}

// In the order the client's protocol has always tested the names.
const CommandEntry kCommands[] = {
    query("OPEN_MOVIE", commands::openMovie, kLogInfo),
    query("PRE_ISAUDIOVALID", answerQuery<&MePlayer::isAudioValid>, kLogInfo),
    query("PRE_ISEXPORTSTOP", answerQuery<&MePlayer::isExportStopped>, kLogInfo),
    query("PRE_GETCURRENTTIME", answerQuery<&MePlayer::getCurrentTime>, kLogDebug),
    query("PRE_GETFPS", answerQuery<&MePlayer::getFps>, kLogDebug),
    query("PRE_GETTOTALTIME", answerQuery<&MePlayer::getTotalTime>, kLogDebug),
    query("PRE_GETCURRENTPOS", answerQuery<&MePlayer::getCurrentPosition>, kLogDebug),
    query("PRE_GETEXPORTCURRENTPOS", answerQuery<&MePlayer::getExportCurrentPosition>, kLogDebug),
    query("PRE_GETTOTALFRAME", answerQuery<&MePlayer::getTotalFrames>, kLogDebug),
    query("PRE_GETEXPORTTOTALFRAME", answerQuery<&MePlayer::getExportTotalFrames>, kLogDebug),
    query("PRE_GETTOTALTIME_STR", commands::totalTimeText, kLogDebug),
    query("PRE_GETCURRENTTIME_STR", commands::currentTimeText, kLogDebug),
    query("PRE_STOP_CONSUMER", answerQuery<&MePlayer::stopConsumer>, kLogInfo),
    query("PRE_START_CONSUMER", answerQuery<&MePlayer::startConsumer>, kLogInfo),
    query("GET_PORPERTY", commands::getProperty, kLogDebug),
    query("GET_MLT_FILE", answerQuery<&MePlayer::getMltFile>, kLogInfo),
    edit("ADD_TRACK", runEdit<editing::addTrack>, HistoryPoint::Yes, editing::addTrack),
    edit("ALTER_TRACK", runEdit<editing::deleteTrack>, HistoryPoint::Yes, editing::deleteTrack),
    edit("DELETE_TRACK", runEdit<editing::deleteTrack>, HistoryPoint::Yes, editing::deleteTrack),
    edit("DELETE_ALL_TRACK", runEdit<editing::deleteAllTrack>, HistoryPoint::Yes,
         editing::deleteAllTrack),
    edit("ADD_CLIP", runEdit<editing::addClip>, HistoryPoint::Yes, editing::addClip),
    // Compose-clip edits leave the history alone: an undo right after one
    // also undoes the edit recorded before it.
    edit("ADD_COMPOSE_CLIP", runEdit<editing::addComposeClip>, HistoryPoint::No,
         editing::addComposeClip),
    edit("DELETE_CLIP", runEdit<editing::deleteClip>, HistoryPoint::Yes, editing::deleteClip),
    edit("DELETE_ALL_CLIP", runEdit<editing::deleteAllClip>, HistoryPoint::Yes,
         editing::deleteAllClip),
    edit("ALTER_CLIP", runEdit<editing::alterClip>, HistoryPoint::Yes, editing::alterClip),
    edit("ALTER_COMPOSE_CLIP", runEdit<editing::alterComposeClip>, HistoryPoint::No,
         editing::alterComposeClip),
    edit("ADD_TRANSITION", runEdit<editing::addTransition>, HistoryPoint::Yes,
         editing::addTransition),
    edit("ALTER_TRANSITION", runEdit<editing::alterTransition>, HistoryPoint::Yes,
         editing::alterTransition),
    edit("DELETE_TRANSITION", runEdit<editing::deleteTransition>, HistoryPoint::Yes,
         editing::deleteTransition),
    historyStep("UNDO_LAST_ACTION", commands::undoLastAction),
    historyStep("REDO_LAST_ACTION", commands::redoLastAction),
    query("UPDATE_TEXTFILTER", commands::updateTextFilter, kLogInfo),
    query("CLOSE_MOVIE", commands::closeMovie, kLogInfo),
    batchCommand("DELETE_BATCH_TRANSCLIP", commands::deleteBatchTransClip,
                 fwlog::kBatchDeleteReceived),
    batchCommand("ADD_BATCH_CLIP", commands::addBatchClip, fwlog::kBatchClipReceived),
    edit("ADD_FILTER", runEdit<editing::addFilter>, HistoryPoint::Yes, editing::addFilter),
    // A batch edits the running graph even when the model refused the change.
    edit("ALTER_FILTER", runEdit<editing::alterFilter>, HistoryPoint::Yes,
         editing::alterFilterInBatch),
    edit("DELETE_FILTER", runEdit<editing::deleteFilter>, HistoryPoint::Yes,
         editing::deleteFilterInBatch),
    edit("ADD_MULTI_FILTER", runEdit<editing::addMultiFilter>, HistoryPoint::Yes,
         editing::addMultiFilter),
    edit("ALTER_MULTI_FILTER", runEdit<editing::alterMultiFilter>, HistoryPoint::Yes,
         editing::alterMultiFilter),
    edit("SAVE_PROJECT", commands::saveProject, HistoryPoint::Yes, namesProjectFile,
         BatchClosing::ErrorIfFalse, EditKind::SavesProjectFile),
    edit("LOAD_PROJECT", commands::loadProject, HistoryPoint::Yes, namesProjectFile,
         BatchClosing::ErrorIfFalse, EditKind::LoadsProjectFile),
    edit("CLEAR_PROJECT", runEdit<editing::clearProject>, HistoryPoint::Yes, editing::clearProject),
    query("SAVE_MLT_FILE", commands::saveMltFile, kLogInfo),
    query("PRE_SET_LOGDIRECTORY", commands::setLogDirectory, kLogInfo),
    query("ALTER_SCENE_RESOURSE", commands::alterSceneResource, kLogInfo),
    query("GET_HWACCEL_ABILITY", answerQuery<&MePlayer::getHwAccelAbility>, kLogInfo),
    query("HW_DECODE_ACCEL_ENABLE", commands::enableHardwareDecoding, kLogInfo),
};

const CommandEntry* findCommand(const std::string& name) {
    auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                              [&name](const CommandEntry& entry) { return name == entry.name; });
    return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace

std::string commandResult(bool value) {
    return makeJsonText(kReturnResultKey, value);
}

EditKind editKindOf(const std::string& commandName) {
    const CommandEntry* entry = findCommand(commandName);
    return entry == nullptr ? EditKind::None : entry->editKind;
}

CommandOutcome dispatchCommand(CommandContext& context, const CmdMessage& command) {
    std::string name = command.getCommand();
    const CommandEntry* entry = findCommand(name);
    if (entry == nullptr) {
        writeLog(kLogDebug, fwlog::kCommandReceived, name.c_str());
        writeLog(kLogDebug, fwlog::kCommandOk, name.c_str());
        return {commandResult(false)};
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
    return outcome;
}

bool dispatchEditCommand(EditTarget& target, const CmdMessage& command) {
    std::string name = command.getCommand();
    const CommandEntry* entry = findCommand(name);
    if (entry == nullptr || entry->batchStep == nullptr) {
        return false;
    }
    writeLog(kLogInfo, fwlog::kCommandReceived, name.c_str());
    CParseJson content = command.getContent();
    bool result = entry->batchStep(target, content);
    if (entry->batchClosing == BatchClosing::Ok) {
        writeLog(kLogInfo, fwlog::kCommandOk, name.c_str());
    } else if (!result) {
        writeLog(kLogError, fwlog::kCommandError, name.c_str());
    }
    return result;
}
