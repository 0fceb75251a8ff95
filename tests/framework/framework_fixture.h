// What the framework suite shares: a fresh command processor per test, the
// request bodies it is fed, the exact result texts it answers, and a capture
// of the log lines that pass the threshold.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client/pipe_client.h"
#include "framework/quillavant_framework.h"
#include "host/log.h"
#include "support/model_fixtures.h"

namespace fwtest {

inline const char kTrueText[] = "{\n   \"ReturnResultString\" : true\n}\n";
inline const char kFalseText[] = "{\n   \"ReturnResultString\" : false\n}\n";

struct LoggedLine {
    int level;
    std::string message;
};

// Every line written while it lives, reduced to its level and message.
class LogCapture {
  public:
    LogCapture() {
        setLogObserver([this](int level, const std::string& line) {
            std::lock_guard<std::mutex> lock(mutex_);
            lines_.push_back({level, messageOf(line)});
        });
    }
    ~LogCapture() { setLogObserver(nullptr); }

    std::vector<LoggedLine> lines() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }
    int count(int level, const std::string& message) const {
        int n = 0;
        for (const LoggedLine& line : lines()) {
            n += line.level == level && line.message == message ? 1 : 0;
        }
        return n;
    }
    bool has(int level, const std::string& message) const { return count(level, message) > 0; }
    // Lines at level whose message starts with prefix.
    std::vector<std::string> startingWith(int level, const std::string& prefix) const {
        std::vector<std::string> found;
        for (const LoggedLine& line : lines()) {
            if (line.level == level && line.message.compare(0, prefix.size(), prefix) == 0) {
                found.push_back(line.message);
            }
        }
        return found;
    }
    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        lines_.clear();
    }

  private:
    // A line is "[time] [Level] [instance][pid][tid] message\n": the message
    // follows the fifth ']'.
    static std::string messageOf(const std::string& line) {
        size_t position = 0;
        for (int i = 0; i < 5 && position != std::string::npos; ++i) {
            position = line.find(']', position == 0 ? 0 : position + 1);
        }
        if (position == std::string::npos) {
            return line;
        }
        std::string message = line.substr(position + 2);
        if (!message.empty() && message.back() == '\n') {
            message.pop_back();
        }
        return message;
    }

    mutable std::mutex mutex_;
    std::vector<LoggedLine> lines_;
};

// A message of one command (or control).
inline std::string body(const std::string& command, const std::string& content = "") {
    return makeRequestBody("1", command, content);
}

// A message of several commands, each a name and its content text.
inline std::string batch(const std::vector<std::pair<std::string, std::string>>& commands) {
    std::string text = R"({"ID":"batch","Action":[)";
    for (size_t i = 0; i < commands.size(); ++i) {
        text += (i ? "," : "") + std::string(R"({"Command":")") + commands[i].first + "\"";
        if (!commands[i].second.empty()) {
            text += R"(,"Content":)" + commands[i].second;
        }
        text += "}";
    }
    return text + "]}";
}

inline std::string stringResult(const std::string& value) {
    return "{\n   \"ReturnResultString\" : \"" + value + "\"\n}\n";
}

// Contents of the editing commands the tests build timelines with.
inline std::string trackContent(const std::string& id, const std::string& type = "composite",
                                bool main = false) {
    return R"({"ID":")" + id + R"(","Type":")" + type + R"(","Main":)" + (main ? "true" : "false") +
           "}";
}

inline std::string clipContent(const std::string& id, const std::string& trackId, int index = -1) {
    return R"({"ID":")" + id + R"(","TrackID":")" + trackId + R"(","Index":)" +
           std::to_string(index) +
           R"(,"MltService":"avformat","Resource":"/nonexistent/media.mp4","In":"0","Out":"24"})";
}

class FrameworkTest : public ::testing::Test {
  protected:
    void SetUp() override {
        modeltest::loadTestCatalogue();
        framework_ = std::make_unique<CQuillavantFramework>();
    }
    void TearDown() override { framework_->player().closeConsumer(); }

    std::string command(const std::string& name, const std::string& content = "") {
        return framework_->runCommandMessage(body(name, content));
    }
    std::string control(const std::string& name, const std::string& content = "") {
        return framework_->runControlMessage(body(name, content));
    }
    MeProject& project() { return framework_->project(); }
    MePlayer& player() { return framework_->player(); }
    const UndoHistory& history() { return framework_->history(); }

    std::vector<std::string> clipIds() {
        std::vector<std::string> ids;
        for (const auto& entry : project().clips()) {
            ids.push_back(entry.first);
        }
        return ids;
    }
    std::vector<std::string> videoTrackIds() {
        std::vector<std::string> ids;
        for (const auto& entry : project().videoTracks()) {
            ids.push_back(entry.first);
        }
        return ids;
    }

    std::unique_ptr<CQuillavantFramework> framework_;
};

}  // namespace fwtest
