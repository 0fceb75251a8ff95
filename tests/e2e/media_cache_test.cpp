// The media cache as the editor meets it: services that share a cache folder
// answer from it with the bytes a fresh decode gives, a media file replaced
// under its name is decoded again, and a cache that cannot work leaves every
// answer as it is without one and says once why.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/files.h"
#include "support/media_fixtures.h"
#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

// What the three cached requests wrote, file by file.
struct Answers {
    std::vector<std::string> thumbnails;
    std::string levels;
    std::string snapshot;

    bool operator==(const Answers& other) const {
        return thumbnails == other.thumbnails && levels == other.levels &&
               snapshot == other.snapshot;
    }
};

void PrintTo(const Answers& answers, std::ostream* out) {
    *out << answers.thumbnails.size() << " thumbnails of " << answers.thumbnails[0].size()
         << " bytes first, " << answers.levels.size() << " bytes of levels, a snapshot of "
         << answers.snapshot.size() << " bytes";
}

const std::vector<int> kPositions = {0, 60, 130};

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

// Asks a service for thumbnails, then unless only thumbnails are wanted for
// levels and a snapshot of media, into a folder of their own.
Answers ask(ServiceProcess& service, const std::string& media, bool thumbnailsOnly = false) {
    const std::string folder = testsupport::makeTempDirectory("qv-e2e-cache-out");
    std::string positions;
    for (int position : kPositions) {
        positions += (positions.empty() ? "" : ",") + std::to_string(position);
    }
    const std::string requests[][2] = {
        {"PRE_VIDEO_THUMB", R"({"Profile":{"Width":160,"Height":120,"FrameRate":25.0},)"
                            R"("FileName":)" +
                                q(media) + R"(,"Position":[)" + positions + R"(],"OutDir":)" +
                                q(folder) + "}"},
        {"PRE_AUDIO_THUMB",
         R"({"FileName":)" + q(media) + R"(,"OutFile":)" + q(folder + "/levels.txt") + "}"},
        {"PRE_SNAP_PIC", R"({"FileName":)" + q(media) + R"(,"Position":40,"OutFile":)" +
                             q(folder + "/snap.jpg") + "}"},
    };
    for (const auto& request : requests) {
        EXPECT_EQ(resultValueText(service.control(request[0], request[1])), "true") << request[0];
        if (thumbnailsOnly) {
            break;
        }
    }
    Answers answers;
    for (int position : kPositions) {
        answers.thumbnails.push_back(
            testsupport::readFile(folder + "/" + std::to_string(position) + ".png"));
        EXPECT_FALSE(answers.thumbnails.back().empty()) << position;
    }
    if (!thumbnailsOnly) {
        answers.levels = testsupport::readFile(folder + "/levels.txt");
        answers.snapshot = testsupport::readFile(folder + "/snap.jpg");
        EXPECT_FALSE(answers.levels.empty());
        EXPECT_FALSE(answers.snapshot.empty());
    }
    testsupport::runCommand("rm -rf '" + folder + "'");
    return answers;
}

// The entry files of a cache folder and the inodes they were written to.
std::map<std::string, uint64_t> entriesOf(const std::string& cacheFolder) {
    std::map<std::string, uint64_t> entries;
    const std::string folder = cacheFolder + "/media";
    for (const platform::FolderFile& file : platform::listRegularFiles(folder)) {
        if (file.name.find(".entry") != std::string::npos) {
            entries[file.name] = platform::regularFileIdentity(folder + "/" + file.name)->inode;
        }
    }
    return entries;
}

// The log lines that mention part.
std::vector<std::string> linesWith(const std::string& log, const std::string& part) {
    std::vector<std::string> lines;
    std::istringstream text(log);
    for (std::string line; std::getline(text, line);) {
        if (line.find(part) != std::string::npos) {
            lines.push_back(line);
        }
    }
    return lines;
}

class MediaCacheService : public ::testing::Test {
  protected:
    void TearDown() override { testsupport::runCommand("rm -rf '" + work_ + "'"); }

