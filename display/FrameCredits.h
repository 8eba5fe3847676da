#pragma once

#include <cstdint>

#include "platform/base/Mutex.h"

namespace tessel {

/// How many frames may still be handed to the encoder. Each takes a credit, each of the hub's
/// acknowledgements gives one. Any thread.
///
/// The credits bound the memory of a channel whose hub does not read: once those of the start are
/// used up, no frame is encoded, and so nothing is queued, until the hub answers.
class FrameCredits {
 public:
  void set(std::int64_t count);
  /// Takes one credit; false if there is none.
  bool take();
  void give();
  std::int64_t count() const;

 private:
  mutable platform::Mutex transmitLock_;
  std::int64_t ackedSamples_ TESSEL_GUARDED_BY(transmitLock_) = 0;
};

}  // namespace tessel
