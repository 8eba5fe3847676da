#pragma once

#include <cstdint>
#include <memory>

#include "platform/EventPoster.h"

namespace tessel {

/// Turns the hub's keyboard records into key events of this computer.
///
/// Belongs to the queue of the keyboard connection that owns it; `releaseAll` and `stopPosting` may
/// be called from any thread.
class TSLKeyBoardSimulator {
 public:
  static std::shared_ptr<TSLKeyBoardSimulator> init();
  ~TSLKeyBoardSimulator();

  TSLKeyBoardSimulator(const TSLKeyBoardSimulator&) = delete;
  TSLKeyBoardSimulator& operator=(const TSLKeyBoardSimulator&) = delete;

  /// The single entry: checks the record, the 8 bytes as one little-endian number, and acts on it.
  void simulateKeyBoardEvent(std::uint64_t record);

  /// @name Look `keyCodeFromHub` up, store the key in `virtualKey` (0xFFFF: none) and return it
  /// @{
  std::uint16_t getVirtualKey();
  std::uint16_t getSpecialVirtualKey();
  std::uint16_t getSpecialVirtualKeyWhenNumLock();
  /// @}

  /// @name Post one event for `keyCodeFromHub`
  /// @{
  void simulateNormalKey(bool keyDown);
  void simulateSpecialKey(bool keyDown);
  /// @}

  /// Releases the keys that this simulator holds down.
  void releaseAll() { poster_->releaseAll(); }
  /// The same for good, without waiting (see EventPoster::close).
  void stopPosting() { poster_->close(); }

  std::uint16_t virtualKey() const { return virtualKey_; }
  void setVirtualKey(std::uint16_t virtualKey) { virtualKey_ = virtualKey; }
  std::int16_t keyCodeFromHub() const { return keyCodeFromHub_; }
  void setKeyCodeFromHub(std::int16_t keyCode) { keyCodeFromHub_ = keyCode; }
  std::uint64_t eventFlag() const { return eventFlag_; }
  void setEventFlag(std::uint64_t eventFlag) { eventFlag_ = eventFlag; }

 private:
  TSLKeyBoardSimulator();

  void updateEventFlag(bool keyDown);

  const std::unique_ptr<platform::EventPoster> poster_;
  std::uint16_t virtualKey_ = 0;
  std::int16_t keyCodeFromHub_ = 0;
  std::uint64_t eventFlag_ = 0;  ///< modifiers that the hub holds, as flags of an event
};

}  // namespace tessel
