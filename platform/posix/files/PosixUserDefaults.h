#pragma once

#include <memory>
#include <string>

#include "platform/Files.h"

namespace tessel::platform {

/// The user's settings, a property list in the folder for settings of programs:
/// $XDG_CONFIG_HOME/tessel/UserDefaults.plist, by default under ~/.config. Read at every call, so
/// an edit needs no restart of the program. Any thread.
class PosixUserDefaults : public UserDefaults {
 public:
  explicit PosixUserDefaults(std::shared_ptr<Files> files) : files_{std::move(files)} {}
  std::optional<std::string> string(const std::string& key) override;

 private:
  const std::shared_ptr<Files> files_;
};

}  // namespace tessel::platform
