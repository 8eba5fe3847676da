#pragma once

#include <string>

#include "platform/BluetoothCentral.h"
#include "tessel/Finding.h"

namespace tessel::platform {

/// Looks at this machine for a person who asks what of it can be used. Any thread.
class Inspection {
 public:
  virtual ~Inspection() = default;

  virtual Finding screen() = 0;
  virtual Finding encoder() = 0;
  virtual Finding input() = 0;

  /// What to do on this system about a radio in that state; empty when nothing needs doing.
  virtual std::string bluetoothAdvice(CentralState state) = 0;
};

}  // namespace tessel::platform
