#include "cli/recovery.h"

#include <json/writer.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>
#include <set>
#include <system_error>

#include "cli/session.h"
#include "client/journal_replay.h"
#include "client/service_launcher.h"
#include "journal/journal_reader.h"
#include "platform/durable_file.h"
#include "platform/platform.h"
#include "platform/synced_file.h"
#include "project/project.h"
#include "timeline/compose_clip.h"

namespace {

constexpr int kServiceWaitMs = 30000;
constexpr char kPrefix[] = "quillavant-cli: ";

// A folder of our own for the private service's socket and for the files
// the replay writes instead of the user's; removed with everything in it.
class ScratchFolder {
  public:
    ScratchFolder() {
        std::error_code error;
        std::string pattern =
            (std::filesystem::temp_directory_path(error) / "quillavant-recover-XXXXXX").string();
        if (!error && ::mkdtemp(&pattern[0]) != nullptr) {
            path_ = pattern;
        }
    }
    ~ScratchFolder() {
        std::error_code error;
        if (!path_.empty()) {
            std::filesystem::remove_all(path_, error);
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// A quillavant-host of the same build, beside this program, that keeps no
// journal of its own.
class PrivateService {
  public:
    bool start(const std::string& folder, int attempt) {
        const std::string program = platform::executablePath();
        const std::string host = platform::parentFolder(program) + "/quillavant-host";
        std::error_code error;
        if (!std::filesystem::exists(host, error)) {
            return false;
        }
        const std::string pipe =
            "recover" + std::to_string(platform::processId()) + "_" + std::to_string(attempt);
        return launcher_.start(host, folder, pipe, {"QUILLAVANT_JOURNAL=off"},
                               folder + "/" + pipe + ".log") &&
               client_.connectPath(folder + "/" + pipe, kServiceWaitMs);
    }

    PipeClient& client() { return client_; }

    // SAVE_PROJECT to file, then the close request.
    bool saveAndClose(const std::string& file) {
        const std::string content =
            "{\"FileName\":" + Json::valueToQuotedString(file.c_str()) + "}";
        const bool answered = client_.sendCommand("SAVE_PROJECT", content, nullptr);
        client_.sendClose();
        return answered && launcher_.waitForExit(kServiceWaitMs) == 0;
    }

    void stop() {
        client_.disconnect();
        launcher_.kill();
    }

  private:
    ServiceLauncher launcher_;
    PipeClient client_;
};

std::string entryName(const journal::JournalEntry& entry, size_t index) {
    return "edit " + std::to_string(index + 1) + " (offset " + std::to_string(entry.offset) + ")";
}

// Absolute media paths of the project's clips that are not there any more.
std::set<std::string> missingMedia(const std::string& projectFile) {
    MeProject project;
    project.loadProject(projectFile);
    std::set<std::string> resources;
    for (const auto& entry : project.clips()) {
        resources.insert(entry.second->resource());
        if (auto compose = std::dynamic_pointer_cast<MeComposeClip>(entry.second)) {
            for (const auto& sub : compose->subClips()) {
                resources.insert(sub.second.resource);
            }
        }
    }
    std::set<std::string> missing;
    std::error_code error;
    for (const std::string& resource : resources) {
        if (!resource.empty() && resource[0] == platform::kPathSeparatorChar &&
            !std::filesystem::exists(resource, error)) {
            missing.insert(resource);
        }
    }
    return missing;
}

class Recovery {
  public:
    Recovery(std::string journalPath, std::ostream& messages)
        : journalPath_(std::move(journalPath)), messages_(messages) {}

    int run(const std::string& outPath, std::ostream& out) {
        const journal::JournalContents contents = journal::readJournal(journalPath_);
        if (!contents.isJournal) {
            messages_ << kPrefix << journalPath_ << " is not an edit journal; nothing recovered\n";
            return kExitRecoveryFailed;
        }
        if (platform::isLockedByWriter(journalPath_)) {
            warn("the service writing " + journalPath_ +
                 " is still running; recovering the edits it has kept so far");
        }
        for (const journal::JournalProblem& problem : contents.problems) {
            problem.isDamage ? damage(problem.text) : warn(problem.text);
        }
        reportUnkeptDocuments(contents);
        ScratchFolder scratch;
        if (scratch.path().empty()) {
            messages_ << kPrefix << "cannot make a scratch folder; nothing recovered\n";
            return kExitRecoveryFailed;
        }
        JournalReplay replay(journalPath_, contents.entries, scratch.path());
        const std::string saved = scratch.path() + "/recovered.xml";
        if (!replayAndSave(replay, scratch.path(), saved)) {
            return kExitRecoveryFailed;
        }
        if (!platform::writeFileDurably(outPath, readAll(saved))) {
            messages_ << kPrefix << "cannot write " << outPath << "; nothing recovered\n";
            return kExitRecoveryFailed;
        }
        for (const std::string& media : missingMedia(outPath)) {
            warn("the recovered project names media that no longer exist: " + media);
        }
        out << "recovered " << contents.entries.size() - skipped_.size() << " of "
            << contents.entries.size() << " edits from " << journalPath_ << " into " << outPath
            << "\n";
        return damaged_ ? kExitJournalDamaged : kExitOk;
    }

  private:
    void warn(const std::string& text) { messages_ << kPrefix << "warning: " << text << "\n"; }
    void damage(const std::string& text) {
        messages_ << kPrefix << "damaged journal: " << text << "\n";
        damaged_ = true;
    }

    void reportUnkeptDocuments(const journal::JournalContents& contents) {
        for (size_t i = 0; i < contents.entries.size(); ++i) {
            const journal::JournalEntry& entry = contents.entries[i];
            if (entry.kind == journal::RecordKind::EditLoadingUnkeptProject) {
                warn(entryName(entry, i) + " loaded a project file the journal could not keep (" +
                     entry.note + "); it is replayed as a load that fails");
            }
        }
    }

    // Replays in a fresh service until one answers every edit sent: an edit
    // that ends the service is left out of the next attempt.
    bool replayAndSave(JournalReplay& replay, const std::string& folder, const std::string& saved) {
        const size_t count = replay.entries().size();
        for (int attempt = 0;; ++attempt) {
            PrivateService service;
            if (!service.start(folder, attempt)) {
                messages_ << kPrefix << "cannot start a quillavant-host to replay the journal\n";
                return false;
            }
            const JournalReplay::Outcome outcome = replay.replay(service.client(), skipped_);
            if (attempt == 0) {
                for (size_t index : outcome.unsent) {
                    skipped_.insert(index);
                    damage(entryName(replay.entries()[index], index) +
                           " names a project file that cannot be redirected: skipped");
                }
            }
            if (outcome.stoppedAt < 0) {
                std::error_code error;
                if (service.saveAndClose(saved) && std::filesystem::exists(saved, error)) {
                    return true;
                }
                messages_ << kPrefix << "the replaying service could not save the project\n";
                return false;
            }
            service.stop();
            const auto index = static_cast<size_t>(outcome.stoppedAt);
            skipped_.insert(index);
            const std::string text = entryName(replay.entries()[index], index) +
                                     " ended the replaying service: replayed without it";
            // The last edit may be the one the original service died on,
            // never answered; any other was answered and is lost.
            index + 1 == count ? warn(text) : damage(text);
        }
    }

    static std::string readAll(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }

    std::string journalPath_;
    std::ostream& messages_;
    std::set<size_t> skipped_;
    bool damaged_ = false;
};

}  // namespace

int recoverJournal(const std::string& journalPath, const std::string& outPath, std::ostream& out,
                   std::ostream& messages) {
    return Recovery(journalPath, messages).run(outPath, out);
}
