// Linked into every test executable: the media cache of the code under test
// lives in a folder of this run's own, made before the first test and removed
// after the last, so no test reads results of the user's editor or of another
// run, and nothing is left in the home folder.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/test_media.h"

namespace {

class PrivateCacheFolder : public ::testing::Environment {
  public:
    void SetUp() override {
        folder_ = testsupport::makeTempDirectory("qv-test-cache");
        ASSERT_FALSE(folder_.empty());
        setenv("QUILLAVANT_CACHE_DIR", folder_.c_str(), 1);
        unsetenv("QUILLAVANT_CACHE_MAX_MB");
    }
    void TearDown() override { testsupport::runCommand("rm -rf '" + folder_ + "'"); }

  private:
    std::string folder_;
};

const ::testing::Environment* const registered =
    ::testing::AddGlobalTestEnvironment(new PrivateCacheFolder);

}  // namespace
