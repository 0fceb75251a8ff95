#include "framework/journaled_edit.h"

#include "framework/command_dispatcher.h"
#include "framework/framework_names.h"
#include "journal/edit_journal.h"

namespace {

// The request as the journal keeps it: which project file it saves or
// loads, when it is the one command of its message and names a file. Inside
// a batch, saves and loads only check the name, so they are plain edits.
journal::EditRequest journalRequest(const tgMessageHead& head, const std::string& body,
                                    const CmdMessage& command, EditKind kind) {
    journal::EditRequest request(head, body);
    std::string file;
    CParseJson content = command.getContent();
    if (kind == EditKind::SavesProjectFile && content.getString(fwkey::kFileName, file)) {
        request.fileUse = journal::ProjectFileUse::Saves;
    } else if (kind == EditKind::LoadsProjectFile && content.getString(fwkey::kFileName, file)) {
        request.fileUse = journal::ProjectFileUse::Loads;
        request.projectFile = file;
    }
    return request;
}

}  // namespace

JournaledEdit::JournaledEdit(journal::EditJournal* journal, const tgMessageHead& head,
                             const std::string& body, const ActionMessage& message) {
    if (journal == nullptr) {
        return;
    }
    // Any other number of commands is a batch, which always records a
    // history point.
    if (message.commands().size() != 1) {
        journal->begin(journal::EditRequest(head, body));
        journal_ = journal;
        return;
    }
    const CmdMessage& command = *message.commands().front();
    const EditKind kind = editKindOf(command.getCommand());
    if (kind == EditKind::None) {
        return;
    }
    journal->begin(journalRequest(head, body, command, kind));
    journal_ = journal;
}

void JournaledEdit::finish(bool projectFileWritten) {
    if (journal_ != nullptr) {
        journal_->finish(projectFileWritten);
    }
}
