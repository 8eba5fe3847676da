#include "input/TSLMouseSimulator.h"

#include <vector>

#include "platform/Log.h"
#include "platform/Services.h"
#include "tessel/TSLSession.h"

namespace tessel {

using platform::log;
using platform::MouseButton;
using platform::MouseEventType;
using platform::services;

namespace {

// Presses less than this apart are a double click, whatever the desktop's own setting.
constexpr Seconds kDoubleClickInterval{0.5};

double secondsSince(Date moment) { return Seconds(services().clock->now() - moment).count(); }

}  // namespace

std::shared_ptr<TSLMouseSimulator> TSLMouseSimulator::init(const std::shared_ptr<TSLSession>& hub) {
  return std::shared_ptr<TSLMouseSimulator>(new TSLMouseSimulator(hub));
}

TSLMouseSimulator::TSLMouseSimulator(const std::shared_ptr<TSLSession>& hub)
    : hub_{hub},
      poster_{services().desktops->current()->makeEventPoster()},
      left_{&TSLMouseSimulator::leftClickDown, &TSLMouseSimulator::doubleClickLeftButton, 397,
            services().clock->now()},
      right_{&TSLMouseSimulator::rightClickDown, &TSLMouseSimulator::doubleClickRightButton, 426,
             services().clock->now()} {
  log("%s/%d: init", "-[TSLMouseSimulator init:]", 55);
}

TSLMouseSimulator::~TSLMouseSimulator() {
  log("%s/%d: dealloced\n", "-[TSLMouseSimulator dealloc]", 63);
}

void TSLMouseSimulator::simulateMouseEvent(const MousePacket& packet) {
  static constexpr const char* kName = "-[TSLMouseSimulator simulateMouseEvent:]";
  log("%s: ENTER", kName);
  if (!packet.isValid()) {
    log("%s/%d size=0x%x, packetType=0x%x, are not 0x%x & 0x%x", kName, 360, packet.size,
        packet.packetType, unsigned{MousePacket::kSize}, unsigned{MousePacket::kPacketType});
    return;
  }
  ptX_ = packet.x;
  ptY_ = packet.y;
  wheel_ = packet.wheel;
  scaleCoord();
  mouseCursorPosition_ = {ptX_, ptY_};
  dispatch(packet.command);
  log("%s/%d: exit", kName, 468);
}

void TSLMouseSimulator::dispatch(std::uint8_t command) {
  const auto enter = [this](MouseEventType type) {
    currentMouseEventType_ = static_cast<std::uint32_t>(type);
  };
  switch (static_cast<MouseCommand>(command)) {
    case MouseCommand::kMove:
      // While both buttons are held, moves are drags of the left one.
      if (left_.pressed) {
        enter(MouseEventType::kLeftDragged);
        leftDragged();
      } else if (right_.pressed) {
        enter(MouseEventType::kRightDragged);
        rightDragged();
      } else {
        enter(MouseEventType::kMoved);
        moveMouse();
      }
      return;
    case MouseCommand::kLeftDown:
      enter(MouseEventType::kLeftDown);
      press(left_);
      return;
    case MouseCommand::kLeftUp:
      enter(MouseEventType::kLeftUp);
      left_.pressed = false;
      leftClickUp();
      return;
    case MouseCommand::kRightDown:
      enter(MouseEventType::kRightDown);
      press(right_);
      return;
    case MouseCommand::kRightUp:
      enter(MouseEventType::kRightUp);
      right_.pressed = false;
      rightClickUp();
      return;
    case MouseCommand::kWheelDown:
      enter(MouseEventType::kScrollWheel);
      scrollDown();
      return;
    case MouseCommand::kWheelUp:
      enter(MouseEventType::kScrollWheel);
      scrollUp();
      return;
  }
  enter(MouseEventType::kNone);
  log("%s/%d: unknown command: 0x%x", "-[TSLMouseSimulator simulateMouseEvent:]", 464, command);
}

// Time is measured from press to press. The clock is read once for the log line and again for the
// decision. A double click never opens another one.
void TSLMouseSimulator::press(Button& button) {
  button.pressed = true;
  log("%s/%d: time difference is %lf s", "-[TSLMouseSimulator simulateMouseEvent:]",
      button.logNumber, secondsSince(button.clickTimeStamp));
  if (button.doubleClickStart &&
      secondsSince(button.clickTimeStamp) < kDoubleClickInterval.count()) {
    (this->*button.doubleClick)();
    button.doubleClickStart = false;
  } else {
    (this->*button.clickDown)();
    button.doubleClickStart = true;
  }
  button.clickTimeStamp = services().clock->now();
}

void TSLMouseSimulator::scaleCoord() {
  static constexpr const char* kName = "-[TSLMouseSimulator scaleCoord]";
  Size session;
  if (const auto hub = hub_.lock()) {
    if (const auto config = hub->sessionConfig()) session = config->sessionSize();
  }
  Size screen;
  if (const auto screens = services().desktops->current()->screens(); !screens.empty()) {
    screen = screens.front().frame().size;
  }
  const auto clamp = [](double value, double limit) {
    if (value < 0) return 0.0;
    return value > limit ? limit : value;
  };
  // Session over screen, the factor of the cursor reports. Without a screen the result is NaN or
  // infinite, which the poster takes.
  ptX_ = clamp(ptX_, session.width) * session.width / screen.width;
  ptY_ = clamp(ptY_, session.height) * session.height / screen.height;
  log("%s/%d :sessionSize.W/H=%lf/%lf, screenSize.W/H=%lf/%lf", kName, 345, session.width,
      session.height, screen.width, screen.height);
  log("%s/%d :ptx/pty=%f/%f", kName, 347, ptX_, ptY_);
}

void TSLMouseSimulator::postMouseEvent(const char* name, MouseEventType type, MouseButton button) {
  log("%s entry", name);
  const auto event = poster_->createMouseEvent(type, mouseCursorPosition_, button);
  if (!event) {
    log("%s: CGEventCreateMouseEvent failed", name);
    return;
  }
  poster_->post(*event);
}

void TSLMouseSimulator::moveMouse() {
  postMouseEvent("-[TSLMouseSimulator moveMouse]", MouseEventType::kMoved, MouseButton::kLeft);
}

void TSLMouseSimulator::leftClickDown() {
  postMouseEvent("-[TSLMouseSimulator leftClickDown]", MouseEventType::kLeftDown,
                 MouseButton::kLeft);
}

void TSLMouseSimulator::leftClickUp() {
  postMouseEvent("-[TSLMouseSimulator leftClickUp]", MouseEventType::kLeftUp, MouseButton::kLeft);
}

void TSLMouseSimulator::rightClickDown() {
  postMouseEvent("-[TSLMouseSimulator rightClickDown]", MouseEventType::kRightDown,
                 MouseButton::kRight);
}

void TSLMouseSimulator::rightClickUp() {
  postMouseEvent("-[TSLMouseSimulator rightClickUp]", MouseEventType::kRightUp,
                 MouseButton::kRight);
}

void TSLMouseSimulator::leftDragged() {
  postMouseEvent("-[TSLMouseSimulator leftDragged]", MouseEventType::kLeftDragged,
                 MouseButton::kLeft);
}

void TSLMouseSimulator::rightDragged() {
  postMouseEvent("-[TSLMouseSimulator rightDragged]", MouseEventType::kRightDragged,
                 MouseButton::kRight);
}

// The first click of the two was posted when it happened. This posts a full click, then the same
// one again, marked as the second of two.
void TSLMouseSimulator::postDoubleClick(const char* name, MouseEventType down, MouseEventType up,
                                        MouseButton button) {
  log("%s entry", name);
  auto event = poster_->createMouseEvent(down, mouseCursorPosition_, button);
  if (!event) {
    log("%s: CGEventCreateMouseEvent failed", name);
    return;
  }
  poster_->post(*event);
  // A left-button release for the right button too; the event's button tells which is meant.
  event->type = MouseEventType::kLeftUp;
  poster_->post(*event);
  event->clickState = 2;
  event->type = down;
  poster_->post(*event);
  event->type = up;
  poster_->post(*event);
}

void TSLMouseSimulator::doubleClickLeftButton() {
  postDoubleClick("-[TSLMouseSimulator doubleClickLeftButton]", MouseEventType::kLeftDown,
                  MouseEventType::kLeftUp, MouseButton::kLeft);
}

void TSLMouseSimulator::doubleClickRightButton() {
  postDoubleClick("-[TSLMouseSimulator doubleClickRightButton]", MouseEventType::kRightDown,
                  MouseEventType::kRightUp, MouseButton::kRight);
}

void TSLMouseSimulator::postScrollWheelEvent(const char* name, std::int32_t lines) {
  log("%s entry", name);
  const auto event = poster_->createScrollWheelEvent(lines);
  if (!event) {
    log("%s: CGEventCreateMouseEvent failed", name);
    return;
  }
  poster_->post(*event);
}

void TSLMouseSimulator::scrollDown() {
  postScrollWheelEvent("-[TSLMouseSimulator scrollDown]", -wheel_);
}

void TSLMouseSimulator::scrollUp() {
  postScrollWheelEvent("-[TSLMouseSimulator scrollUp]", wheel_);
}

const char* TSLMouseSimulator::getMouseEventName(std::uint32_t eventType) const {
  switch (static_cast<MouseEventType>(eventType)) {
    case MouseEventType::kLeftDown:
      return "LeftMouseDown";
    case MouseEventType::kLeftUp:
      return "LeftMouseUp";
    case MouseEventType::kRightDown:
      return "RightMouseDown";
    case MouseEventType::kRightUp:
      return "RightMouseUp";
    case MouseEventType::kMoved:
      return "MouseMoved";
    case MouseEventType::kLeftDragged:
      return "LeftMouseDragged";
    case MouseEventType::kRightDragged:
      return "RightMouseDragged";
    case MouseEventType::kScrollWheel:
      return "Scroll";
    case MouseEventType::kNone:
      break;
  }
  return "Unkown";
}

void TSLMouseSimulator::printDebugInfo() const {
  log("%s:currentMouseEventType:%s/0x%x", "-[TSLMouseSimulator printDebugInfo]",
      getMouseEventName(currentMouseEventType_), currentMouseEventType_);
  log("currentPtX/currentPtY:%f/%f, wheelData=0x%x,leftDown=%d,rightDown=%d", ptX_, ptY_,
      static_cast<unsigned>(wheel_), left_.pressed ? 1 : 0, right_.pressed ? 1 : 0);
}

}  // namespace tessel
