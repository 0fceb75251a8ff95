#include "cli/session.h"

#include <iostream>
#include <sstream>

#include "cli/export_progress.h"
#include "platform/platform.h"

namespace {

std::string trim(const std::string& text) {
    size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return std::string();
    }
    size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// Splits "word rest" at the first blank.
std::pair<std::string, std::string> splitWord(const std::string& text) {
    std::string trimmed = trim(text);
    size_t blank = trimmed.find_first_of(" \t");
    if (blank == std::string::npos) {
        return {trimmed, std::string()};
    }
    return {trimmed.substr(0, blank), trim(trimmed.substr(blank))};
}

// Results that differ from run to run (positions while playing, generated
// file names): a recording accepts any value for them.
bool isVolatileResult(const std::string& name) {
    static const char* const kVolatile[] = {
        "PRE_GETCURRENTPOS",      "PRE_GETCURRENTTIME",
        "PRE_GETCURRENTTIME_STR", "PRE_GETEXPORTCURRENTPOS",
        "PRE_ISEXPORTSTOP",       "SAVE_MLT_FILE",
        "GET_MLT_FILE",
    };
    for (const char* entry : kVolatile) {
        if (name == entry) {
            return true;
        }
    }
    return false;
}

const char kAnyResult[] = "*";

}  // namespace

Session::Session(PipeClient& client, const SessionOptions& options, std::ostream& out)
    : client_(client), options_(options), out_(out) {}

void Session::printReply(const PipeReply& reply) {
    lastResult_ = resultValueText(reply.body);
    if (options_.quiet) {
        out_ << lastResult_ << "\n";
        return;
    }
    out_ << "< flag=" << reply.head.flag << " userWord1=" << reply.head.userWord1
         << " type=" << reply.head.type << " userWord2=" << reply.head.userWord2
         << " length=" << reply.head.length << "\n"
         << reply.body;
    if (!reply.body.empty() && reply.body.back() != '\n') {
        out_ << "\n";
    }
}

int Session::sendBody(uint16_t type, const std::string& body) {
    tgMessageHead head;
    head.type = type;
    head.length = static_cast<uint32_t>(body.size());
    PipeReply reply;
    if (!client_.request(head, body, &reply)) {
        std::cerr << "quillavant-cli: no reply: " << client_.lastError() << "\n";
        return kExitRequestFailed;
    }
    printReply(reply);
    return kExitOk;
}

int Session::send(uint16_t type, const std::string& name, const std::string& contentJson) {
    static unsigned counter = 0;
    return sendBody(type, makeRequestBody("cli-" + std::to_string(++counter), name, contentJson));
}

int Session::close() {
    if (!client_.sendClose()) {
        std::cerr << "quillavant-cli: close request failed: " << client_.lastError() << "\n";
        return kExitRequestFailed;
    }
    client_.waitForClose(10000);
    client_.disconnect();
    return kExitOk;
}

int Session::runLine(const std::string& rawLine) {
    ++lineNumber_;
    std::string line = trim(rawLine);
    if (line.empty() || line[0] == '#') {
        return kExitOk;
    }
    if (options_.echo) {
        out_ << "> " << line << "\n";
    }
    auto [verb, rest] = splitWord(line);
    if (verb == "command" || verb == "cmd" || verb == "control" || verb == "ctl") {
        auto [name, content] = splitWord(rest);
        if (name.empty()) {
            std::cerr << "line " << lineNumber_ << ": " << verb << " needs a name\n";
            return kExitUsage;
        }
        bool command = verb == "command" || verb == "cmd";
        int code = send(command ? kCommandMessage : kControlMessage, name, content);
        if (code == kExitOk) {
            recordRequest(line, name);
        }
        return code;
    }
    if (verb == "body") {
        auto [typeText, body] = splitWord(rest);
        int code =
            sendBody(static_cast<uint16_t>(std::stoi(typeText.empty() ? "1" : typeText)), body);
        if (code == kExitOk) {
            recordRequest(line, std::string());
        }
        return code;
    }
    if (verb == "expect") {
        return checkExpectation(rest);
    }
    if (verb == "sleep") {
        platform::sleepMilliseconds(std::stol(rest.empty() ? "0" : rest));
        return kExitOk;
    }
    if (verb == "export") {
        // A whole render: EXPORT_MOVIE, then progress until it has stopped.
        if (options_.record) {
            *options_.record << line << "\n";
        }
        return runExportWithProgress(client_, rest, out_) == 0 ? kExitOk : kExitRequestFailed;
    }
    if (verb == "close") {
        if (options_.record) {
            *options_.record << line << "\n";
        }
        return close();
    }
    std::cerr << "line " << lineNumber_ << ": unknown verb '" << verb
              << "' (command, control, body, export, expect, sleep, close)\n";
    return kExitUsage;
}

int Session::checkExpectation(const std::string& expected) {
    if (expected == kAnyResult || lastResult_ == expected) {
        return kExitOk;
    }
    ++failedExpectations_;
    std::cerr << "line " << lineNumber_ << ": expected " << expected << ", got " << lastResult_
              << "\n";
    return options_.keepGoing ? kExitOk : kExitExpectationFailed;
}

void Session::recordRequest(const std::string& line, const std::string& name) {
    if (options_.record == nullptr) {
        return;
    }
    *options_.record << line << "\n"
                     << "expect " << (isVolatileResult(name) ? kAnyResult : lastResult_) << "\n";
}

int Session::runScript(std::istream& script) {
    std::string line;
    while (std::getline(script, line)) {
        int code = runLine(line);
        if (code != kExitOk) {
            return code;
        }
        if (!client_.isConnected()) {
            break;
        }
    }
    return failedExpectations_ > 0 ? kExitExpectationFailed : kExitOk;
}
