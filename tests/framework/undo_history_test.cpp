// The undo history against the plainest history there is: a list of whole
// copies of the project's containers (MeProject::copy), stepped through by
// index. Long random runs of edits, unrecorded edits, undos and redos must
// leave the live project holding exactly the objects that list says.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "framework/undo_history.h"
#include "project/project.h"
#include "support/model_fixtures.h"

namespace {

class SnapshotHistory {
  public:
    void record(const MeProject& project) {
        snapshots_.resize(static_cast<size_t>(index_ + 1));
        snapshots_.push_back(std::make_unique<MeProject>());
        MeProject::copy(project, *snapshots_.back());
        ++index_;
    }
    // The state an undo or redo restores, or none.
    const MeProject* undo() { return index_ > 0 ? snapshots_[--index_].get() : nullptr; }
    const MeProject* redo() {
        return index_ + 1 < static_cast<int>(snapshots_.size()) ? snapshots_[++index_].get()
                                                                : nullptr;
    }
    int index() const { return index_; }
    int size() const { return static_cast<int>(snapshots_.size()); }

  private:
    std::vector<std::unique_ptr<MeProject>> snapshots_;
    int index_ = -1;
};

// Same keys holding the very same objects, in every container.
void expectSameObjects(const MeProject& live, const MeProject& expected, int step) {
    EXPECT_EQ(live.videoTracks(), expected.videoTracks()) << "step " << step;
    EXPECT_EQ(live.audioTracks(), expected.audioTracks()) << "step " << step;
    EXPECT_EQ(live.transitions(), expected.transitions()) << "step " << step;
    EXPECT_EQ(live.mainFilters(), expected.mainFilters()) << "step " << step;
    EXPECT_EQ(live.clips(), expected.clips()) << "step " << step;
}

// Random edits over a few tracks and identifiers, so that edits collide.
class RandomEdits {
  public:
    using Operation = bool (MeProject::*)(CParseJson&);

    explicit RandomEdits(unsigned seed) : random_(seed) {}

    // Runs one edit; false when the dispatcher records no point after it.
    bool apply(MeProject& project) {
        const std::string track = "T" + std::to_string(pick(3));
        const std::string other = "T" + std::to_string(pick(3));
        const std::string clip = "c" + std::to_string(pick(12));
        const std::string clipFields = R"("TrackID":")" + track + R"(","ID":")" + clip +
                                       R"(","MltService":"m","Resource":"r)" +
                                       std::to_string(pick(5)) + R"(",)";
        const std::string index = std::to_string(static_cast<int>(pick(5)) - 1);
        switch (pick(16)) {
            case 0:
                return edit(project, &MeProject::addTrack,
                            R"({"ID":")" + track + R"(","Type":")" +
                                (pick(2) == 0 ? "composite" : "audio") + R"("})");
            case 1:
                return edit(project, &MeProject::deleteTrack, R"({"TrackID":")" + track + "\"}");
            case 2:
            case 3:
                return edit(project, &MeProject::addClip, "{" + clipFields + R"("Index":-1})");
            case 4:
                edit(project, &MeProject::addComposeClip, "{" + clipFields + R"("Index":0})");
                return false;
            case 5:
                return edit(project, &MeProject::alterClip,
                            "{" + clipFields + R"("IndexOld":)" + index + R"(,"IndexNew":0})");
            case 6:
                edit(project, &MeProject::alterComposeClip,
                     "{" + clipFields + R"("IndexOld":-1,"IndexNew":-1})");
                return false;
            case 7:
                return edit(project, &MeProject::deleteClip,
                            R"({"TrackID":")" + track + R"(","Index":)" + index + R"(,"ClipID":")" +
                                clip + "\"}");
            case 8:
                return edit(project, &MeProject::deleteAllClip, R"({"TrackID":")" + track + "\"}");
            case 9:
                return edit(project,
                            pick(2) == 0 ? Operation(&MeProject::addTransition)
                                         : Operation(&MeProject::alterTransition),
                            R"({"ID":"x)" + std::to_string(pick(4)) + R"(","TrackID_A":")" + track +
                                R"(","TrackID_B":")" + other + "X\"}");
            case 10:
                return edit(project, &MeProject::deleteTransition,
                            R"({"TransitionID":"x)" + std::to_string(pick(4)) + "\"}");
            case 11:
                return edit(project, &MeProject::addFilter,
                            R"({"ID":"f)" + std::to_string(pick(3)) +
                                R"(","TrackID":"maintractor","Title":"t_bright"})");
            case 12:
                return edit(project, &MeProject::deleteFilter,
                            R"({"FilterID":"f)" + std::to_string(pick(3)) +
                                R"(","TrackID":"maintractor"})");
            case 13:
                if (pick(4) == 0) {
                    project.clear();
                }
                return true;
            case 14:
                if (pick(4) == 0) {
                    project.deleteAllTrack();
                }
                return true;
            default:
                // A long run of compose-clip edits, which record nothing.
                for (int n = 0; n < 80; ++n) {
                    const std::string id = "k" + std::to_string(pick(90));
                    edit(project, &MeProject::addComposeClip,
                         R"({"TrackID":")" + track + R"(","ID":")" + id +
                             R"(","MltService":"m","Resource":"r","Index":-1})");
                }
                return false;
        }
    }

    unsigned pick(unsigned count) { return random_() % count; }

  private:
    static bool edit(MeProject& project, Operation operation, const std::string& text) {
        CParseJson content = modeltest::json(text);
        (project.*operation)(content);
        return true;
    }

    std::mt19937 random_;
};

TEST(UndoHistory, RandomEditsUndosAndRedosMatchWholeSnapshots) {
    modeltest::loadTestCatalogue();
    for (unsigned seed : {1u, 2u, 3u}) {
        SCOPED_TRACE(seed);
        MeProject live;
        UndoHistory history;
        SnapshotHistory snapshots;
        RandomEdits edits(seed);
        for (int step = 0; step < 1500; ++step) {
            const unsigned action = edits.pick(10);
            if (action <= 2) {
                MeProject before;
                MeProject::copy(live, before);
                const MeProject* expected = action == 2 ? snapshots.redo() : snapshots.undo();
                const bool stepped = action == 2 ? history.redo(live) : history.undo(live);
                ASSERT_EQ(stepped, expected != nullptr) << "step " << step;
                // Nothing to step to leaves the project as it was, unrecorded
                // edits included.
                expectSameObjects(live, expected != nullptr ? *expected : before, step);
            } else if (edits.apply(live)) {
                history.recordPoint(live);
                snapshots.record(live);
            }
            ASSERT_EQ(history.index(), snapshots.index()) << "step " << step;
            ASSERT_EQ(history.size(), snapshots.size()) << "step " << step;
        }
    }
}

}  // namespace
