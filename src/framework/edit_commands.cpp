// The editing commands that do more than one project and player step: the
// two batch commands, the project files, and stepping through the history.
#include <cstring>

#include "framework/command_handlers.h"
#include "framework/editing_steps.h"
#include "framework/framework_names.h"
#include "framework/undo_history.h"
#include "log/log.h"
#include "messages/styled_json.h"
#include "player/player.h"
#include "project/project.h"

namespace {

// The content of a batch command is an array of command contents; an absent
// content counts as an empty array.
const Json::Value* batchElements(const CmdMessage& command) {
    static const Json::Value kNoElements(Json::arrayValue);
    const Json::Value& element = command.element();
    const Json::Value* content =
        element.isObject()
            ? element.find(fwkey::kContent, fwkey::kContent + std::strlen(fwkey::kContent))
            : nullptr;
    if (content == nullptr || content->isNull()) {
        return &kNoElements;
    }
    return content->isArray() ? content : nullptr;
}

// What one element of DELETE_BATCH_TRANSCLIP deletes, by its "Type" text.
struct BatchDeletion {
    const char* type;
    EditStep step;
};

const BatchDeletion kBatchDeletions[] = {
    {"0", editing::deleteTransitionOfBatch},
    {"1", editing::deleteClipOfBatch},
    {"2", editing::deleteFilterOfBatch},
};

EditStep deletionFor(CParseJson& element) {
    std::string type;
    if (!element.getString(fwkey::kType, type)) {
        return nullptr;
    }
    for (const BatchDeletion& deletion : kBatchDeletions) {
        if (type == deletion.type) {
            return deletion.step;
        }
    }
    return nullptr;
}

// Runs step on every element of a batch while the preview consumer is
// stopped; the elements' results are not used.
template <typename Step>
CommandOutcome runBatch(CommandContext& context, const Json::Value* elements, Step step) {
    if (elements == nullptr) {
        writeLog(kLogError, "%s", fwlog::kNotAnArray);
        return {commandResult(true)};
    }
    EditTarget target{context.player, context.project};
    context.player.stopConsumer();
    for (const Json::Value& value : *elements) {
        CParseJson element(value);
        step(target, element);
    }
    context.player.startConsumer();
    return {commandResult(true)};
}

}  // namespace

namespace commands {

CommandOutcome addBatchClip(CommandContext& context, const CmdMessage& command) {
    return runBatch(context, batchElements(command), editing::addClipOfBatch);
}

CommandOutcome deleteBatchTransClip(CommandContext& context, const CmdMessage& command) {
    const Json::Value* elements = batchElements(command);
    return runBatch(context, elements, [elements](EditTarget& target, CParseJson& element) {
        EditStep deletion = deletionFor(element);
        if (deletion == nullptr) {
            writeLog(kLogError, fwlog::kTypeException, toStyledJson(*elements).c_str());
            return false;
        }
        return deletion(target, element);
    });
}

CommandOutcome saveProject(CommandContext& context, const CmdMessage& command) {
    CParseJson content = command.getContent();
    std::string fileName;
    if (!content.getString(fwkey::kFileName, fileName)) {
        return {commandResult(false), ClosingLine::None};
    }
    // The client is told the save succeeded whether or not the document
    // reached the disk; only the journal asks.
    const bool written = context.project.writeProjectFile(fileName);
    return {commandResult(true), ClosingLine::Ok, written};
}

CommandOutcome loadProject(CommandContext& context, const CmdMessage& command) {
    CParseJson content = command.getContent();
    std::string fileName;
    if (!content.getString(fwkey::kFileName, fileName)) {
        return {commandResult(false), ClosingLine::Error};
    }
    return {commandResult(context.project.loadProject(fileName))};
}

CommandOutcome undoLastAction(CommandContext& context, const CmdMessage&) {
    context.history.undo(context.project);
    writeLog(kLogVerbose, fwlog::kBackToLastPoint, context.history.index(), context.history.size());
    return {commandResult(true)};
}

CommandOutcome redoLastAction(CommandContext& context, const CmdMessage&) {
    context.history.redo(context.project);
    return {commandResult(true)};
}

}  // namespace commands
