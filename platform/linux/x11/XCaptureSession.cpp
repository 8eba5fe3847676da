#include "platform/linux/x11/XCaptureSession.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <utility>

#include "platform/Log.h"
#include "platform/linux/x11/XConnect.h"
#include "platform/linux/x11/XFrameSource.h"
#include "platform/media/FramePacer.h"
#include "platform/posix/Thread.h"

namespace tessel::platform {
namespace {

using Duration = Clock::Duration;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kStart = "-[XCaptureSession startRunning]";

// How often a part of the screen is checked for unreported changes, and how long a change found may
// still be reported late.
constexpr Duration kVerifyInterval = seconds{1};
constexpr Duration kLateReportTimeout = milliseconds{50};

// The thread wakes this early for a frame and then polls the clock until the frame is due. Wake-ups
// are late by about as much; since no frame may be early, that would lower the frame rate.
constexpr Duration kWakeLead = microseconds{150};

// Between attempts to connect to a server that does not answer.
constexpr Duration kReconnectInterval = seconds{1};

}  // namespace

// The capture thread. Other threads call `stop` only.
class XCaptureSession::Loop {
 public:
  Loop(std::string display, const CaptureInput& input, const CaptureOutput& output,
       std::shared_ptr<SampleDelivery> delivery, std::shared_ptr<Clock> clock)
      : display_{std::move(display)},
        input_{input},
        output_{output},
        delivery_{std::move(delivery)},
        clock_{std::move(clock)},
        wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)},
        pacer_{input.minFrameDuration} {}

  ~Loop() {
    if (wake_ >= 0) close(wake_);
  }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  /// False when the system had no descriptor left for `stop` to wake the thread with.
  bool canBeStopped() const { return wake_ >= 0; }

  /// Any thread.
  void stop() const {
    const std::uint64_t one = 1;
    // Fails only when the counter is full: the descriptor is readable then, too.
    [[maybe_unused]] const ssize_t written = write(wake_, &one, sizeof(one));
  }

  void run() {
    // The default slack of 50 us would make each wake-up that much later.
    prctl(PR_SET_TIMERSLACK, 1);
    bool hasAnswered = false;
    bool silenceLogged = false;
    bool lastAttempt = false;
    do {
      source_ = XFrameSource::open(display_, input_.displayID, static_cast<int>(output_.size.width),
                                   static_cast<int>(output_.size.height));
      if (source_) {
        hasAnswered = true;
        silenceLogged = false;
        lastAttempt = false;
        if (!capture()) break;  // stopped
      }
      const bool silent = source_ ? source_->silent() : isSilentXServer(display_);
      source_.reset();
      if (silent) {
        if (!silenceLogged) log("%s: no frame comes until the X server answers again", kStart);
        silenceLogged = true;
        lastAttempt = false;
      } else if (lastAttempt) {
        log(hasAnswered ? "%s: no further frame will come: the X server is gone"
                        : "%s: no frame will come: the X server cannot be read",
            kStart);
        return;
      } else {
        // A server that was silent may have answered since.
        lastAttempt = true;
      }
    } while (waitUntil(clock_->uptime() + kReconnectInterval));
    source_.reset();
  }

 private:
  // Captures until the server is lost; false when stopped.
  bool capture() {
    nextVerify_ = clock_->uptime() + kVerifyInterval;
    do {
      source_->processEvents();
      if (source_->changed() && clock_->uptime() >= pacer_.due() - kWakeLead) captureFrame();
      if (const Duration now = clock_->uptime(); now >= nextVerify_) {
        nextVerify_ = now + (source_->verify() ? kLateReportTimeout : kVerifyInterval);
      }
      // Events that arrived with a reply are in xcb's queue already: poll would not wake for them.
      source_->processEvents();
    } while (source_->alive() && waitForWork());
    return !source_->alive();
  }

  void captureFrame() {
    Duration now{};
    do {
      now = clock_->uptime();
    } while (!pacer_.isDue(now));
    pacer_.advance(now);
    if (delivery_->busy()) {
      // The changes stay to be captured, so that the last one is never lost. A poll does not know
      // whether there are any.
      if (!source_->polling()) delivery_->drop({nullptr, now});
      return;
    }
    if (std::shared_ptr<const PixelBuffer> picture = source_->capture()) {
      delivery_->deliver({std::move(picture), now});
    }
  }

  // Waits for an event of the server or for the next thing due; false when stopped.
  bool waitForWork() const {
    const Duration frame = source_->changed() ? pacer_.due() - kWakeLead : Duration::max();
    return waitUntil(std::min(frame, nextVerify_), source_->descriptor());
  }

  bool waitUntil(Duration due, int descriptor = -1) const {
    const Duration left = std::max(due - clock_->uptime(), Duration::zero());
    const timespec timeout{left / seconds{1}, (left % seconds{1}).count()};
    std::array<pollfd, 2> files{{{wake_, POLLIN, 0}, {descriptor, POLLIN, 0}}};
    ppoll(files.data(), files.size(), &timeout, nullptr);
    return files[0].revents == 0;
  }

  const std::string display_;
  const CaptureInput input_;
  const CaptureOutput output_;
  const std::shared_ptr<SampleDelivery> delivery_;
  const std::shared_ptr<Clock> clock_;
  const int wake_;  // an eventfd: readable when the thread is to end

  // Used by the capture thread only.
  FramePacer pacer_;
  std::unique_ptr<XFrameSource> source_;
  Duration nextVerify_{};
};

XCaptureSession::XCaptureSession(std::string display, const CaptureInput& input,
                                 const CaptureOutput& output,
                                 const std::weak_ptr<CaptureOutputDelegate>& delegate,
                                 const std::shared_ptr<SerialQueue>& queue,
                                 std::shared_ptr<Clock> clock)
    : display_{std::move(display)},
      input_{input},
      output_{output},
      delivery_{std::make_shared<SampleDelivery>(delegate, queue)},
      clock_{std::move(clock)} {}

XCaptureSession::~XCaptureSession() { stopRunning(); }

void XCaptureSession::startRunning() {
  const MutexLock lock{mutex_};
  if (loop_) return;
  auto loop = std::make_unique<Loop>(display_, input_, output_, delivery_, clock_);
  if (!loop->canBeStopped()) {
    log("%s: no frame will come: there is no file descriptor left", kStart);
    return;
  }
  delivery_->start();
  thread_ = startThread("tessel-capture", [running = loop.get()] { running->run(); });
  loop_ = std::move(loop);
}

void XCaptureSession::stopRunning() {
  {
    const MutexLock lock{mutex_};
    if (loop_) {
      loop_->stop();
      thread_.join();
      loop_.reset();
    }
  }
  delivery_->stop();
}

}  // namespace tessel::platform
