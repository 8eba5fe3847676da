#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "apps/common/LogBudget.h"

namespace tessel::hub {

/// What happens in the hub, line by line, for whoever looks for a fault. Nowhere until opened. What
/// it adds to a file does not grow for ever.
///
/// Any thread.
class HubLog {
 public:
  explicit HubLog(apps::LogBudget budget = apps::LogBudget{}) : budget_{budget} {}

  /// Writes to the file at `path` from now on, `-` being standard error. False if it cannot.
  bool open(const std::string& path);

  /// Writes `text` behind the time of day.
  void line(std::string_view text);

 private:
  struct Closer {
    void operator()(std::FILE* file) const;
  };

  std::mutex mutex_;
  std::unique_ptr<std::FILE, Closer> file_;  // guarded by mutex_
  apps::LogBudget budget_;                   // guarded by mutex_
};

}  // namespace tessel::hub
