// The project and player steps of the editing commands. The single-command
// dispatcher and the batch dispatcher run the same steps; only the result,
// the log lines and the history point differ between them.
#pragma once

#include "messages/parse_json.h"

class MePlayer;
class MeProject;

struct EditTarget {
    MePlayer& player;
    MeProject& project;
};

// One command's steps on its content; answers the command's result.
using EditStep = bool (*)(EditTarget& target, CParseJson& content);

namespace editing {

bool addTrack(EditTarget& target, CParseJson& content);
// ALTER_TRACK removes the track: the model has no alteration of a track.
bool deleteTrack(EditTarget& target, CParseJson& content);
bool deleteAllTrack(EditTarget& target, CParseJson& content);
bool addClip(EditTarget& target, CParseJson& content);
bool addComposeClip(EditTarget& target, CParseJson& content);
bool deleteClip(EditTarget& target, CParseJson& content);
bool deleteAllClip(EditTarget& target, CParseJson& content);
bool alterClip(EditTarget& target, CParseJson& content);
bool alterComposeClip(EditTarget& target, CParseJson& content);
bool addTransition(EditTarget& target, CParseJson& content);
bool alterTransition(EditTarget& target, CParseJson& content);
bool deleteTransition(EditTarget& target, CParseJson& content);
bool addFilter(EditTarget& target, CParseJson& content);
// The player is edited only when the project accepted the change.
bool alterFilter(EditTarget& target, CParseJson& content);
bool deleteFilter(EditTarget& target, CParseJson& content);
// Inside a batch the player step runs whatever the project answered.
bool alterFilterInBatch(EditTarget& target, CParseJson& content);
bool deleteFilterInBatch(EditTarget& target, CParseJson& content);
bool addMultiFilter(EditTarget& target, CParseJson& content);
bool alterMultiFilter(EditTarget& target, CParseJson& content);
bool clearProject(EditTarget& target, CParseJson& content);

// One element of ADD_BATCH_CLIP and DELETE_BATCH_TRANSCLIP, applied while the
// preview consumer is stopped for the whole batch.
bool addClipOfBatch(EditTarget& target, CParseJson& element);
bool deleteTransitionOfBatch(EditTarget& target, CParseJson& element);
bool deleteClipOfBatch(EditTarget& target, CParseJson& element);
bool deleteFilterOfBatch(EditTarget& target, CParseJson& element);

}  // namespace editing
