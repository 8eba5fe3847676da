#include "input/TSLKeyBoardSimulator.h"

#include "input/KeyMaps.h"
#include "platform/Log.h"
#include "platform/Services.h"
#include "wire/KeyboardRecord.h"

namespace tessel {

using platform::log;
using platform::logPrivate;
using platform::services;

namespace {

constexpr std::uint64_t kCapsLock = 0x10000;
constexpr std::uint64_t kShift = 0x20000;
constexpr std::uint64_t kControl = 0x40000;
constexpr std::uint64_t kOption = 0x80000;
constexpr std::uint64_t kCommand = 0x100000;
constexpr std::uint64_t kNumLock = 0x200000;  // on exactly while its key is held

// The flag of a special key that is a modifier; 0 for any other. Left and right share one flag.
std::uint64_t modifierBit(std::int16_t hubCode) {
  switch (hubCode) {
    case 4:
    case 51:
      return kControl;
    case 5:
    case 6:
      return kShift;
    case 8:
    case 53:
      return kOption;
    case 10:
      return kCapsLock;
    case 37:
      return kNumLock;
    case 64:
    case 65:
      return kCommand;
    default:
      return 0;
  }
}

}  // namespace

std::shared_ptr<TSLKeyBoardSimulator> TSLKeyBoardSimulator::init() {
  return std::shared_ptr<TSLKeyBoardSimulator>(new TSLKeyBoardSimulator);
}

TSLKeyBoardSimulator::TSLKeyBoardSimulator()
    : poster_{services().desktops->current()->makeEventPoster()} {
  log("%s/%d: TSLKeyBoardSimulator init", "-[TSLKeyBoardSimulator init]", __LINE__);
}

TSLKeyBoardSimulator::~TSLKeyBoardSimulator() {
  log("%s/%d: TSLKeyBoardSimulator dealloc\n", "-[TSLKeyBoardSimulator dealloc]", __LINE__);
}

void TSLKeyBoardSimulator::simulateKeyBoardEvent(std::uint64_t number) {
  static constexpr const char* kName = "-[TSLKeyBoardSimulator simulateKeyBoardEvent:]";
  log("%s: ENTER", kName);
  const auto record = KeyboardRecord::fromNumber(number);
  if (!record.isValid()) {
    log("%s/%d:cmd=0x%x, eventType=0x%x, are not 0x%x & 0x%x", kName, __LINE__, record.cmd,
        record.eventType, KeyboardRecord::kCmd, unsigned{KeyboardRecord::kEventType});
    return;
  }
  keyCodeFromHub_ = record.keyCode;
  switch (record.keyFlag) {
    case KEY_DOWN_FLAG:
      log("%s/%d: KEY_DOWN_FLAG", kName, __LINE__);
      simulateNormalKey(true);
      break;
    case KEY_UP_FLAG:
      log("%s/%d: KEY_UP_FLAG", kName, __LINE__);
      simulateNormalKey(false);
      break;
    case SPECIAL_KEY_DOWN_FLAG:
      log("%s/%d: SPECIAL_KEY_DOWN_FLAG", kName, __LINE__);
      simulateSpecialKey(true);
      break;
    case SPECIAL_KEY_UP_FLAG:
      log("%s/%d: SPECIAL_KEY_UP_FLAG", kName, __LINE__);
      simulateSpecialKey(false);
      break;
    default:
      log("%s/%d: unknown command: 0x%x", kName, __LINE__, record.keyFlag);
  }
}

std::uint16_t TSLKeyBoardSimulator::getVirtualKey() {
  return virtualKey_ = lookUpVirtualKey(keyCodeToVirtualKeyMap, kMaxKeyCode, keyCodeFromHub_);
}

std::uint16_t TSLKeyBoardSimulator::getSpecialVirtualKey() {
  return virtualKey_ =
             lookUpVirtualKey(specialKeyCodeToVirtualKeyMap, kMaxSpecialKeyCode, keyCodeFromHub_);
}

std::uint16_t TSLKeyBoardSimulator::getSpecialVirtualKeyWhenNumLock() {
  return virtualKey_ = lookUpVirtualKey(specialKeyCodeToVirtualKeyMap_NumLock,
                                        kMaxSpecialKeyCodeWithNumLock, keyCodeFromHub_);
}

void TSLKeyBoardSimulator::simulateNormalKey(bool keyDown) {
  static constexpr const char* kName = "-[TSLKeyBoardSimulator simulateNormalKey:]";
  if (getVirtualKey() == kInvalidVirtualKey) {
    logPrivate("%s/%d: keycode 0x%x from hub maps to invalid virtual key", kName, __LINE__,
               static_cast<unsigned>(int{keyCodeFromHub_}));
    return;
  }
  logPrivate("%s/%d: self.keyCodeFromHub=0x%x, self.virtualKey=0x%x, self.eventFlag=0x%llx,", kName,
             __LINE__, static_cast<unsigned>(int{keyCodeFromHub_}), virtualKey_,
             static_cast<unsigned long long>(eventFlag_));
  auto event = poster_->createKeyboardEvent(virtualKey_, keyDown);
  if (!event) {
    log("%s/%d: CGEventCreateKeyboardEvent failed.", kName, __LINE__);
    return;
  }
  logPrivate("%s/%d: rcv normal key self.eventFlag=0x%llx, self.virtualKey=0x%x", kName, __LINE__,
             static_cast<unsigned long long>(eventFlag_), virtualKey_);
  event->flags = eventFlag_;
  poster_->post(*event);
}

// A special key's event carries no flags, and `eventFlag` changes only once it was posted.
void TSLKeyBoardSimulator::simulateSpecialKey(bool keyDown) {
  static constexpr const char* kName = "-[TSLKeyBoardSimulator simulateSpecialKey:]";
  std::uint16_t key = kInvalidVirtualKey;
  if ((eventFlag_ & kNumLock) != 0) {
    log("%s/%d: number lock is on", kName, __LINE__);
    key = getSpecialVirtualKeyWhenNumLock();
  } else {
    log("%s/%d: number lock is off", kName, __LINE__);
    key = getSpecialVirtualKey();
  }
  if (key == kInvalidVirtualKey) {
    logPrivate("%s/%d: keycode 0x%x from hub maps to invalid virtual key", kName, __LINE__,
               static_cast<unsigned>(int{keyCodeFromHub_}));
    return;
  }
  logPrivate("%s/%d: self.keyCodeFromHub=0x%x, self.virtualKey=0x%x, self.eventFlag=0x%llx,", kName,
             __LINE__, static_cast<unsigned>(int{keyCodeFromHub_}), virtualKey_,
             static_cast<unsigned long long>(eventFlag_));
  const auto event = poster_->createKeyboardEvent(virtualKey_, keyDown);
  if (!event) {
    log("%s/%d: CGEventCreateKeyboardEvent failed.", kName, __LINE__);
    return;
  }
  poster_->post(*event);
  updateEventFlag(keyDown);
}

void TSLKeyBoardSimulator::updateEventFlag(bool keyDown) {
  const std::uint64_t bit = modifierBit(keyCodeFromHub_);
  eventFlag_ = keyDown ? eventFlag_ | bit : eventFlag_ & ~bit;
}

}  // namespace tessel
