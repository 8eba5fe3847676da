#include "platform/linux/x11/LockKeys.h"

#include <algorithm>
#include <linux/input-event-codes.h>
#include <utility>

#include "platform/linux/x11/XTestDisplay.h"

namespace tessel::platform {

LockKeys::LockKeys() : locks_{Lock{.evdev = KEY_CAPSLOCK}, Lock{.evdev = KEY_NUMLOCK}} {}

void LockKeys::notePress(std::uint8_t evdev, XTestDisplay& display) {
  const auto lock = std::ranges::find(locks_, evdev, &Lock::evdev);
  if (lock == locks_.end()) return;
  lock->turned = !lock->turned;
  if (lock->turned) lock->wasOn = display.modifierIsOn(evdev);
}

void LockKeys::turnBack(XTestDisplay& display) {
  for (Lock& lock : locks_) {
    if (!std::exchange(lock.turned, false) || !lock.wasOn) continue;
    const auto isOn = display.modifierIsOn(lock.evdev);
    if (!isOn || isOn == lock.wasOn) continue;
    display.key(lock.evdev, true);
    display.key(lock.evdev, false);
  }
}

void LockKeys::forget() {
  for (Lock& lock : locks_) lock.turned = false;
}

}  // namespace tessel::platform
