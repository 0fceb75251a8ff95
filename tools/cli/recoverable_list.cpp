// --list-recoverable: the journals in the recovery folder, one a line.
#include <cstdio>
#include <ostream>

#include "cli/recovery.h"
#include "cli/session.h"
#include "journal/journal_location.h"
#include "journal/journal_reader.h"
#include "platform/platform.h"
#include "platform/synced_file.h"

int listRecoverable(std::ostream& out) {
    const std::string folder = journal::recoveryFolder();
    const std::vector<std::string> paths = journal::journalsIn(folder);
    if (paths.empty()) {
        out << "no recoverable edit journals in " << folder << "\n";
        return kExitOk;
    }
    out << "edit journals in " << folder << "\n";
    char line[512];
    std::snprintf(line, sizeof(line), "  %-19s  %-20s %8s %6s  %s\n", "last edit", "pipe",
                  "process", "edits", "journal");
    out << line;
    for (const std::string& path : paths) {
        const journal::JournalContents contents = journal::readJournal(path);
        if (!contents.isJournal) {
            continue;
        }
        platform::LocalTime written;
        platform::modificationTime(path, written);
        std::string notes;
        if (platform::isLockedByWriter(path)) {
            notes += "  (its service is running)";
        }
        if (contents.isDamaged()) {
            notes += "  (damaged)";
        }
        const std::string pipe = contents.hasServiceInfo ? contents.service.pipeName : "?";
        std::snprintf(line, sizeof(line), "  %-19s  %-20s %8d %6zu  ",
                      journal::timeText(written).c_str(), pipe.c_str(), contents.service.processId,
                      contents.entries.size());
        out << line << path << notes << "\n";
    }
    return kExitOk;
}
