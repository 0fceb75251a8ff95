#include "messages/parse_json.h"

#include <json/reader.h>

#include <climits>
#include <exception>

#include "messages/styled_json.h"

const char* valueKindName(ValueKind kind) {
    switch (kind) {
        case ValueKind::Int:
            return "Int";
        case ValueKind::Bool:
            return "Bool";
        case ValueKind::Double:
            return "Double";
        case ValueKind::String:
            return "String";
        case ValueKind::Array:
            return "Array";
        case ValueKind::Object:
            return "Object";
    }
    return "";
}

bool valueHasKind(const Json::Value& value, ValueKind kind) {
    switch (kind) {
        case ValueKind::Int:
            if (value.type() == Json::intValue) {
                Json::LargestInt number = value.asLargestInt();
                return number >= INT_MIN && number <= INT_MAX;
            }
            if (value.type() == Json::uintValue) {
                return value.asLargestUInt() <= static_cast<Json::LargestUInt>(INT_MAX);
            }
            return false;
        case ValueKind::Bool:
            return value.type() == Json::booleanValue;
        case ValueKind::Double:
            return value.type() == Json::realValue;
        case ValueKind::String:
            return value.type() == Json::stringValue;
        case ValueKind::Array:
            return value.type() == Json::arrayValue || value.type() == Json::nullValue;
        case ValueKind::Object:
            return value.type() == Json::objectValue || value.type() == Json::nullValue;
    }
    return false;
}

bool parseJsonText(const std::string& text, Json::Value& out, std::string* error) {
    // The classic reader: comments allowed, any value at the top level.
    Json::Reader reader;
    Json::Value parsed;
    bool ok = false;
    try {
        ok = reader.parse(text, parsed, true);
        if (!ok && error) {
            *error = reader.getFormattedErrorMessages();
        }
    } catch (const std::exception& failure) {
        // Nesting beyond the reader's stack limit is reported by an exception.
        ok = false;
        if (error) {
            *error = failure.what();
        }
    }
    out = ok ? parsed : Json::Value();
    return ok;
}

CParseJson::CParseJson(const Json::Value& value) : isParsed_(true), root_(value) {}

bool CParseJson::setValue(const Json::Value& value) {
    root_ = value;
    isParsed_ = true;
    return true;
}

bool CParseJson::parse(const std::string& text) {
    std::string error;
    isParsed_ = parseJsonText(text, root_, &error);
    if (!isParsed_) {
        lastError_ = error;
    }
    return isParsed_;
}

bool CParseJson::getValue(const std::string& key, ValueKind kind, Json::Value& out) {
    if (!isParsed_) {
        return false;
    }
    const Json::Value* member =
        root_.isObject() ? root_.find(key.data(), key.data() + key.size()) : nullptr;
    if (member == nullptr) {
        lastError_ = "json object not found key:" + key;
        return false;
    }
    out = *member;
    if (valueHasKind(out, kind)) {
        return true;
    }
    lastError_ = "the key:" + key + " is not " + valueKindName(kind) + " type";
    return false;
}

bool CParseJson::getString(const std::string& key, std::string& out) {
    Json::Value value;
    if (!getValue(key, ValueKind::String, value)) {
        return false;
    }
    out = value.asString();
    return true;
}

bool CParseJson::getInt(const std::string& key, int& out) {
    Json::Value value;
    if (!getValue(key, ValueKind::Int, value)) {
        return false;
    }
    out = static_cast<int>(value.asLargestInt());
    return true;
}

bool CParseJson::getBool(const std::string& key, bool& out) {
    Json::Value value;
    if (!getValue(key, ValueKind::Bool, value)) {
        return false;
    }
    out = value.asBool();
    return true;
}

bool CParseJson::getDouble(const std::string& key, double& out) {
    Json::Value value;
    if (!getValue(key, ValueKind::Double, value)) {
        return false;
    }
    out = value.asDouble();
    return true;
}

void CParseJson::toStyledText(std::string& out) const {
    out = toStyledJson(root_);
}

std::string CParseJson::styledText() const {
    return toStyledJson(root_);
}
