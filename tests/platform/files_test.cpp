#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/files.h"
#include "support/test_media.h"

namespace {

using platform::FileIdentity;

void setModified(const std::string& path, const struct timespec& modified) {
    const struct timespec times[2] = {modified, modified};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

struct timespec modifiedOf(const std::string& path) {
    struct stat info {};
    stat(path.c_str(), &info);
    return info.st_mtim;
}

TEST(FileIdentity, EveryNewVersionOfAFileHasANewIdentity) {
    const std::string folder = testsupport::makeTempDirectory("qv-identity");
    const struct {
        const char* change;
        void (*apply)(const std::string& path, const std::string& folder);
        bool changesIdentity;
    } cases[] = {
        {"nothing", [](const std::string&, const std::string&) {}, false},
        {"touched",
         [](const std::string& path, const std::string&) {
             ASSERT_TRUE(platform::touchFile(path));
         },
         true},
        // Same length, the old modified time put back as "cp -p" and tar do.
        {"rewritten, modified time restored",
         [](const std::string& path, const std::string&) {
             const struct timespec modified = modifiedOf(path);
             ASSERT_TRUE(platform::writeFileInPlace(path, "version B"));
             setModified(path, modified);
         },
         true},
        // Another file of the same length and time renamed over it.
        {"replaced",
         [](const std::string& path, const std::string& folder) {
             const std::string other = folder + "/other";
             ASSERT_TRUE(platform::writeFileInPlace(other, "version C"));
             setModified(other, modifiedOf(path));
             ASSERT_TRUE(platform::renameFile(other, path));
         },
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.change);
        const std::string path = folder + "/media.mp4";
        ASSERT_TRUE(platform::writeFileInPlace(path, "version A"));
        const std::optional<FileIdentity> before = platform::regularFileIdentity(path);
        ASSERT_TRUE(before);
        // The clock the file system stamps with moves in ticks of a few
        // milliseconds: let one pass so a change cannot share its stamp.
        usleep(20000);
        c.apply(path, folder);
        const std::optional<FileIdentity> after = platform::regularFileIdentity(path);
        ASSERT_TRUE(after);
        EXPECT_EQ(*after != *before, c.changesIdentity);
        EXPECT_EQ(after->size, 9);
    }
    EXPECT_FALSE(platform::regularFileIdentity(folder));
    EXPECT_FALSE(platform::regularFileIdentity(folder + "/missing"));
}

}  // namespace
