#include <gtest/gtest.h>
#include <string>

#include "apps/common/LogBudget.h"

namespace tessel::apps {
namespace {

// Lines of three bytes and their ends, into files with and without room for the last one's end.
TEST(LogBudgetTest, TheLogEndsWithALineThatSaysSo) {
  for (const std::size_t bytes : {8U, 9U, 10U, 11U}) {
    LogBudget budget{bytes};
    std::string file;
    for (int count = 0; count < 5; ++count) {
      if (const auto admitted = budget.admit("abc")) file.append(*admitted).append("\n");
    }
    EXPECT_EQ(file, "abc\nabc\nThe log ends here: the file has become too large.\n") << bytes;
  }
}

TEST(LogBudgetTest, NothingComesAfterItHoweverShort) {
  LogBudget budget{4};
  EXPECT_EQ(budget.admit("longer"), "The log ends here: the file has become too large.");
  EXPECT_EQ(budget.admit(""), std::nullopt);
}

TEST(LogBudgetTest, OrdinarilyItIsFarAway) {
  LogBudget budget;
  const std::string line(1000, 'x');
  for (int count = 0; count < 100000; ++count) ASSERT_EQ(budget.admit(line), line);
}

}  // namespace
}  // namespace tessel::apps
