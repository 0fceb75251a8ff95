#include "messages/styled_json.h"

#include <cstdio>
#include <vector>

namespace {

constexpr unsigned kIndentSize = 3;
constexpr unsigned kRightMargin = 74;

std::string quoteJson(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (unsigned char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof(escaped), "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    out += '"';
    return out;
}

// Writes values the way a styled writer lays them out: objects and long or
// nested arrays over several lines, short arrays of scalars on one.
class StyledJsonWriter {
  public:
    std::string write(const Json::Value& root) {
        document_.clear();
        indent_.clear();
        writeValue(root);
        document_ += '\n';
        return document_;
    }

  private:
    std::string scalarText(const Json::Value& value) {
        switch (value.type()) {
            case Json::nullValue:
                return "null";
            case Json::intValue:
                return std::to_string(value.asLargestInt());
            case Json::uintValue:
                return std::to_string(value.asLargestUInt());
            case Json::realValue:
                return formatJsonReal(value.asDouble());
            case Json::stringValue:
                return quoteJson(value.asString());
            case Json::booleanValue:
                return value.asBool() ? "true" : "false";
            default:
                return std::string();
        }
    }

    void push(const std::string& text) {
        if (collecting_) {
            childValues_.push_back(text);
        } else {
            document_ += text;
        }
    }

    void writeIndent() {
        if (!document_.empty()) {
            char last = document_.back();
            if (last == ' ') {
                return;
            }
            if (last != '\n') {
                document_ += '\n';
            }
        }
        document_ += indent_;
    }

    void writeWithIndent(const std::string& text) {
        writeIndent();
        document_ += text;
    }

    void writeValue(const Json::Value& value) {
        if (value.isArray()) {
            writeArray(value);
        } else if (value.isObject()) {
            writeObject(value);
        } else {
            push(scalarText(value));
        }
    }

    void writeObject(const Json::Value& value) {
        Json::Value::Members members = value.getMemberNames();
        if (members.empty()) {
            push("{}");
            return;
        }
        writeWithIndent("{");
        indent_ += std::string(kIndentSize, ' ');
        for (size_t i = 0; i < members.size(); ++i) {
            writeWithIndent(quoteJson(members[i]));
            document_ += " : ";
            writeValue(value[members[i]]);
            if (i + 1 < members.size()) {
                document_ += ',';
            }
        }
        indent_.resize(indent_.size() - kIndentSize);
        writeWithIndent("}");
    }

    void writeArray(const Json::Value& value) {
        unsigned size = value.size();
        if (size == 0) {
            push("[]");
            return;
        }
        if (isMultiline(value)) {
            writeWithIndent("[");
            indent_ += std::string(kIndentSize, ' ');
            bool hasChildValues = !childValues_.empty();
            for (unsigned i = 0; i < size; ++i) {
                if (hasChildValues) {
                    writeWithIndent(childValues_[i]);
                } else {
                    writeIndent();
                    writeValue(value[i]);
                }
                if (i + 1 < size) {
                    document_ += ',';
                }
            }
            indent_.resize(indent_.size() - kIndentSize);
            writeWithIndent("]");
        } else {
            document_ += "[ ";
            for (unsigned i = 0; i < size; ++i) {
                if (i > 0) {
                    document_ += ", ";
                }
                document_ += childValues_[i];
            }
            document_ += " ]";
        }
    }

    bool isMultiline(const Json::Value& value) {
        unsigned size = value.size();
        bool multiline = size * 3 >= kRightMargin;
        childValues_.clear();
        for (unsigned i = 0; i < size && !multiline; ++i) {
            const Json::Value& child = value[i];
            multiline = (child.isArray() || child.isObject()) && !child.empty();
        }
        if (!multiline) {
            childValues_.reserve(size);
            collecting_ = true;
            unsigned lineLength = 4 + (size - 1) * 2;
            for (unsigned i = 0; i < size; ++i) {
                writeValue(value[i]);
                lineLength += static_cast<unsigned>(childValues_[i].size());
            }
            collecting_ = false;
            multiline = lineLength >= kRightMargin;
        }
        return multiline;
    }

    std::string document_;
    std::string indent_;
    std::vector<std::string> childValues_;
    bool collecting_ = false;
};

}  // namespace

std::string formatJsonReal(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof(buffer), "%#.16g", value);
    std::string text(buffer);
    // The "C" locale is not guaranteed around us: the separator is always a point.
    for (char& c : text) {
        if (c == ',') {
            c = '.';
        }
    }
    if (text.empty() || text.back() != '0') {
        return text;
    }
    size_t lastNonZero = text.find_last_not_of('0');
    if (lastNonZero == std::string::npos) {
        return text;
    }
    for (size_t i = lastNonZero + 1; i-- > 0;) {
        char c = text[i];
        if (c >= '0' && c <= '9') {
            continue;
        }
        if (c == '.') {
            return text.substr(0, lastNonZero + 2);
        }
        return text;
    }
    return text;
}

std::string toStyledJson(const Json::Value& value) {
    return StyledJsonWriter().write(value);
}
