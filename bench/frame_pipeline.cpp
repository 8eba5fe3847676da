// Cost of the frame pipeline, step by step: processor time of the threads that do the work, from a
// private X server of 1920 by 1080 that changes all the time, from one of which a quarter changes,
// and from one that stands still; then, scaled to 1280 by 720, from one that changes all the time.
//
//   frame_pipeline [SECONDS]

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <utility>

#include "bench/CpuTime.h"
#include "bench/Drain.h"
#include "bench/ScrollingPage.h"
#include "display/AnnexB.h"
#include "display/ByteSink.h"
#include "display/FrameSender.h"
#include "platform/Services.h"
#include "platform/base/Mutex.h"
#include "platform/posix/Thread.h"
#include "tests/support/PrivateXServer.h"

namespace tessel::bench {
namespace {

using platform::services;
using std::chrono::duration;

constexpr Size kScreen{1920, 1080};
constexpr Size kSmaller{1280, 720};  // a session that the screen has to be scaled to
constexpr int kFramesPerSecond = 30;
constexpr std::chrono::seconds kSettling{1};

// The display channel: a connection to the drain.
class Channel final : public ByteSink {
 public:
  explicit Channel(const std::string& port)
      : connection_{services().network->makeConnection(
            {"127.0.0.1", port}, false, services().queues->makeSerialQueue("bench-socket"))} {
    connection_->setStateChangedHandler([](platform::ConnectionState, const auto&) {});
    connection_->start();
  }
  ~Channel() { connection_->cancel(); }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  bool sendBuffer(const void* bytes, std::size_t length) override {
    connection_->send(bytes, length);
    return true;
  }

 private:
  const std::shared_ptr<platform::NetworkConnection> connection_;
};

// What has been sent, and the processor time that it took.
struct Sent {
  int frames = 0;
  std::size_t bytes = 0;
  Milliseconds converting{};
  Milliseconds framing{};
};

// The work of the encoder's callback, measured. `frame` on the encoder's thread, `sent` on any.
class Sending {
 public:
  explicit Sending(const std::string& port) : channel_{port} {}

  void frame(const platform::EncodedSampleBuffer* buffer) {
    if (buffer == nullptr) return;
    const Milliseconds begin = threadTime();
    if (!convertToAnnexB(*buffer, stream_)) return;
    const Milliseconds converted = threadTime();
    sendFrame(channel_, stream_.data(), stream_.size());
    const platform::MutexLock lock{mutex_};
    ++sent_.frames;
    sent_.bytes += stream_.size();
    sent_.converting += converted - begin;
    sent_.framing += threadTime() - converted;
  }

  Sent sent() const {
    const platform::MutexLock lock{mutex_};
    return sent_;
  }

 private:
  Channel channel_;
  Bytes stream_;  // the encoder thread's
  mutable platform::Mutex mutex_;
  Sent sent_ TESSEL_GUARDED_BY(mutex_);
};

// Hands captured frames to the encoder.
class Encoding final : public platform::CaptureOutputDelegate {
 public:
  explicit Encoding(std::shared_ptr<platform::CompressionSession> encoder)
      : encoder_{std::move(encoder)} {}

  void didOutputSampleBuffer(const platform::SampleBuffer& sample) override {
    encoder_->encodeFrame(sample.imageBuffer, {++captured, kFramesPerSecond});
  }
  void didDropSampleBuffer(const platform::SampleBuffer&) override { ++dropped; }

  std::atomic<int> captured = 0;
  std::atomic<int> dropped = 0;

 private:
  const std::shared_ptr<platform::CompressionSession> encoder_;
};

// A page that scrolls sixty times a second, as long as this lives.
class Scrolling {
 public:
  explicit Scrolling(ScrollingPage::Extent extent)
      : painting_{platform::startThread("bench-page", [this, extent] {
          ScrollingPage page{extent};
          auto next = std::chrono::steady_clock::now();
          while (moving_) {
            page.step();
            next += std::chrono::milliseconds{16};
            std::this_thread::sleep_until(next);
          }
        })} {}
  ~Scrolling() {
    moving_ = false;
    painting_.join();
  }
  Scrolling(const Scrolling&) = delete;
  Scrolling& operator=(const Scrolling&) = delete;

