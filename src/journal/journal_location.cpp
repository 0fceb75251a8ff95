#include "journal/journal_location.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/platform.h"
#include "platform/synced_file.h"

namespace journal {
namespace {

constexpr char kFolderVariable[] = "QUILLAVANT_RECOVERY_DIR";
constexpr char kStateVariable[] = "XDG_STATE_HOME";
constexpr char kSwitchVariable[] = "QUILLAVANT_JOURNAL";
constexpr char kSwitchedOff[] = "off";
constexpr char kDefaultStateFolder[] = "/.local/state";
constexpr char kRecoverySubfolder[] = "/quillavant/recovery";

bool fitsFileName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

std::string recoveryFolder() {
    std::string folder = platform::environmentValue(kFolderVariable);
    if (!folder.empty()) {
        return folder;
    }
    std::string state = platform::environmentValue(kStateVariable);
    if (state.empty() || state[0] != platform::kPathSeparatorChar) {
        state = platform::homeFolder() + kDefaultStateFolder;
    }
    return state + kRecoverySubfolder;
}

bool journalEnabled() {
    return platform::environmentValue(kSwitchVariable) != kSwitchedOff;
}

std::string journalFileName(const std::string& pipeName, int processId, int attempt) {
    std::string name = pipeName.empty() ? std::string("_") : pipeName;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !fitsFileName(c); }, '_');
    if (name[0] == '.') {
        name[0] = '_';
    }
    name += "." + std::to_string(processId);
    if (attempt > 0) {
        name += "-" + std::to_string(attempt);
    }
    return name + kJournalExtension;
}

std::vector<std::string> journalsIn(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string path = entry->path().string();
        if (endsWith(path, kJournalExtension) && entry->is_regular_file(error)) {
            paths.push_back(path);
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace journal
