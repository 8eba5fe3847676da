#include "platform/linux/x11/XConnect.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>

#include "platform/posix/HostSignals.h"

namespace tessel::platform {
namespace {

// One that answers again needs far less.
constexpr auto kPatienceWithSilence = std::chrono::milliseconds{500};

// A call of xcb_connect, which offers no bound and no descriptor to bound it by. So it runs on a
// thread of its own, which is left behind when the server does not answer: it ends when the server
// answers or goes.
struct Attempt {
  std::string display;
  bool done = false;
  bool abandoned = false;  // nobody wants the connection any longer
  xcb_connection_t* connection = nullptr;
  int screenNumber = 0;
};

struct Attempts {
  // Held by the one who waits for an attempt. One at a time: the library that looks for the
  // server's cookie keeps the file's name in a static buffer.
  std::mutex turn;

  std::mutex mutex;  // guards what follows, and every attempt
  std::condition_variable changed;
  std::shared_ptr<const Attempt> overdue;  // the last one that was abandoned
  std::string silent;                      // the display whose server did not answer
};

// Never destroyed: a thread left behind may need it at the very end.
Attempts& attempts() {
  static Attempts& all = *new Attempts;
  return all;
}

void run(const std::shared_ptr<Attempt>& attempt) {
  pthread_setname_np(pthread_self(), "tessel-xconnect");
  int screenNumber = 0;
  xcb_connection_t* connection = xcb_connect(attempt->display.c_str(), &screenNumber);
  Attempts& all = attempts();
  const std::lock_guard lock{all.mutex};
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

// Under the mutex.
std::chrono::milliseconds patience(const Attempts& all, const std::string& display) {
  return all.silent == display ? kPatienceWithSilence : kXServerPatience;
}

}  // namespace

std::chrono::milliseconds xServerPatience(const std::string& display) {
  Attempts& all = attempts();
  const std::lock_guard lock{all.mutex};
  return patience(all, display);
}

xcb_connection_t* connectToXServer(const std::string& display, int& screenNumber) {
  Attempts& all = attempts();
  const std::lock_guard turn{all.turn};
  std::unique_lock lock{all.mutex};
  if (all.overdue && !all.overdue->done && all.overdue->display == display) return nullptr;
  const auto attempt = std::make_shared<Attempt>();
  attempt->display = display;
  {
    const HostSignalsBlocked inherited;
    std::thread{[attempt] { run(attempt); }}.detach();
  }
  if (!all.changed.wait_for(lock, patience(all, display), [&] { return attempt->done; })) {
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
  const std::lock_guard lock{all.mutex};
  if (!answers) {
    all.silent = display;
  } else if (all.silent == display) {
    all.silent.clear();
  }
}

bool isSilentXServer(const std::string& display) {
  Attempts& all = attempts();
  const std::lock_guard lock{all.mutex};
  return !display.empty() && all.silent == display;
}

}  // namespace tessel::platform
