#include "client/journal_replay.h"

#include <json/writer.h>

#include <utility>

#include "messages/parse_json.h"

namespace {

constexpr char kActionKey[] = "Action";
constexpr char kContentKey[] = "Content";
constexpr char kFileNameKey[] = "FileName";

}  // namespace

bool withProjectFile(const std::string& body, const std::string& file, std::string& out) {
    Json::Value message;
    if (!parseJsonText(body, message) || !message.isObject()) {
        return false;
    }
    Json::Value& actions = message[kActionKey];
    if (!actions.isArray() || actions.size() != 1 || !actions[0].isObject() ||
        !actions[0][kContentKey].isObject()) {
        return false;
    }
    actions[0][kContentKey][kFileNameKey] = file;
    Json::StreamWriterBuilder compact;
    compact["indentation"] = "";
    out = Json::writeString(compact, message);
    return true;
}

JournalReplay::JournalReplay(std::string journalPath, std::vector<journal::JournalEntry> entries,
                             std::string scratchFolder)
    : journalPath_(std::move(journalPath)),
      entries_(std::move(entries)),
      scratchFolder_(std::move(scratchFolder)) {}

bool JournalReplay::requestFor(size_t index, tgMessageHead& head, std::string& body) {
    const journal::JournalEntry& entry = entries_[index];
    head = entry.head;
    body = entry.body;
    const std::string file = scratchFolder_ + "/edit" + std::to_string(index + 1);
    bool moved = true;
    switch (entry.kind) {
        case journal::RecordKind::EditSavingProject:
            moved = withProjectFile(entry.body, file + "-saved.xml", body);
            break;
        case journal::RecordKind::EditLoadingProject:
            moved = journal::extractDocument(journalPath_, entry, file + "-loaded.xml") &&
                    withProjectFile(entry.body, file + "-loaded.xml", body);
            break;
        case journal::RecordKind::EditLoadingUnkeptProject:
            // Names a file that does not exist: the load fails and leaves the
            // project empty, as the original did when it could not read it.
            moved = withProjectFile(entry.body, file + "-unkept.xml", body);
            break;
        default:
            break;
    }
    head.length = static_cast<uint32_t>(body.size());
    return moved;
}

JournalReplay::Outcome JournalReplay::replay(PipeClient& client, const std::set<size_t>& skipped) {
    Outcome outcome;
    for (size_t index = 0; index < entries_.size(); ++index) {
        tgMessageHead head;
        std::string body;
        if (skipped.count(index) != 0) {
            continue;
        }
        if (!requestFor(index, head, body)) {
            outcome.unsent.push_back(index);
            continue;
        }
        if (!client.request(head, body, nullptr)) {
            outcome.stoppedAt = static_cast<long>(index);
            break;
        }
    }
    return outcome;
}
