#include "messages/action_message.h"

namespace {
const char kCommandKey[] = "Command";
const char kContentKey[] = "Content";
const char kIdKey[] = "ID";
const char kActionKey[] = "Action";
}  // namespace

std::string CmdMessage::getCommand() const {
    if (!element_->isObject()) {
        return std::string();
    }
    const Json::Value* command = element_->find(kCommandKey, kCommandKey + sizeof(kCommandKey) - 1);
    return command && command->isString() ? command->asString() : std::string();
}

CParseJson CmdMessage::getContent() const {
    const Json::Value* content =
        element_->isObject() ? element_->find(kContentKey, kContentKey + sizeof(kContentKey) - 1)
                             : nullptr;
    if (content == nullptr) {
        return CParseJson(Json::Value());
    }
    if (content->isObject() || content->isNull()) {
        return CParseJson(*content);
    }
    return CParseJson();
}

std::string CmdMessage::getContentId() const {
    CParseJson content = getContent();
    std::string id;
    content.getString(kIdKey, id);
    return id;
}

ActionMessage::ActionMessage(const ActionMessage& other) : CParseJson(other) {
    if (isParsed_) {
        readActions();
    }
}

ActionMessage& ActionMessage::operator=(const ActionMessage& other) {
    if (this != &other) {
        CParseJson::operator=(other);
        id_.clear();
        commands_.clear();
        if (isParsed_) {
            readActions();
        }
    }
    return *this;
}

bool ActionMessage::parse(const std::string& text) {
    CParseJson::parse(text);
    return readActions();
}

bool ActionMessage::load(const Json::Value& value) {
    root_ = value;
    isParsed_ = true;
    return readActions();
}

bool ActionMessage::readActions() {
    if (!getString(kIdKey, id_)) {
        return false;
    }
    Json::Value* actions =
        root_.isObject()
            ? const_cast<Json::Value*>(root_.find(kActionKey, kActionKey + sizeof(kActionKey) - 1))
            : nullptr;
    if (actions != nullptr && !actions->isArray() && !actions->isNull()) {
        return false;
    }
    commands_.clear();
    if (actions != nullptr && actions->isArray()) {
        for (Json::ArrayIndex i = 0; i < actions->size(); ++i) {
            commands_.push_back(std::make_shared<CmdMessage>(&(*actions)[i]));
        }
    }
    return true;
}

std::shared_ptr<CmdMessage> ActionMessage::findByContentId(const std::string& id) const {
    for (const auto& command : commands_) {
        if (command->getContentId() == id) {
            return command;
        }
    }
    return nullptr;
}
