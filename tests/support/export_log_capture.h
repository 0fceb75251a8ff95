// Collects the log lines written while it lives, so a test can assert the
// exact message texts the engine logged.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

// The message of one log line "[time] [Level] [instance][pid][tid] message\n",
// without the final line feed.
std::string logMessageOf(const std::string& line);
// The messages of every log line in a text (a service's standard error).
std::vector<std::string> logMessagesIn(const std::string& text);

class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The messages (the text after the line's prefix, without the final line feed).
    std::vector<std::string> messages() const;
    int count(const std::string& message) const;

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> messages_;
};

}  // namespace testsupport
