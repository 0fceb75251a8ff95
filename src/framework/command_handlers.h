// The handlers of the single-command dispatcher that are more than one
// project or player call. Each reads its content, does its steps and gives
// the result text and the closing log line; the dispatcher logs the lines
// and records the history point.
#pragma once

#include <string>

#include "messages/action_message.h"

class MePlayer;
class MeProject;
class UndoHistory;

struct CommandContext {
    MePlayer& player;
    MeProject& project;
    UndoHistory& history;
};

enum class ClosingLine {
    Ok,     // "Return [%s] command Ok" at the command's level
    Error,  // "Return [%s] command Error" at Error level
    None,   // nothing
};

struct CommandOutcome {
    std::string resultText;
    ClosingLine closing = ClosingLine::Ok;
    // A save wrote the project document (its answer is true either way).
    bool projectFileWritten = false;
};

using CommandHandler = CommandOutcome (*)(CommandContext& context, const CmdMessage& command);

// The result text of a command: "ReturnResultString" with the value.
std::string commandResult(bool value);

// A player timecode with its last ':' made '.', so 00:01:05:12 reads
// 00:01:05.12 (the part after the point is still a frame count).
std::string timecodeForClient(std::string timecode);

namespace commands {

// Movie, query and project-file commands.
CommandOutcome openMovie(CommandContext& context, const CmdMessage& command);
CommandOutcome totalTimeText(CommandContext& context, const CmdMessage& command);
CommandOutcome currentTimeText(CommandContext& context, const CmdMessage& command);
CommandOutcome getProperty(CommandContext& context, const CmdMessage& command);
CommandOutcome updateTextFilter(CommandContext& context, const CmdMessage& command);
CommandOutcome closeMovie(CommandContext& context, const CmdMessage& command);
CommandOutcome saveMltFile(CommandContext& context, const CmdMessage& command);
CommandOutcome setLogDirectory(CommandContext& context, const CmdMessage& command);
CommandOutcome alterSceneResource(CommandContext& context, const CmdMessage& command);
CommandOutcome enableHardwareDecoding(CommandContext& context, const CmdMessage& command);

// Editing commands with more than one step of their own.
CommandOutcome addBatchClip(CommandContext& context, const CmdMessage& command);
CommandOutcome deleteBatchTransClip(CommandContext& context, const CmdMessage& command);
CommandOutcome saveProject(CommandContext& context, const CmdMessage& command);
CommandOutcome loadProject(CommandContext& context, const CmdMessage& command);
CommandOutcome undoLastAction(CommandContext& context, const CmdMessage& command);
CommandOutcome redoLastAction(CommandContext& context, const CmdMessage& command);

}  // namespace commands
