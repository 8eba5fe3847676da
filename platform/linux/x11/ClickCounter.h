#pragma once

#include <chrono>
#include <cstdint>
#include <map>

namespace tessel::platform {

/// Counts clicks as X clients do: by the server's time from press to press. One thread at a time.
class ClickCounter {
 public:
  /// A press at the server's time `time`, in milliseconds. The row of clicks goes on if less than
  /// `limit` has passed since the button's last press.
  void press(std::uint8_t button, std::uint32_t time, std::chrono::milliseconds limit) {
    Row& row = rows_[button];
    const std::chrono::milliseconds gap{time - row.time};  // the server's time wraps around
    row.count = row.count > 0 && gap < limit ? row.count + 1 : 1;
    row.time = time;
  }

  /// The place of the button's last press in its row: 1 for the first; 0 before any.
  int count(std::uint8_t button) const {
    const auto row = rows_.find(button);
    return row == rows_.end() ? 0 : row->second.count;
  }

  /// No row goes on: the server is a new one.
  void clear() { rows_.clear(); }

 private:
  struct Row {
    std::uint32_t time = 0;  // of the last press
    int count = 0;
  };

  std::map<std::uint8_t, Row> rows_;  // by button
};

}  // namespace tessel::platform
