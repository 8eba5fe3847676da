#include "platform/linux/x11/XConnect.h"

#include <condition_variable>
#include <memory>

#include "platform/base/Mutex.h"
#include "platform/posix/Thread.h"

namespace tessel::platform {
namespace {

// A server that answers again needs far less.
constexpr auto kSilentServerTimeout = std::chrono::milliseconds{500};

// A call of xcb_connect, which has no timeout and offers no descriptor to poll. It runs on a thread
// of its own; when the server does not answer, that thread is left behind and ends once the server
// answers or goes.
struct Attempt {
  std::string display;
  bool done = false;
  bool abandoned = false;  // the caller has given up: the thread closes the connection
  xcb_connection_t* connection = nullptr;
  int screenNumber = 0;
};

struct Attempts {
  // Held during an attempt: one at a time, because the library that looks up the server's cookie
  // keeps the file's name in a static buffer.
  Mutex turn;

  Mutex mutex;  // guards every Attempt as well
  std::condition_variable changed;
  std::shared_ptr<const Attempt> overdue TESSEL_GUARDED_BY(mutex);  // the last one abandoned
  std::string silent TESSEL_GUARDED_BY(mutex);  // the display whose server timed out
};

// Never destroyed: a thread left behind may use it while the process exits.
Attempts& attempts() {
  static Attempts& all = *new Attempts;
  return all;
}

void run(const std::shared_ptr<Attempt>& attempt) {
  int screenNumber = 0;
  xcb_connection_t* connection = xcb_connect(attempt->display.c_str(), &screenNumber);
  Attempts& all = attempts();
  const MutexLock lock{all.mutex};
  if (all.silent == attempt->display) all.silent.clear();
  attempt->done = true;
  if (attempt->abandoned) {
    xcb_disconnect(connection);
  } else {
    attempt->connection = connection;
    attempt->screenNumber = screenNumber;
    all.changed.notify_all();
  }
}

std::chrono::milliseconds timeoutFor(const Attempts& all, const std::string& display)
    TESSEL_REQUIRES(all.mutex) {
  return all.silent == display ? kSilentServerTimeout : kXServerTimeout;
}

}  // namespace

std::chrono::milliseconds xServerTimeout(const std::string& display) {
  Attempts& all = attempts();
  const MutexLock lock{all.mutex};
  return timeoutFor(all, display);
}

xcb_connection_t* connectToXServer(const std::string& display, int& screenNumber) {
  Attempts& all = attempts();
  const MutexLock turn{all.turn};
  MutexLock lock{all.mutex};
  if (all.overdue && !all.overdue->done && all.overdue->display == display) return nullptr;
  const auto attempt = std::make_shared<Attempt>();
  attempt->display = display;
  startThread("tessel-xconnect", [attempt] { run(attempt); }).detach();
  if (!all.changed.wait_for(lock.native(), timeoutFor(all, display),
                            [&] { return attempt->done; })) {
    attempt->abandoned = true;
    all.overdue = attempt;
    all.silent = display;
    return nullptr;
  }
  screenNumber = attempt->screenNumber;
  return attempt->connection;
}

void noteXServerAnswers(const std::string& display, bool answers) {
  Attempts& all = attempts();
  const MutexLock lock{all.mutex};
  if (!answers) {
    all.silent = display;
  } else if (all.silent == display) {
    all.silent.clear();
  }
}

bool isSilentXServer(const std::string& display) {
  Attempts& all = attempts();
  const MutexLock lock{all.mutex};
  return !display.empty() && all.silent == display;
}

}  // namespace tessel::platform
