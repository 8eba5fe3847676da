#include "apps/common/LogBudget.h"

namespace tessel::apps {

std::optional<std::string_view> LogBudget::admit(std::string_view line) {
  if (ended_) return std::nullopt;
  if (line.size() < bytesLeft_) {
    bytesLeft_ -= line.size() + 1;
    return line;
  }
  ended_ = true;
  return "The log ends here: the file has become too large.";
}

}  // namespace tessel::apps
