#include <gtest/gtest.h>

#include <cstdlib>

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

}  // namespace
