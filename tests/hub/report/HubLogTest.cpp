#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "apps/tessel-hub/report/HubLog.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::hub {
namespace {

using ::testing::MatchesRegex;

TEST(HubLogTest, LinesAreAddedBehindTheTimeOfDayUntilTheFileIsTooLarge) {
  const test::TemporaryFolder folder;
  const std::string path = folder / "log";
  std::ofstream{path} << "an earlier log\n";
  HubLog log{apps::LogBudget{30}};
  ASSERT_TRUE(log.open(path));
  for (const char* text : {"first", "second", "third"}) log.line(text);
  std::ifstream file{path};
  const std::string text{std::istreambuf_iterator{file}, {}};
  EXPECT_THAT(text, MatchesRegex("an earlier log\n"
                                 "[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} first\n"
                                 "The log ends here: the file has become too large\\.\n"));
}

}  // namespace
}  // namespace tessel::hub
