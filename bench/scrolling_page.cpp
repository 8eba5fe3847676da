// Scrolls a page over the whole screen that DISPLAY names, sixty steps a second, until it is ended.

#include <chrono>
#include <thread>

#include "bench/ScrollingPage.h"

int main() {
  tessel::bench::ScrollingPage page;
  auto next = std::chrono::steady_clock::now();
  for (;;) {
    page.step();
    next += std::chrono::milliseconds{16};
    std::this_thread::sleep_until(next);
  }
}
