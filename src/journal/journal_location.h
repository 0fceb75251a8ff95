// Where a service keeps its journal, and what the journal files are called.
// Journals are state that must outlive the process, so they live in the
// user's XDG state folder unless QUILLAVANT_RECOVERY_DIR names another.
#pragma once

#include <string>
#include <vector>

namespace journal {

constexpr char kJournalExtension[] = ".journal";

// $QUILLAVANT_RECOVERY_DIR, else $XDG_STATE_HOME/quillavant/recovery (an
// absolute XDG_STATE_HOME only, as XDG asks), else
// ~/.local/state/quillavant/recovery.
std::string recoveryFolder();

// False when QUILLAVANT_JOURNAL is "off": no journal is written (the private
// service that replays a journal runs so).
bool journalEnabled();

// "<pipe>.<pid>.journal", or "<pipe>.<pid>-<attempt>.journal" after the
// first attempt: a process id can come round again after a reboot, and the
// older journal must not be overwritten. Characters a file name should not
// hold become '_'.
std::string journalFileName(const std::string& pipeName, int processId, int attempt = 0);

// The paths of the journal files in folder, sorted.
std::vector<std::string> journalsIn(const std::string& folder);

}  // namespace journal
