#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>
#include <xcb/xcb.h>

#include "platform/media/TestPattern.h"

namespace tessel::test {

/// An X server of the test's own (Xvfb). While it lives, DISPLAY names it and no Wayland desktop is
/// in sight; the environment is as before afterwards. It ends with the test, however that ends.
class PrivateXServer {
 public:
  struct Options {
    int width = 1280;
    int height = 720;
    int depth = 24;
    std::vector<std::string> arguments = {};  ///< further ones, as for Xvfb
    std::string display = {};                 ///< that of a server that has ended; else one's own
  };

  /// Waits for the server to answer; `display` stays empty when it does not.
  explicit PrivateXServer(const Options& options);
  PrivateXServer() : PrivateXServer{Options{}} {}
  ~PrivateXServer();
  PrivateXServer(const PrivateXServer&) = delete;
  PrivateXServer& operator=(const PrivateXServer&) = delete;

  /// ":7"
  const std::string& display() const { return display_; }

  /// Ends the server and waits until it is gone. Nobody else takes its number.
  void end();

  /// Lets the server answer nothing, as one that hangs; until it is resumed or this object ends.
  void suspend() const;
  void resume() const;

  /// Runs a program against the server ("xrandr --fb 800x600") and returns its exit status.
  int run(const std::string& command) const;

 private:
  struct Variable {
    std::string name;
    std::string before;
    bool wasSet;
  };
  void setVariable(const std::string& name, const char* value);

  pid_t pid_ = 0;
  std::string display_;
  std::vector<Variable> variables_;
};

/// A client that paints on the root window of the server that DISPLAY names. One thread.
class XPainter {
 public:
  XPainter();

  /// Paints rectangles in order; once it returns they are on the screen.
  void paint(const std::vector<platform::FilledRectangle>& rectangles);

  /// The whole root window in one colour.
  void clear(std::uint32_t rgb) { paint({{0, 0, 32767, 32767, rgb}}); }

  /// Moves the pointer.
  void warpPointer(int x, int y);

  xcb_connection_t* connection() const { return connection_.get(); }
  const xcb_screen_t& screen() const { return *screen_; }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  std::uint32_t pixel(std::uint32_t rgb) const;
  void roundTrip() const;

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  const xcb_screen_t* screen_ = nullptr;
  xcb_gcontext_t context_ = 0;
};

}  // namespace tessel::test
