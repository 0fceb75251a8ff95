// Typed access to the members of a JSON object. Every command field and every
// timeline object's JSON form is read through these getters, so their kind
// rules decide what the client may send: exact kinds, not conversions.
#pragma once

#include <json/value.h>

#include <string>

enum class ValueKind {
    Int = 0,     // an integer without fraction or exponent, within 32 bits
    Bool = 1,    // true or false
    Double = 2,  // a number written with a point or an exponent
    String = 3,  // a string
    Array = 4,   // an array, or null
    Object = 5,  // an object, or null
};

// Name of a kind as it appears in error texts ("Int", "Bool", ...).
const char* valueKindName(ValueKind kind);

// Whether a value passes the kind test.
bool valueHasKind(const Json::Value& value, ValueKind kind);

class CParseJson {
  public:
    CParseJson() = default;
    explicit CParseJson(const Json::Value& value);
    virtual ~CParseJson() = default;

    // Takes a value as the root; always succeeds.
    virtual bool setValue(const Json::Value& value);
    // Parses a text into the root (comments allowed, any top-level value).
    virtual bool parse(const std::string& text);

    // Fetches member key into out and tests it against kind. On a kind
    // mismatch out has already been written.
    bool getValue(const std::string& key, ValueKind kind, Json::Value& out);
    bool getString(const std::string& key, std::string& out);
    bool getInt(const std::string& key, int& out);
    bool getBool(const std::string& key, bool& out);
    bool getDouble(const std::string& key, double& out);
    bool getArray(const std::string& key, Json::Value& out) {
        return getValue(key, ValueKind::Array, out);
    }
    bool getObject(const std::string& key, Json::Value& out) {
        return getValue(key, ValueKind::Object, out);
    }

    void toStyledText(std::string& out) const;
    std::string styledText() const;

    bool isParsed() const { return isParsed_; }
    const std::string& lastError() const { return lastError_; }
    const Json::Value& root() const { return root_; }
    Json::Value& root() { return root_; }

  protected:
    std::string lastError_;
    bool isParsed_ = false;
    Json::Value root_;
};

// Parses JSON text with the engine's reader settings; false (and the error
// text) on malformed or too deeply nested input. Never throws.
bool parseJsonText(const std::string& text, Json::Value& out, std::string* error = nullptr);
