#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "apps/tessel/Hub.h"

namespace tessel::apps {

/// Reports the hubs in range. Main thread.
class HubReport {
 public:
  virtual ~HubReport() = default;

  /// A hub was found, or something of it changed. May be called again without a change.
  virtual void present(const Hub& hub) = 0;
  virtual void gone(const Hub& hub) = 0;
  /// The whole list, in the order of discovery; after each change and from time to time.
  virtual void list(const std::vector<Hub>& hubs, Date now) = 0;
  /// The state of Bluetooth in a sentence; `usable` when hubs can be heard.
  virtual void bluetooth(const std::string& sentence, bool usable) = 0;
};

/// A monotonic clock.
using SteadyClock = std::function<std::chrono::steady_clock::time_point()>;

/// One JSON object a line for every change. A change of the signal alone is reported at most once a
/// second for each hub; the last one in a second with the next list after it.
std::unique_ptr<HubReport> makeJsonHubReport(std::ostream& out,
                                             SteadyClock now = std::chrono::steady_clock::now);

/// One line for every hub that comes, gets another name, or goes.
std::unique_ptr<HubReport> makePlainHubReport(std::ostream& out);

struct TerminalSize {
  std::size_t rows = 24;
  std::size_t columns = 80;
};

/// A table that changes in place on a terminal. `size` is called at each drawing, since the
/// terminal may be resized.
std::unique_ptr<HubReport> makeTerminalHubReport(std::ostream& out,
                                                 std::function<TerminalSize()> size);

}  // namespace tessel::apps
