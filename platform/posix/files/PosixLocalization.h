#pragma once

#include <memory>
#include <string>

#include "platform/Files.h"

namespace tessel::platform {

/// Texts of the resource "Localizable.plist": a dictionary for each language, named as in the
/// locale ("pt_BR" before "pt"). The locale is what LC_ALL, LC_MESSAGES or LANG says, the first
/// that is set; what its language lacks is taken from English. Any thread.
class PosixLocalization : public Localization {
 public:
  explicit PosixLocalization(std::shared_ptr<Files> files) : files_{std::move(files)} {}
  std::string localizedString(const std::string& key) override;

 private:
  const std::shared_ptr<Files> files_;
};

}  // namespace tessel::platform
