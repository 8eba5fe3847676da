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

class RecordingPoster final : public platform::EventPoster {
 public:
  explicit RecordingPoster(RecordingPosting& owner) : owner_{owner} {}

  std::optional<MouseEvent> createMouseEvent(platform::MouseEventType type, Point position,
                                             platform::MouseButton button) override {
    const MouseEvent event{type, position, button, 1};
    if (!create(describe(event))) return std::nullopt;
    return event;
  }
  void setType(MouseEvent& event, platform::MouseEventType type) override {
    event.type = type;
    note("type " + std::to_string(static_cast<std::uint32_t>(type)));
  }
  void setIntegerValueField(MouseEvent& event, std::uint32_t field, std::int64_t value) override {
    if (field == platform::kClickStateField) event.clickState = value;
    note("field " + std::to_string(field) + " = " + std::to_string(value));
  }
  void post(const MouseEvent& event) override {
    note("post " + describe(event) + " click " + std::to_string(event.clickState));
  }
  std::optional<ScrollWheelEvent> createScrollWheelEvent(std::int32_t lines) override {
    if (!create("wheel " + std::to_string(lines))) return std::nullopt;
    return ScrollWheelEvent{lines};
  }
  void post(const ScrollWheelEvent& event) override {
    note("post wheel " + std::to_string(event.lines));
  }
  std::optional<KeyboardEvent> createKeyboardEvent(std::uint16_t virtualKey,
                                                   bool keyDown) override {
    const KeyboardEvent event{virtualKey, keyDown, 0};
    if (!create(describe(event))) return std::nullopt;
    return event;
  }
  void setFlags(KeyboardEvent& event, std::uint64_t flags) override {
    event.flags = flags;
    note("flags " + hex(flags));
  }
  void post(const KeyboardEvent& event) override {
    note("post " + describe(event) + " flags " + hex(event.flags));
  }
  void releaseAll() override { note("release all"); }

 private:
  void note(std::string line) { owner_.operations.push_back(std::move(line)); }
  bool create(const std::string& what) {
    if (owner_.creationFails) return false;
    note("create " + what);
    return true;
  }

  RecordingPosting& owner_;
};

}  // namespace

std::vector<std::string> RecordingPosting::posts() const {
  std::vector<std::string> lines;
  std::ranges::copy_if(operations, std::back_inserter(lines),
                       [](const std::string& line) { return line.starts_with("post"); });
  return lines;
}

std::unique_ptr<platform::EventPoster> RecordingPosting::makeEventPoster() {
  return std::make_unique<RecordingPoster>(*this);
}

}  // namespace tessel::test
