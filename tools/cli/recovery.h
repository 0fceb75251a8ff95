// Recovering the work of a service that died: rebuild the project its edit
// journal kept and save it, and list the journals there are.
#pragma once

#include <iosfwd>
#include <string>

// Replays the journal in a private service and saves the project it rebuilt
// to outPath. Warnings and damage go to messages. Returns kExitOk (perhaps
// with warnings), kExitJournalDamaged (edits were skipped; what could be
// replayed was still saved) or kExitRecoveryFailed (nothing was saved).
int recoverJournal(const std::string& journalPath, const std::string& outPath, std::ostream& out,
                   std::ostream& messages);

// Lists the journals in the recovery folder: when each was last written,
// its service's pipe name and process, and how many edits it holds.
int listRecoverable(std::ostream& out);
