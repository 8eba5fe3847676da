#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/EventPoster.h"

namespace tessel::test {

/// Makes posters that record their operations, one line each:
///
///     create mouse 1 (10,20) button 0     post mouse 1 (10,20) button 0 click 1
///     create wheel -3                     post wheel -3
///     create key 0x0 down                 post key 0x0 down flags 0x20000
///     release all
///
/// A poster that is closed releases all, makes no events and takes no posts.
class RecordingPosting {
 public:
  std::vector<std::string> operations;
  bool creationFails = false;

  /// The lines that begin with "post".
  std::vector<std::string> posts() const;
  /// What is down now, of all posters: "button 0", "key 0x38".
  std::vector<std::string> held() const;

  std::unique_ptr<platform::EventPoster> makeEventPoster();

 private:
  friend class RecordingPoster;
  std::map<const platform::EventPoster*, std::set<std::string>> heldBy_;
};

}  // namespace tessel::test
