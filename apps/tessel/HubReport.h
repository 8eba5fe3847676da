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

/// Tells a reader what hubs there are. Main thread.
class HubReport {
 public:
  virtual ~HubReport() = default;

  /// A hub was found, or something of it changed. Told as often as one likes.
  virtual void present(const Hub& hub) = 0;
  virtual void gone(const Hub& hub) = 0;
  /// The whole list, in the order of discovery; after each change and from time to time.
  virtual void list(const std::vector<Hub>& hubs, Date now) = 0;
  /// The state of Bluetooth in a sentence; `usable` when hubs can be heard.
  virtual void bluetooth(const std::string& sentence, bool usable) = 0;
};

/// A clock that never jumps.
using SteadyClock = std::function<std::chrono::steady_clock::time_point()>;

/// One JSON object a line for every change. A change of the signal alone is told at most once a
/// second for each hub; the last one when that second is over, with the next list.
std::unique_ptr<HubReport> makeJsonHubReport(std::ostream& out,
                                             SteadyClock now = std::chrono::steady_clock::now);

/// One line for every hub that comes, gets another name, or goes.
std::unique_ptr<HubReport> makePlainHubReport(std::ostream& out);

struct TerminalSize {
  std::size_t rows = 24;
  std::size_t columns = 80;
};

/// A table that changes in place on a terminal. The size is asked for at each drawing: people
/// resize their windows.
std::unique_ptr<HubReport> makeTerminalHubReport(std::ostream& out,
                                                 std::function<TerminalSize()> size);

}  // namespace tessel::apps
