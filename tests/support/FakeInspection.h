#pragma once

#include <string>

#include "platform/Inspection.h"

namespace tessel::test {

/// A machine of which the test says what it offers.
class FakeInspection final : public platform::Inspection {
 public:
  Finding screenFound{"screen", true, "A screen.", {}};
  Finding encoderFound{"encoder", true, "An encoder.", {}};
  Finding inputFound{"input", true, "Input.", {}};

  Finding screen() override { return screenFound; }
  Finding encoder() override { return encoderFound; }
  Finding input() override { return inputFound; }
  /// "advice 4" for a radio that is off, and so on.
  std::string bluetoothAdvice(platform::CentralState state) override {
    return "advice " + std::to_string(static_cast<int>(state));
  }
};

}  // namespace tessel::test
