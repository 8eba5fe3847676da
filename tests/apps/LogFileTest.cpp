#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>

#include "apps/common/LogFile.h"
#include "tessel/TSLSession.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::apps {
namespace {

class LogFileTest : public testing::Test {
 protected:
  ~LogFileTest() override { umask(mask_); }

  static mode_t permissionsOf(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(stat(path.c_str(), &found), 0);
    return found.st_mode & 0777;
  }

  const test::TemporaryFolder folder_;
  const std::string path_ = folder_ / "log";

 private:
  const mode_t mask_ = umask(0);
};

TEST_F(LogFileTest, OnlyItsOwnerCanReadIt) {
  LogFile log;
  ASSERT_TRUE(log.open(path_));
  EXPECT_EQ(permissionsOf(path_), 0600U);
}

TEST_F(LogFileTest, AFileThatIsThereIsEmptiedAndKeptFromTheOthers) {
  std::ofstream{path_} << "an earlier log";
  ASSERT_EQ(permissionsOf(path_), 0666U);
  LogFile log;
  ASSERT_TRUE(log.open(path_));
  EXPECT_EQ(permissionsOf(path_), 0600U);
  EXPECT_EQ(std::filesystem::file_size(path_), 0U);
}

TEST_F(LogFileTest, WhatIsNoPlainFileIsLeftAsItIs) {
  const mode_t before = permissionsOf("/dev/null");
  LogFile log;
  EXPECT_TRUE(log.open("/dev/null"));
  EXPECT_EQ(permissionsOf("/dev/null"), before);
}

// A few of the library's lines end with a line feed.
TEST_F(LogFileTest, EveryLineEndsOnce) {
  std::ostringstream out;
  LogFile::writeLine(out, "-[TSLSession disconnect]: EXIT");
  LogFile::writeLine(out, "-[TSLMouseSimulator dealloc]/63: dealloced\n");
  EXPECT_EQ(out.str(),
            "-[TSLSession disconnect]: EXIT\n-[TSLMouseSimulator dealloc]/63: dealloced\n");
}

TEST_F(LogFileTest, AFileDoesNotGrowBeyondItsBudget) {
  setenv("TESSEL_SHARED_FOLDER", folder_.path().c_str(), 1);
  LogFile log{LogBudget{1}};
  ASSERT_TRUE(log.open(path_));
  for (int count = 0; count < 2; ++count)
    TSLSession::initWithHostName("127.0.0.1", 0)->disconnect();
  std::ifstream file{path_};
  const std::string text{std::istreambuf_iterator{file}, {}};
  EXPECT_EQ(text, "The log ends here: the file has become too large.\n");
  unsetenv("TESSEL_SHARED_FOLDER");
}

TEST_F(LogFileTest, AFolderIsNoFile) {
  LogFile log;
  EXPECT_FALSE(log.open(folder_.path().string()));
}

}  // namespace
}  // namespace tessel::apps
