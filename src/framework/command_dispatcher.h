// The two command dispatchers: the full one for a message of exactly one
// command, and the editing-only one for each command of a batch.
#pragma once

#include <string>

#include "framework/command_handlers.h"
#include "framework/editing_steps.h"

// Runs one command and answers its result text; records the command's
// history point where it has one. An unknown name answers false.
std::string dispatchCommand(CommandContext& context, const CmdMessage& command);

// Runs one editing command of a batch without a history point; any other
// name is skipped without a log line. The result is not used by the batch.
bool dispatchEditCommand(EditTarget& target, const CmdMessage& command);
