// Random but well-formed requests, as an editor's user would send them:
// mostly editing commands on a few tracks and clips, with batches, undo and
// redo, project saves and loads in one folder, queries and controls. The same
// seed gives the same requests.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <utility>

#include "messages/message_head.h"

namespace testsupport {

class RandomEditor {
  public:
    // Project files are saved to and loaded from directory.
    RandomEditor(unsigned seed, std::string directory)
        : random_(seed), directory_(std::move(directory)) {}

    // One request: the header type and the JSON body.
    std::pair<uint16_t, std::string> next();

  private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    std::string num(int count, int offset = 0) { return std::to_string(pick(count) + offset); }
    std::string pickOf(std::initializer_list<const char*> names) {
        return names.begin()[pick(static_cast<int>(names.size()))];
    }
    std::string track();
    std::string edit();
    static std::string action(const std::string& name, const std::string& content);
    static std::string wrap(const std::string& actions);

    std::mt19937 random_;
    std::string directory_;
};

}  // namespace testsupport
