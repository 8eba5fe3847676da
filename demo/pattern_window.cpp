// Something that moves on an X11 screen, for the demo and for measurements.
//
//   pattern_window --strip                  a strip along the screen's upper edge that shows the
//                                           monotonic clock in milliseconds, machine-readable
//   pattern_window --geometry WxH+X+Y       a window with the moving test picture
//   --rate N                                pictures a second (default 60)
//
// Runs until it is ended or the X server goes away.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/timerfd.h>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

#include "platform/media/TestPattern.h"

namespace {

using tessel::platform::FilledRectangle;
using tessel::platform::TestPattern;

struct Options {
  bool strip = false;
  int width = 640;
  int height = 360;
  int x = 0;
  int y = 0;
  int rate = 60;
};

std::uint32_t monotonicMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(now / std::chrono::milliseconds{1});
}

// A window and a pixmap behind it: a picture is painted in full before it shows.
class Window {
 public:
  Window(xcb_connection_t* connection, const xcb_screen_t& screen, const Options& options)
      : connection_{connection},
        width_{static_cast<std::uint16_t>(options.width)},
        height_{static_cast<std::uint16_t>(options.height)},
        window_{xcb_generate_id(connection)},
        pixmap_{xcb_generate_id(connection)},
        context_{xcb_generate_id(connection)} {
    const std::uint32_t values[] = {screen.black_pixel, options.strip ? 1U : 0U};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window_, screen.root,
                      static_cast<std::int16_t>(options.x), static_cast<std::int16_t>(options.y),
                      width_, height_, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    const char* title = "Tessel test picture";
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(std::strlen(title)), title);
    placeAsAsked(options);
    xcb_create_pixmap(connection, screen.root_depth, pixmap_, window_, width_, height_);
    xcb_create_gc(connection, context_, pixmap_, 0, nullptr);
    xcb_map_window(connection, window_);
  }

  void fill(const std::vector<FilledRectangle>& rectangles) {
    for (const FilledRectangle& one : rectangles) {
      xcb_change_gc(connection_, context_, XCB_GC_FOREGROUND, &one.rgb);
      const xcb_rectangle_t area{static_cast<std::int16_t>(one.x), static_cast<std::int16_t>(one.y),
                                 static_cast<std::uint16_t>(one.width),
                                 static_cast<std::uint16_t>(one.height)};
      xcb_poly_fill_rectangle(connection_, pixmap_, context_, 1, &area);
    }
  }

  void show() {
    xcb_copy_area(connection_, pixmap_, window_, context_, 0, 0, 0, 0, width_, height_);
    xcb_flush(connection_);
  }

 private:
  // Size hints that say the user chose the place: window managers keep to it.
  void placeAsAsked(const Options& options) {
    constexpr std::uint32_t kUserPosition = 1;
    std::array<std::uint32_t, 18> hints{};
    hints[0] = kUserPosition;
    hints[1] = static_cast<std::uint32_t>(options.x);
    hints[2] = static_cast<std::uint32_t>(options.y);
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
  }

  xcb_connection_t* const connection_;
  const std::uint16_t width_;
  const std::uint16_t height_;
  const xcb_window_t window_;
  const xcb_pixmap_t pixmap_;
  const xcb_gcontext_t context_;
};

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : "";
    if (argument == "--strip") {
      options.strip = true;
    } else if (argument == "--geometry" &&
               std::sscanf(value, "%dx%d+%d+%d", &options.width, &options.height, &options.x,
                           &options.y) == 4) {
      ++i;
    } else if (argument == "--rate" && std::atoi(value) > 0) {
      options.rate = std::atoi(value);
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

void waitForTick(int timer) {
  std::uint64_t ticks = 0;
  if (read(timer, &ticks, sizeof ticks) < 0) std::perror("pattern_window: timer");
}

int makeTimer(int rate) {
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const long period = 1'000'000'000L / rate;
  const timespec interval{period / 1'000'000'000L, period % 1'000'000'000L};
  const itimerspec times{interval, interval};
  timerfd_settime(timer, 0, &times, nullptr);
  return timer;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::fputs("usage: pattern_window --strip | --geometry WxH+X+Y  [--rate N]\n", stderr);
    return 2;
  }
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(connection) != 0) {
    std::fputs("pattern_window: no X server at DISPLAY\n", stderr);
    return 1;
  }
  const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  if (options.strip) options.width = screen.width_in_pixels;
  const TestPattern pattern{options.strip ? screen.width_in_pixels : options.width,
                            options.strip ? screen.height_in_pixels : options.height};
  if (options.strip) options.height = pattern.stripHeight();

  Window window{connection, screen, options};
  if (!options.strip) window.fill(pattern.background());
  const int timer = makeTimer(options.rate);
  for (std::uint32_t counter = 0; xcb_connection_has_error(connection) == 0; ++counter) {
    window.fill(options.strip ? pattern.strip(monotonicMilliseconds())
                              : pattern.foreground(counter));
    window.show();
    waitForTick(timer);
  }
  close(timer);
  xcb_disconnect(connection);
  return 0;
}
