#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "apps/common/LogBudget.h"
#include "platform/base/Mutex.h"

namespace tessel::hub {

/// The log for finding faults: what happens in the hub, line by line. Writes nothing until opened,
/// and at most its budget to a file.
///
/// Any thread.
class HubLog {
 public:
  explicit HubLog(apps::LogBudget budget = apps::LogBudget{}) : budget_{budget} {}

  /// Appends to the file at `path` from now on; `-` is standard error. False if it cannot.
  bool open(const std::string& path);

  /// Writes the time of day and `text`.
  void line(std::string_view text);

 private:
  struct Closer {
    void operator()(std::FILE* file) const;
  };

  platform::Mutex mutex_;
  std::unique_ptr<std::FILE, Closer> file_ TESSEL_GUARDED_BY(mutex_);
  apps::LogBudget budget_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace tessel::hub
