#include "tests/support/RecordingPoster.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace tessel::test {
namespace {

using platform::KeyboardEvent;
using platform::MouseEvent;
using platform::ScrollWheelEvent;

std::string describe(const MouseEvent& event) {
  std::ostringstream text;
  text << "mouse " << static_cast<std::uint32_t>(event.type) << " (" << event.position.x << ","
       << event.position.y << ") button " << static_cast<std::uint32_t>(event.button);
  return text.str();
}

std::string describe(const KeyboardEvent& event) {
  std::ostringstream text;
  text << "key 0x" << std::hex << event.virtualKey << (event.keyDown ? " down" : " up");
  return text.str();
}

std::string hex(std::uint64_t value) {
  std::ostringstream text;
  text << "0x" << std::hex << value;
  return text.str();
}

}  // namespace

class RecordingPoster final : public platform::EventPoster {
 public:
  explicit RecordingPoster(RecordingPosting& owner) : owner_{owner} {}
  ~RecordingPoster() override { owner_.heldBy_.erase(this); }

  std::optional<MouseEvent> createMouseEvent(platform::MouseEventType type, Point position,
                                             platform::MouseButton button) override {
    const MouseEvent event{type, position, button, 1};
    if (!create(describe(event))) return std::nullopt;
    return event;
  }
  void post(const MouseEvent& event) override {
    if (closed_) return;
    const std::string button = "button " + std::to_string(static_cast<std::uint32_t>(event.button));
    if (event.type == platform::MouseEventType::kLeftDown ||
        event.type == platform::MouseEventType::kRightDown) {
      held().insert(button);
    } else if (event.type == platform::MouseEventType::kLeftUp ||
               event.type == platform::MouseEventType::kRightUp) {
      held().erase(button);
    }
    note("post " + describe(event) + " click " + std::to_string(event.clickState));
  }
  std::optional<ScrollWheelEvent> createScrollWheelEvent(std::int32_t lines) override {
    if (!create("wheel " + std::to_string(lines))) return std::nullopt;
    return ScrollWheelEvent{lines};
  }
  void post(const ScrollWheelEvent& event) override {
    if (closed_) return;
    note("post wheel " + std::to_string(event.lines));
  }
  std::optional<KeyboardEvent> createKeyboardEvent(std::uint16_t virtualKey,
                                                   bool keyDown) override {
    const KeyboardEvent event{virtualKey, keyDown, 0};
    if (!create(describe(event))) return std::nullopt;
    return event;
  }
  void post(const KeyboardEvent& event) override {
    if (closed_) return;
    const std::string key = "key " + hex(event.virtualKey);
    if (event.keyDown) {
      held().insert(key);
    } else {
      held().erase(key);
    }
    note("post " + describe(event) + " flags " + hex(event.flags));
  }
  void releaseAll() override {
    held().clear();
    note("release all");
  }
  void close() override {
    releaseAll();
    closed_ = true;
  }

 private:
  std::set<std::string>& held() { return owner_.heldBy_[this]; }
  void note(std::string line) { owner_.operations.push_back(std::move(line)); }
  bool create(const std::string& what) {
    if (owner_.creationFails || closed_) return false;
    note("create " + what);
    return true;
  }

  RecordingPosting& owner_;
  bool closed_ = false;
};

std::vector<std::string> RecordingPosting::posts() const {
  std::vector<std::string> lines;
  std::ranges::copy_if(operations, std::back_inserter(lines),
                       [](const std::string& line) { return line.starts_with("post"); });
  return lines;
}

std::vector<std::string> RecordingPosting::held() const {
  std::vector<std::string> all;
  for (const auto& [poster, held] : heldBy_) all.insert(all.end(), held.begin(), held.end());
  std::ranges::sort(all);
  return all;
}

std::unique_ptr<platform::EventPoster> RecordingPosting::makeEventPoster() {
  return std::make_unique<RecordingPoster>(*this);
}

}  // namespace tessel::test
