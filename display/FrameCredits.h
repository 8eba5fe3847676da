#pragma once

#include <cstdint>
#include <mutex>

namespace tessel {

/// How many frames may still be handed to the encoder. Each one takes a credit, each of the hub's
/// acknowledgements gives one. Any thread.
///
/// The credits are what bounds the memory of a channel whose hub does not read: once those of the
/// start are used up, no frame is encoded, and so nothing is queued, until the hub answers.
class FrameCredits {
 public:
  void set(std::int64_t count);
  /// Takes one credit; false when there is none.
  bool take();
  void give();
  std::int64_t count() const;

 private:
  mutable std::mutex transmitLock_;  // guards ackedSamples_
  std::int64_t ackedSamples_ = 0;
};

}  // namespace tessel
