#include "bench/ScrollingPage.h"

#include <array>
#include <cstdlib>
#include <vector>

namespace tessel::bench {
namespace {

constexpr int kLineHeight = 16;
constexpr int kStep = 4;  // rows
constexpr std::uint32_t kPaper = 0xFFFFFF;
constexpr std::uint32_t kInk = 0x202028;

}  // namespace

ScrollingPage::ScrollingPage(Extent extent) : connection_{xcb_connect(nullptr, nullptr)} {
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
  const std::uint16_t width = screen_->width_in_pixels;
  const std::uint16_t height = screen_->height_in_pixels;
  page_ = {0, 0, width, height};
  if (extent == Extent::quarter) {
    page_ = {static_cast<std::int16_t>(width / 4), static_cast<std::int16_t>(height / 4),
             static_cast<std::uint16_t>(width / 2), static_cast<std::uint16_t>(height / 2)};
  }
  context_ = xcb_generate_id(connection_.get());
  const std::array<std::uint32_t, 1> noEvents{0};
  xcb_create_gc(connection_.get(), context_, screen_->root, XCB_GC_GRAPHICS_EXPOSURES,
                noEvents.data());
  for (int top = page_.y; top < bottom(); top += kLineHeight) drawLine(top);
}

void ScrollingPage::step() {
  const auto from = static_cast<std::int16_t>(page_.y + kStep);
  const auto rest = static_cast<std::uint16_t>(page_.height - kStep);
  xcb_copy_area(connection_.get(), screen_->root, screen_->root, context_, page_.x, from, page_.x,
                page_.y, page_.width, rest);
  offset_ += kStep;
  if (offset_ >= kLineHeight) {
    offset_ = 0;
    drawLine(bottom() - kLineHeight);
  }
  std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()),
                                      nullptr));
}

void ScrollingPage::drawLine(int top) {
  const auto y = static_cast<std::int16_t>(top);
  fill(kPaper, {page_.x, y, page_.width, kLineHeight});
  std::vector<xcb_rectangle_t> marks;
  for (int left = page_.x + 8; left < right() - 12; left += 8) {
    random_ = random_ * 1664525U + 1013904223U;
    if (random_ >> 29U == 0) continue;  // a space
    const auto x = static_cast<std::int16_t>(left);
    const auto stem = static_cast<std::int16_t>(x + static_cast<int>(random_ >> 8U & 3U));
    const auto bar = static_cast<std::int16_t>(y + 3 + static_cast<int>(random_ >> 16U & 7U));
    marks.push_back({stem, static_cast<std::int16_t>(y + 2), 1, 10});
    marks.push_back({x, bar, 6, 1});
    if ((random_ >> 24U & 1U) != 0) {
      marks.push_back({static_cast<std::int16_t>(x + 4), static_cast<std::int16_t>(y + 5), 1, 7});
    }
  }
  xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &kInk);
  xcb_poly_fill_rectangle(connection_.get(), screen_->root, context_,
                          static_cast<std::uint32_t>(marks.size()), marks.data());
}

void ScrollingPage::fill(std::uint32_t colour, const xcb_rectangle_t& area) {
  xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &colour);
  xcb_poly_fill_rectangle(connection_.get(), screen_->root, context_, 1, &area);
}

}  // namespace tessel::bench
