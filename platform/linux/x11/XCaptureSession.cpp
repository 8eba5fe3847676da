#include "platform/linux/x11/XCaptureSession.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

#include "platform/Log.h"
#include "platform/linux/x11/XConnect.h"
#include "platform/linux/x11/XFrameSource.h"
#include "platform/posix/PipeSignalGuard.h"
#include "platform/posix/Thread.h"

namespace tessel::platform {
namespace {

using Duration = Clock::Duration;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kStart = "-[XCaptureSession startRunning]";

// How often the server's word is checked, and how long it is given to tell late.
constexpr Duration kVerifyInterval = seconds{1};
constexpr Duration kVerifyAgain = milliseconds{50};

// How often a server that does not answer is tried again.
constexpr Duration kRetryInterval = seconds{1};

}  // namespace

// What the capture thread does.
class XCaptureSession::Loop {
 public:
  Loop(std::string display, const CaptureInput& input, const CaptureOutput& output,
       std::shared_ptr<SampleDelivery> delivery, std::shared_ptr<Clock> clock)
      : display_{std::move(display)},
        input_{input},
        output_{output},
        frameDuration_{input.minFrameDuration},
        delivery_{std::move(delivery)},
        clock_{std::move(clock)},
        wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {}

  ~Loop() { close(wake_); }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  /// Any thread.
  void stop() const {
    const std::uint64_t one = 1;
    // It can only fail when it has been told often enough.
    [[maybe_unused]] const ssize_t written = write(wake_, &one, sizeof(one));
  }

  void run() {
    const PipeSignalGuard guard;
    bool hasAnswered = false;
    bool toldOfSilence = false;
    bool lastTry = false;
    do {
      source_ = XFrameSource::open(display_, input_.displayID, static_cast<int>(output_.size.width),
                                   static_cast<int>(output_.size.height));
      if (source_) {
        hasAnswered = true;
        toldOfSilence = false;
        lastTry = false;
        if (!capture()) break;  // told to stop
      }
      const bool silent = source_ ? source_->silent() : isSilentXServer(display_);
      source_.reset();
      if (silent) {
        if (!toldOfSilence) log("%s: no frame comes until the X server answers again", kStart);
        toldOfSilence = true;
        lastTry = false;
      } else if (lastTry) {
        log(hasAnswered ? "%s: no further frame will come: the X server is gone"
                        : "%s: no frame will come: the X server cannot be read",
            kStart);
        return;
      } else {
        // One that was silent may have answered just now.
        lastTry = true;
      }
    } while (sleepUntil(clock_->uptime() + kRetryInterval));
    source_.reset();
  }

 private:
  // Until the server is lost, or false when told to stop.
  bool capture() {
    nextFrame_ = clock_->uptime();
    nextVerify_ = nextFrame_ + kVerifyInterval;
    do {
      source_->processEvents();
      const Duration now = clock_->uptime();
      if (source_->changed() && now >= nextFrame_) frame(now);
      if (now >= nextVerify_) {
        nextVerify_ = now + (source_->verify() ? kVerifyAgain : kVerifyInterval);
      }
      // What the server said while it was asked has been read already: poll would not wake for it.
      source_->processEvents();
    } while (source_->alive() && sleep());
    return !source_->alive();
  }

  void frame(Duration now) {
    // The rhythm is kept, unless a frame came so late that the next would follow at once.
    nextFrame_ = std::max(nextFrame_ + frameDuration_, now + frameDuration_ / 2);
    if (delivery_->busy()) {
      // What has changed stays to be captured, so that the last change is never lost.
      if (!source_->polling()) delivery_->drop({nullptr, now});
      return;
    }
    if (std::shared_ptr<const PixelBuffer> picture = source_->capture()) {
      delivery_->deliver({std::move(picture), now});
    }
  }

  // Until the server says something, or something is due. False when told to stop.
  bool sleep() {
    const Duration due = source_->changed() ? std::min(nextFrame_, nextVerify_) : nextVerify_;
    return sleepUntil(due, source_->descriptor());
  }

  bool sleepUntil(Duration due, int descriptor = -1) const {
    const Duration left = std::max(due - clock_->uptime(), Duration::zero());
    const timespec timeout{left / seconds{1}, (left % seconds{1}).count()};
    std::array<pollfd, 2> files{{{wake_, POLLIN, 0}, {descriptor, POLLIN, 0}}};
    ppoll(files.data(), files.size(), &timeout, nullptr);
    return files[0].revents == 0;
  }

  const std::string display_;
  const CaptureInput input_;
  const CaptureOutput output_;
  const Duration frameDuration_;
  const std::shared_ptr<SampleDelivery> delivery_;
  const std::shared_ptr<Clock> clock_;
  const int wake_;  // an eventfd: readable when the thread is to end

  // The capture thread's own.
  std::unique_ptr<XFrameSource> source_;
  Duration nextFrame_{};
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
  delivery_->start();
  loop_ = std::make_unique<Loop>(display_, input_, output_, delivery_, clock_);
  thread_ = startThread("tessel-capture", [loop = loop_.get()] { loop->run(); });
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
