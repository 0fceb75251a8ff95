// A request body: an identifier and a list of commands, each a command name
// with a content object. The same shape holds a multi-filter's command list.
#pragma once

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "messages/parse_json.h"

// One entry of a message's "Action" array. It refers to the element inside
// its message's document, so it is valid only while that message lives and
// changes made through it change the document.
class CmdMessage {
  public:
    explicit CmdMessage(Json::Value* element) : element_(element) {}

    // The "Command" member, or empty when it is not a string.
    std::string getCommand() const;
    // A copy of "Content" (null when absent); unparsed when it is not an object.
    CParseJson getContent() const;
    // The content's "ID" string, or empty.
    std::string getContentId() const;

    Json::Value& element() { return *element_; }
    const Json::Value& element() const { return *element_; }

  private:
    Json::Value* element_;
};

class ActionMessage : public CParseJson {
  public:
    ActionMessage() = default;
    ActionMessage(const ActionMessage& other);
    ActionMessage& operator=(const ActionMessage& other);
    ~ActionMessage() override = default;

    // Parses the text, then reads the command list; answers the list's result.
    bool parse(const std::string& text) override;
    // Takes a value as the root and reads the command list from it.
    bool load(const Json::Value& value);
    // Reads "ID" and "Action" into the identifier and the command list.
    bool readActions();

    // The first command whose content "ID" equals id exactly.
    std::shared_ptr<CmdMessage> findByContentId(const std::string& id) const;

    const std::string& id() const { return id_; }
    const std::vector<std::shared_ptr<CmdMessage>>& commands() const { return commands_; }

  private:
    std::string id_;
    std::vector<std::shared_ptr<CmdMessage>> commands_;
};