 private:
  std::atomic<bool> moving_ = true;
  std::thread painting_;
};

void print(const char* step, Milliseconds time, int frames) {
  std::printf("  %-42s %7.3f ms a frame\n", step, time.count() / std::max(1, frames));
}

std::shared_ptr<platform::CompressionSession> makeEncoder(Size size, Sending& sending) {
  auto made = services().videoEncoding->makeCompressionSession(
      static_cast<int>(size.width), static_cast<int>(size.height),
      {.expectedFrameRate = kFramesPerSecond},
      [&sending](platform::Status, std::uint32_t, const platform::EncodedSampleBuffer* buffer) {
        sending.frame(buffer);
      });
  if (std::holds_alternative<platform::Status>(made)) return nullptr;
  auto encoder = std::get<std::shared_ptr<platform::CompressionSession>>(made);
  return encoder->prepareToEncodeFrames() == 0 ? encoder : nullptr;
}

std::shared_ptr<platform::CaptureSession> makeCapture(Size size,
                                                      const std::shared_ptr<Encoding>& encoding) {
  const auto desktop = services().desktops->current();
  const auto screens = desktop->screens();
  if (screens.empty()) return nullptr;
  const platform::CaptureInput input{
      screens.front().tsl_screenNumber(),
      std::chrono::nanoseconds{std::chrono::seconds{1}} / kFramesPerSecond};
  const auto made = desktop->makeCaptureSession(input, platform::CaptureOutput{size}, encoding,
                                                services().queues->makeSerialQueue("bench-sample"));
  const auto* capture = std::get_if<std::shared_ptr<platform::CaptureSession>>(&made);
  return capture == nullptr ? nullptr : *capture;
}

void reportMoving(const char* scene, const Sending& sending, const Encoding& encoding,
                  double seconds) {
  auto before = timeByThread();
  const Sent sentBefore = sending.sent();
  const int dropped = encoding.dropped;
  const auto begin = std::chrono::steady_clock::now();
  std::this_thread::sleep_for(duration<double>{seconds});
  auto after = timeByThread();
  const duration<double> passed = std::chrono::steady_clock::now() - begin;
  const auto spent = [&](const char* thread) { return after[thread] - before[thread]; };

  const Sent sent = sending.sent();
  const int frames = sent.frames - sentBefore.frames;
  const std::size_t bytes = sent.bytes - sentBefore.bytes;
  const Milliseconds sendingTime =
      sent.converting - sentBefore.converting + sent.framing - sentBefore.framing;
  const Milliseconds capture = spent("tessel-capture");
  const Milliseconds encode = spent("tessel-encoder") + spent("bench-sample") - sendingTime;
  const Milliseconds send = sendingTime + spent("bench-socket");
  std::printf("%s: %.1f frames a second, %d late, %.2f Mbit/s\n", scene, frames / passed.count(),
              encoding.dropped - dropped, static_cast<double>(bytes) * 8 / passed.count() / 1e6);
  print("capture, scaling, conversion", capture, frames);
  print("encoding", encode, frames);
  print("Annex B, framing, sending", send, frames);
  print("together", capture + encode + send, frames);
}

void reportStill(const Encoding& encoding, double seconds) {
  std::this_thread::sleep_for(kSettling);
  const int still = encoding.captured;
  const Milliseconds idle = processTime();
  std::this_thread::sleep_for(duration<double>{seconds});
  std::printf("standing still: %d frames, %.2f %% of a core\n", encoding.captured - still,
              (processTime() - idle).count() / (seconds * 1e3) * 100);
}

// Measures a pipeline for a session of this size. False if it cannot be set up.
bool measure(Size size, double seconds) {
  const Drain drain;
  Sending sending{drain.port()};
  const auto encoder = makeEncoder(size, sending);
  if (!encoder) {
    std::fputs("frame_pipeline: no encoder works here\n", stderr);
    return false;
  }
  const auto encoding = std::make_shared<Encoding>(encoder);
  const auto capture = makeCapture(size, encoding);
  if (!capture) return false;
  const bool scaled = size.width != kScreen.width;
  const auto moving = [&](const char* scene, ScrollingPage::Extent extent) {
    const Scrolling page{extent};
    std::this_thread::sleep_for(kSettling);
    reportMoving(scene, sending, *encoding, seconds);
  };

  capture->startRunning();
  if (scaled) {
    moving("all of the screen changes, scaled to 1280 by 720", ScrollingPage::Extent::wholeScreen);
  } else {
    moving("all of the screen changes", ScrollingPage::Extent::wholeScreen);
    moving("a quarter of the screen changes", ScrollingPage::Extent::quarter);
    reportStill(*encoding, seconds);
  }
  capture->stopRunning();
  encoder->invalidate();
  return true;
}

int run(double seconds) {
  test::PrivateXServer::Options options;
  options.width = static_cast<int>(kScreen.width);
  options.height = static_cast<int>(kScreen.height);
  const test::PrivateXServer server{options};
  if (services().desktops->select(ScreenSource::kAutomatic, kScreen)) {
    std::fputs("frame_pipeline: no X server; is Xvfb installed?\n", stderr);
    return 1;
  }
  return measure(kScreen, seconds) && measure(kSmaller, seconds) ? 0 : 1;
}

}  // namespace
}  // namespace tessel::bench

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  return tessel::bench::run(seconds > 0 ? seconds : 10);
}