    // Copies a file under name in the work folder the way editors save:
    // written beside it, then renamed over it.
    std::string place(const std::string& from, const std::string& name) {
        const std::string to = work_ + "/" + name;
        EXPECT_EQ(testsupport::runCommand("cp '" + from + "' '" + to + ".new' && mv '" + to +
                                          ".new' '" + to + "'"),
                  0);
        return to;
    }
    // What a service with a cache of its own answers, which is what a fresh
    // decode writes.
    static Answers freshAnswers(const std::string& media) {
        ServiceProcess fresh;
        EXPECT_TRUE(fresh.connect());
        return ask(fresh, media);
    }
    // The fresh answers for the counter video, made once for every test.
    static const Answers& freshCounterAnswers() {
        static const Answers answers = freshAnswers(mediatest::counterVideo());
        return answers;
    }
    // Answers as a fresh decode gives them, again for a second series, and
    // one log line that says why the cache is off.
    void expectAnswersWithoutCache(const std::string& environment,
                                   const std::vector<std::string>& wrapper,
                                   const std::string& reason) {
        const Answers& expected = freshCounterAnswers();
        ServiceProcess service(environment, wrapper);
        ASSERT_TRUE(service.connect()) << service.stderrText();
        EXPECT_EQ(ask(service, media_), expected);
        EXPECT_EQ(ask(service, media_, true).thumbnails, expected.thumbnails);
        // Its log is whole once it has ended.
        service.close();
        const std::vector<std::string> lines = linesWith(service.stderrText(), "Media cache off: ");
        ASSERT_EQ(lines.size(), 1u) << service.stderrText();
        EXPECT_NE(lines[0].find(reason), std::string::npos) << lines[0];
    }

    std::string work_ = testsupport::makeTempDirectory("qv-e2e-cache");
    std::string media_ = mediatest::counterVideo();
};

TEST_F(MediaCacheService, ServicesSharingAFolderAnswerFromItUntilTheFileIsReplaced) {
    const std::string shared = "QUILLAVANT_CACHE_DIR=" + work_ + "/shared";
    const std::string clip = place(mediatest::counterVideo(), "clip.mp4");
    ServiceProcess first(shared);
    ASSERT_TRUE(first.connect());
    const Answers original = ask(first, clip);
    EXPECT_EQ(original, freshCounterAnswers());
    const std::map<std::string, uint64_t> entries = entriesOf(work_ + "/shared");
    // Three thumbnails, the levels and the snapshot.
    EXPECT_EQ(entries.size(), 5u);

    ServiceProcess second(shared);
    ASSERT_TRUE(second.connect());
    EXPECT_EQ(ask(second, clip), original);
    // Every answer came from the folder: not one entry was written again.
    EXPECT_EQ(entriesOf(work_ + "/shared"), entries);

    place(mediatest::counterVariant("media_cache_negated.mp4", "-vf negate -c:a copy"), "clip.mp4");
    const Answers replaced = ask(second, clip);
    EXPECT_EQ(replaced, freshAnswers(clip));
    EXPECT_NE(replaced.thumbnails, original.thumbnails);
    EXPECT_NE(replaced.snapshot, original.snapshot);
    EXPECT_EQ(ask(first, clip), replaced);
}

TEST_F(MediaCacheService, ACacheTheSettingsRuleOutLeavesTheAnswersAsTheyAre) {
    const std::string aFile = work_ + "/a-file";
    ASSERT_TRUE(platform::writeFileInPlace(aFile, "not a folder"));
    const struct {
        std::string environment;
        std::string reason;
    } cases[] = {
        {"QUILLAVANT_CACHE_MAX_MB=abc",
         "QUILLAVANT_CACHE_MAX_MB=abc is not a whole number of megabytes"},
        {"QUILLAVANT_CACHE_DIR=" + aFile,
         "cannot make the folder " + aFile + "/media: Not a directory"},
        {"QUILLAVANT_CACHE_MAX_MB=0", "QUILLAVANT_CACHE_MAX_MB is 0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.environment);
        expectAnswersWithoutCache(c.environment, {}, c.reason);
    }
}

// A folder on a file system of its own, read-only or already full, mounted
// for the host alone in a namespace of its own.
TEST_F(MediaCacheService, AnUnwritableOrFullCacheFolderLeavesTheAnswersAsTheyAre) {
    std::string unshare;
    if (testsupport::runCommand("command -v unshare", &unshare) != 0 ||
        testsupport::runCommand("unshare -Urm true 2>/dev/null") != 0) {
        GTEST_SKIP() << "no mount namespaces for this user";
    }
    unshare.erase(unshare.find_last_not_of('\n') + 1);
    const struct {
        std::string mount;
        std::string reason;
    } cases[] = {
        {"mount -t tmpfs -o ro tmpfs \"$0\"", ": Read-only file system"},
        {"mount -t tmpfs -o size=64k tmpfs \"$0\" && "
         "(dd if=/dev/zero of=\"$0/filler\" bs=4096 2>/dev/null; true)",
         ": No space left on device"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mount);
        const std::string folder = testsupport::makeTempDirectory("qv-e2e-cache-mount");
        expectAnswersWithoutCache(
            "QUILLAVANT_CACHE_DIR=" + folder,
            {unshare, "-Urm", "/bin/sh", "-c", c.mount + " && exec \"$@\"", folder}, c.reason);
        testsupport::runCommand("rmdir '" + folder + "'");
    }
}

}  // namespace
