#include "messages/result_text.h"

#include <json/value.h>

#include "messages/styled_json.h"

const char kReturnResultKey[] = "ReturnResultString";

namespace {
std::string singleMember(const std::string& key, const Json::Value& value) {
    Json::Value root(Json::objectValue);
    root[key] = value;
    return toStyledJson(root);
}
}  // namespace

std::string makeJsonText(const std::string& key, bool value) {
    return singleMember(key, Json::Value(value));
}

std::string makeJsonText(const std::string& key, int value) {
    return singleMember(key, Json::Value(value));
}

std::string makeJsonText(const std::string& key, double value) {
    return singleMember(key, Json::Value(value));
}

std::string makeJsonText(const std::string& key, const std::string& value) {
    return singleMember(key, Json::Value(value));
}

std::string makeJsonText(const std::string& key, const char* value) {
    return singleMember(key, Json::Value(value ? value : ""));
}
