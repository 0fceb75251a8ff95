#include "support/export_log_capture.h"

#include <algorithm>
#include <sstream>

#include "log/log.h"

namespace testsupport {

std::string logMessageOf(const std::string& line) {
    size_t ids = line.find("] [", line.find("] [") + 1);
    size_t start = ids == std::string::npos ? std::string::npos : line.find("] ", ids + 3);
    std::string message = start == std::string::npos ? line : line.substr(start + 2);
    if (!message.empty() && message.back() == '\n') {
        message.pop_back();
    }
    return message;
}

std::vector<std::string> logMessagesIn(const std::string& text) {
    std::vector<std::string> messages;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        // Engine messages may run over several lines; only log lines start with a stamp.
        if (line.compare(0, 1, "[") == 0 && line.find("] [") != std::string::npos) {
            messages.push_back(logMessageOf(line));
        }
    }
    return messages;
}

LogCapture::LogCapture() {
    setLogObserver([this](int, const std::string& line) {
        std::lock_guard<std::mutex> lock(mutex_);
        messages_.push_back(logMessageOf(line));
    });
}

LogCapture::~LogCapture() {
    setLogObserver(nullptr);
}

std::vector<std::string> LogCapture::messages() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return messages_;
}

int LogCapture::count(const std::string& message) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(std::count(messages_.begin(), messages_.end(), message));
}

}  // namespace testsupport
