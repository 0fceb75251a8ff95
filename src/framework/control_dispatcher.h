// The controls of a control message: transport and display requests for the
// preview, snapshots and thumbnails, and the export.
#pragma once

#include "messages/action_message.h"

class MePlayer;
class MeProject;

// Runs one control. The outcome chooses only the closing log line; an unknown
// name is ignored and counts as success.
bool runControl(MePlayer& player, MeProject& project, const CmdMessage& control);
