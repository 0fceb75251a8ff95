// Brackets one command message with the service's journal: a message that
// changes the project or its history is written to the journal before it
// runs, and its reply waits until the journal has it on disk. Queries and
// the other commands that leave the project alone pass by untouched.
#pragma once

#include <string>

#include "messages/action_message.h"
#include "messages/message_head.h"

namespace journal {
class EditJournal;
}

class JournaledEdit {
  public:
    // Begins the journal entry when journal is set and message edits.
    JournaledEdit(journal::EditJournal* journal, const tgMessageHead& head, const std::string& body,
                  const ActionMessage& message);
    // Ends it once the message has run; projectFileWritten says that a save
    // put the project on disk.
    void finish(bool projectFileWritten);

  private:
    journal::EditJournal* journal_ = nullptr;
};
