// Scrolls a page over the screen that DISPLAY names, sixty steps a second, until it is ended.
//
//   scrolling_page [quarter]    over the whole screen, or over a quarter of it

#include <chrono>
#include <string_view>
#include <thread>

#include "bench/ScrollingPage.h"

int main(int argc, char** argv) {
  using Extent = tessel::bench::ScrollingPage::Extent;
  const bool quarter = argc > 1 && std::string_view{argv[1]} == "quarter";
  tessel::bench::ScrollingPage page{quarter ? Extent::quarter : Extent::wholeScreen};
  auto next = std::chrono::steady_clock::now();
  for (;;) {
    page.step();
    next += std::chrono::milliseconds{16};
    std::this_thread::sleep_until(next);
  }
}
