#include "framework/editing_steps.h"

#include "player/player.h"
#include "project/project.h"

namespace editing {

bool addTrack(EditTarget& target, CParseJson& content) {
    return target.project.addTrack(content);
}

bool deleteTrack(EditTarget& target, CParseJson& content) {
    return target.project.deleteTrack(content);
}

bool deleteAllTrack(EditTarget& target, CParseJson&) {
    return target.project.deleteAllTrack();
}

bool addClip(EditTarget& target, CParseJson& content) {
    target.project.addClip(content);
    return target.player.addClip(content);
}

bool addComposeClip(EditTarget& target, CParseJson& content) {
    target.project.addComposeClip(content);
    return target.player.addClip(content);
}

bool deleteClip(EditTarget& target, CParseJson& content) {
    target.project.deleteClip(content);
    return target.player.deleteClip(content);
}

bool deleteAllClip(EditTarget& target, CParseJson& content) {
    target.project.deleteAllClip(content);
    return target.player.deleteAllClip(content);
}

bool alterClip(EditTarget& target, CParseJson& content) {
    target.project.alterClip(content);
    return target.player.alterClip(content);
}

bool alterComposeClip(EditTarget& target, CParseJson& content) {
    target.project.alterComposeClip(content);
    return target.player.alterClip(content);
}

bool addTransition(EditTarget& target, CParseJson& content) {
    target.project.addTransition(content);
    return target.player.addTransition(content);
}

bool alterTransition(EditTarget& target, CParseJson& content) {
    return target.project.alterTransition(content);
}

bool deleteTransition(EditTarget& target, CParseJson& content) {
    target.project.deleteTransition(content);
    return target.player.deleteTransition(content);
}

bool addFilter(EditTarget& target, CParseJson& content) {
    // The engine graph is changed first; the command answers the model's step.
    target.player.addFilter(content);
    return target.project.addFilter(content);
}

bool alterFilter(EditTarget& target, CParseJson& content) {
    return target.project.alterFilter(content) && target.player.alterFilter(content);
}

bool deleteFilter(EditTarget& target, CParseJson& content) {
    return target.project.deleteFilter(content) && target.player.deleteFilter(content);
}

bool alterFilterInBatch(EditTarget& target, CParseJson& content) {
    bool changed = target.project.alterFilter(content);
    return target.player.alterFilter(content) && changed;
}

bool deleteFilterInBatch(EditTarget& target, CParseJson& content) {
    bool changed = target.project.deleteFilter(content);
    return target.player.deleteFilter(content) && changed;
}

bool addMultiFilter(EditTarget& target, CParseJson& content) {
    return target.project.addMultiFilter(content);
}

bool alterMultiFilter(EditTarget& target, CParseJson& content) {
    return target.project.alterMultiFilter(content);
}

bool clearProject(EditTarget& target, CParseJson&) {
    target.project.clear();
    target.player.closeConsumer();
    return true;
}

bool addClipOfBatch(EditTarget& target, CParseJson& element) {
    target.project.addClip(element);
    return target.player.addBatchClip(element);
}

bool deleteTransitionOfBatch(EditTarget& target, CParseJson& element) {
    target.project.deleteTransition(element);
    return target.player.deleteBatchTransition(element);
}

bool deleteClipOfBatch(EditTarget& target, CParseJson& element) {
    target.project.deleteClip(element);
    return target.player.deleteBatchClip(element);
}

bool deleteFilterOfBatch(EditTarget& target, CParseJson& element) {
    target.project.deleteFilter(element);
    return target.player.deleteBatchFilter(element);
}

}  // namespace editing
