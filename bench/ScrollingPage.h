#pragma once

#include <cstdint>
#include <memory>
#include <xcb/xcb.h>

namespace tessel::bench {

/// A page of small marks, as dense as text, that scrolls on the X server that DISPLAY names. With
/// every step all of the page changes, and nothing else. One thread.
class ScrollingPage {
 public:
  enum class Extent {
    wholeScreen,
    quarter,  ///< a window's worth in the middle: half as wide and half as high
  };
  explicit ScrollingPage(Extent extent);

  /// Scrolls by one step.
  void step();

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  void drawLine(int top);
  void fill(std::uint32_t colour, const xcb_rectangle_t& area);
  int right() const { return page_.x + page_.width; }
  int bottom() const { return page_.y + page_.height; }

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  const xcb_screen_t* screen_ = nullptr;
  xcb_rectangle_t page_{};
  xcb_gcontext_t context_ = 0;
  std::uint32_t random_ = 1;
  int offset_ = 0;  // rows of the newest line that have come into view
};

}  // namespace tessel::bench
