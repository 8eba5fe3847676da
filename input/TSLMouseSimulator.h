#pragma once

#include <cstdint>
#include <memory>

#include "platform/EventPoster.h"
#include "tessel/Types.h"
#include "wire/MousePacket.h"

namespace tessel {

class TSLSession;

/// Turns the hub's mouse packets into mouse events of this computer.
///
/// Belongs to the queue of the mouse connection that owns it; `releaseAll` and `stopPosting` may be
/// called from any thread.
class TSLMouseSimulator {
 public:
  static std::shared_ptr<TSLMouseSimulator> init(const std::shared_ptr<TSLSession>& hub);
  ~TSLMouseSimulator();

  TSLMouseSimulator(const TSLMouseSimulator&) = delete;
  TSLMouseSimulator& operator=(const TSLMouseSimulator&) = delete;

  /// The single entry: checks the packet and acts on it.
  void simulateMouseEvent(const MousePacket& packet);

  /// Clamps the position to the session's size, then scales it by session size over screen size.
  void scaleCoord();

  /// @name Actions, each at `mouseCursorPosition`
  /// @{
  void moveMouse();
  void leftClickDown();
  void leftClickUp();
  void rightClickDown();
  void rightClickUp();
  void leftDragged();
  void rightDragged();
  void doubleClickLeftButton();
  void doubleClickRightButton();
  void scrollDown();
  void scrollUp();
  /// @}

  const char* getMouseEventName(std::uint32_t eventType) const;
  /// Logs the state; a debugging aid.
  void printDebugInfo() const;

  /// Releases the buttons that this simulator holds down.
  void releaseAll() { poster_->releaseAll(); }
  /// The same for good, without waiting (see EventPoster::close).
  void stopPosting() { poster_->close(); }

  std::shared_ptr<TSLSession> hub() const { return hub_.lock(); }
  void setHub(const std::shared_ptr<TSLSession>& hub) { hub_ = hub; }
  std::int32_t wheel() const { return wheel_; }
  void setWheel(std::int32_t wheel) { wheel_ = wheel; }
  double ptX() const { return ptX_; }
  void setPtX(double ptX) { ptX_ = ptX; }
  double ptY() const { return ptY_; }
  void setPtY(double ptY) { ptY_ = ptY; }
  Point mouseCursorPosition() const { return mouseCursorPosition_; }
  void setMouseCursorPosition(Point position) { mouseCursorPosition_ = position; }
  std::uint32_t currentMouseEventType() const { return currentMouseEventType_; }
  void setCurrentMouseEventType(std::uint32_t type) { currentMouseEventType_ = type; }
  bool leftButtonPressed() const { return left_.pressed; }
  void setLeftButtonPressed(bool pressed) { left_.pressed = pressed; }
  bool leftButtonDoubleClickStart() const { return left_.doubleClickStart; }
  void setLeftButtonDoubleClickStart(bool start) { left_.doubleClickStart = start; }
  Date leftButtonClickTimeStamp() const { return left_.clickTimeStamp; }
  void setLeftButtonClickTimeStamp(Date timeStamp) { left_.clickTimeStamp = timeStamp; }
  bool rightButtonPressed() const { return right_.pressed; }
  void setRightButtonPressed(bool pressed) { right_.pressed = pressed; }
  bool rightButtonDoubleClickStart() const { return right_.doubleClickStart; }
  void setRightButtonDoubleClickStart(bool start) { right_.doubleClickStart = start; }
  Date rightButtonClickTimeStamp() const { return right_.clickTimeStamp; }
  void setRightButtonClickTimeStamp(Date timeStamp) { right_.clickTimeStamp = timeStamp; }

 private:
  using Action = void (TSLMouseSimulator::*)();

  /// The state of one button, and what a press of it leads to.
  struct Button {
    Action clickDown;
    Action doubleClick;
    int logNumber;
    Date clickTimeStamp;  ///< of the last press
    bool pressed = false;
    bool doubleClickStart = false;  ///< the last press was single: the next may make it double
  };

  explicit TSLMouseSimulator(const std::shared_ptr<TSLSession>& hub);

  void dispatch(std::uint8_t command);
  void press(Button& button);
  void postMouseEvent(const char* name, platform::MouseEventType type,
                      platform::MouseButton button);
  void postDoubleClick(const char* name, platform::MouseEventType down, platform::MouseEventType up,
                       platform::MouseButton button);
  void postScrollWheelEvent(const char* name, std::int32_t lines);

  std::weak_ptr<TSLSession> hub_;
  const std::unique_ptr<platform::EventPoster> poster_;
  std::int32_t wheel_ = 0;
  double ptX_ = 0.0;
  double ptY_ = 0.0;
  Point mouseCursorPosition_;
  std::uint32_t currentMouseEventType_ = 0;
  Button left_;
  Button right_;
};

}  // namespace tessel
