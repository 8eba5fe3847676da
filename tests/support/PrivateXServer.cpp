#include "tests/support/PrivateXServer.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessel::test {
namespace {

constexpr int kStartTimeoutMs = 20000;

// A number that nobody else takes, also once its server has ended: servers that look for a free one
// begin at 0, and each process has eight of its own.
std::string ownDisplay() {
  static int count = 0;
  return ":" + std::to_string(1000 + getpid() % 7000 * 8 + count++ % 8);
}

// Reads up to a line feed; empty when it does not come in time.
std::string readLine(int file) {
  std::string line;
  for (;;) {
    pollfd readable{file, POLLIN, 0};
    char next = 0;
    if (poll(&readable, 1, kStartTimeoutMs) <= 0 || read(file, &next, 1) != 1) return {};
    if (next == '\n') return line;
    line.push_back(next);
  }
}

}  // namespace

PrivateXServer::PrivateXServer(const Options& options) {
  std::array<int, 2> number{};
  if (pipe(number.data()) != 0) return;
  const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) +
                             "x" + std::to_string(options.depth);
  const std::string numberFile = std::to_string(number[1]);
  const std::string display = options.display.empty() ? ownDisplay() : options.display;
  std::vector<std::string> words{"Xvfb", display, "-displayfd", numberFile, "-screen",
                                 "0",    screen,  "-nolisten",  "tcp",      "-noreset",
                                 "-s",   "0",     "-dpms"};
  words.insert(words.end(), options.arguments.begin(), options.arguments.end());
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(number[0]);
    const int silence = open("/dev/null", O_RDWR);
    dup2(silence, STDOUT_FILENO);
    dup2(silence, STDERR_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  close(number[1]);
  fcntl(number[0], F_SETFD, FD_CLOEXEC);
  const std::string line = pid_ > 0 ? readLine(number[0]) : std::string{};
  close(number[0]);
  if (line.empty()) return;
  display_ = display;
  setVariable("DISPLAY", display_.c_str());
  setVariable("WAYLAND_DISPLAY", nullptr);
  setVariable("XDG_SESSION_TYPE", nullptr);
}

PrivateXServer::~PrivateXServer() {
  end();
  for (const Variable& variable : variables_) {
    if (variable.wasSet) {
      setenv(variable.name.c_str(), variable.before.c_str(), 1);
    } else {
      unsetenv(variable.name.c_str());
    }
  }
}

void PrivateXServer::end() {
  if (pid_ <= 0) return;
  resume();
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = 0;
  if (display_.empty()) return;
  // A server that is killed leaves its socket and its lock behind.
  const std::string number = display_.substr(1);
  unlink(("/tmp/.X11-unix/X" + number).c_str());
  unlink(("/tmp/.X" + number + "-lock").c_str());
}

void PrivateXServer::suspend() const {
  if (pid_ <= 0) return;
  kill(pid_, SIGSTOP);
  int status = 0;
  waitpid(pid_, &status, WUNTRACED);
}

void PrivateXServer::resume() const {
  if (pid_ > 0) kill(pid_, SIGCONT);
}

int PrivateXServer::run(const std::string& command) const {
  const int status = std::system((command + " >/dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void PrivateXServer::setVariable(const std::string& name, const char* value) {
  const char* before = std::getenv(name.c_str());
  variables_.push_back({name, before == nullptr ? "" : before, before != nullptr});
  if (value == nullptr) {
    unsetenv(name.c_str());
  } else {
    setenv(name.c_str(), value, 1);
  }
}

XPainter::XPainter() : connection_{xcb_connect(nullptr, nullptr)} {
  if (xcb_connection_has_error(connection()) != 0) return;
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection())).data;
  context_ = xcb_generate_id(connection());
  const std::array<std::uint32_t, 1> overWindows{XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS};
  xcb_create_gc(connection(), context_, screen_->root, XCB_GC_SUBWINDOW_MODE, overWindows.data());
}

void XPainter::paint(const std::vector<platform::FilledRectangle>& rectangles) {
  for (const platform::FilledRectangle& rectangle : rectangles) {
    const std::uint32_t colour = pixel(rectangle.rgb);
    xcb_change_gc(connection(), context_, XCB_GC_FOREGROUND, &colour);
    const xcb_rectangle_t area{
        static_cast<std::int16_t>(rectangle.x), static_cast<std::int16_t>(rectangle.y),
        static_cast<std::uint16_t>(rectangle.width), static_cast<std::uint16_t>(rectangle.height)};
    xcb_poly_fill_rectangle(connection(), screen_->root, context_, 1, &area);
  }
  roundTrip();
}

void XPainter::warpPointer(int x, int y) {
  xcb_warp_pointer(connection(), XCB_NONE, screen_->root, 0, 0, 0, 0, static_cast<std::int16_t>(x),
                   static_cast<std::int16_t>(y));
  roundTrip();
}

std::uint32_t XPainter::pixel(std::uint32_t rgb) const {
  if (screen_->root_depth != 16) return rgb;
  return (rgb >> 8U & 0xF800U) | (rgb >> 5U & 0x07E0U) | (rgb >> 3U & 0x001FU);
}

void XPainter::roundTrip() const {
  std::free(xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr));
}

}  // namespace tessel::test
