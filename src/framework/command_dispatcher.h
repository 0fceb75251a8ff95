// The two command dispatchers: the full one for a message of exactly one
// command, and the editing-only one for each command of a batch.
#pragma once

#include <string>

#include "framework/command_handlers.h"
#include "framework/editing_steps.h"

// Runs one command and answers its outcome; records the command's history
// point where it has one. An unknown name answers false.
CommandOutcome dispatchCommand(CommandContext& context, const CmdMessage& command);

// What a message of this one command does to the project: the journal keeps
// every message that changes the project or its history.
enum class EditKind {
    None,  // queries, movie and log commands, unknown names
    Edit,
    SavesProjectFile,
    LoadsProjectFile,
};
EditKind editKindOf(const std::string& commandName);

// Runs one editing command of a batch without a history point; any other
// name is skipped without a log line. The result is not used by the batch.
bool dispatchEditCommand(EditTarget& target, const CmdMessage& command);
