#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/durable_file.h"
#include "platform/module_path.h"
#include "platform/named_pipe.h"
#include "platform/text_conversion.h"

namespace {

TEST(TextConversion, Utf16AndUtf8RoundTripInsideTheBasicPlane) {
    EXPECT_EQ(utf16ToUtf8(u""), "");
    EXPECT_EQ(utf16ToUtf8(u"D:\\média\\片.mp4"), "D:\\média\\片.mp4");
    EXPECT_EQ(utf8ToUtf16("D:\\média\\片.mp4"), u"D:\\média\\片.mp4");
    // A surrogate pair is not UCS-2: the conversion gives up.
    EXPECT_EQ(utf16ToUtf8(u"a\U0001F600b"), "");
}

TEST(ModulePath, SplitsDirectoryAndFileName) {
    platform::ModulePath path = platform::makeModulePath("/opt/q/bin/quillavant-host");
    EXPECT_EQ(path.directory, "/opt/q/bin/");
    EXPECT_EQ(path.fileName, "quillavant-host");
    EXPECT_EQ(path.directoryW, u"/opt/q/bin/");
    EXPECT_FALSE(platform::modulePath().fileName.empty());
}

TEST(NamedPipe, PipeNamesMapToSocketsInThePipeFolder) {
    setenv("QUILLAVANT_PIPE_DIR", "/run/q", 1);
    EXPECT_EQ(platform::NamedPipe::socketPath("EditorPipe"), "/run/q/EditorPipe");
    unsetenv("QUILLAVANT_PIPE_DIR");
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(DurableFile, ReplacesTheTargetWholeAndLeavesNoTemporaryFile) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("qv-durable-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string target = (folder / "project.xml").string();
    ASSERT_TRUE(platform::writeFileDurably(target, "first"));
    ASSERT_TRUE(platform::writeFileDurably(target, std::string(1 << 20, 'x')));
    EXPECT_EQ(contentOf(target).size(), size_t{1} << 20);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder),
                            std::filesystem::directory_iterator()),
              1);
    // A target in a folder that does not exist fails without touching anything.
    EXPECT_FALSE(platform::writeFileDurably((folder / "none" / "x").string(), "y"));
    EXPECT_FALSE(platform::commitTemporaryFile((folder / "missing").string(), target));
    EXPECT_EQ(contentOf(target).size(), size_t{1} << 20);
    EXPECT_EQ(platform::parentFolder("/a/b.xml"), "/a");
    EXPECT_EQ(platform::parentFolder("/b.xml"), "/");
    EXPECT_EQ(platform::parentFolder("b.xml"), ".");
    std::filesystem::remove_all(folder);
}

// Written in pieces: the target changes only when the writer commits.
TEST(DurableFile, WriterInPiecesReplacesTheTargetOnlyOnCommit) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("qv-durable-pieces-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string target = (folder / "project.xml").string();
    ASSERT_TRUE(platform::writeFileDurably(target, "previous"));
    {
        platform::DurableFileWriter abandoned(target);
        EXPECT_TRUE(abandoned.append("never committed"));
    }
    EXPECT_EQ(contentOf(target), "previous");
    platform::DurableFileWriter writer(target);
    for (const char* piece : {"one ", "two ", "three"}) {
        EXPECT_TRUE(writer.append(piece));
    }
    EXPECT_EQ(contentOf(target), "previous");
    EXPECT_TRUE(writer.commit());
    EXPECT_EQ(contentOf(target), "one two three");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder),
                            std::filesystem::directory_iterator()),
              1);
    platform::DurableFileWriter nowhere((folder / "none" / "x").string());
    EXPECT_FALSE(nowhere.append("y"));
    EXPECT_FALSE(nowhere.commit());
    std::filesystem::remove_all(folder);
}

}  // namespace
