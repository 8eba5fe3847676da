#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Clock.h"
#include "platform/VideoEncoder.h"
#include "platform/base/Mutex.h"
#include "platform/libav/LibavVideoEncoding.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/media/TestPattern.h"
#include "tests/platform/libav/Decoder.h"

namespace tessel::platform {

/// One encoded frame, copied out of the callback.
struct Encoded {
  Status status = 0;
  std::uint32_t infoFlags = 0;
  bool keyFrame = false;
  std::vector<Bytes> parameterSets;
  std::vector<Bytes> units;
  std::thread::id thread;

  // As a receiver gets it.
  Bytes annexB() const {
    Bytes stream;
    const auto append = [&](const Bytes& unit) {
      stream.insert(stream.end(), {0, 0, 0, 1});
      stream.insert(stream.end(), unit.begin(), unit.end());
    };
    if (keyFrame) std::for_each(parameterSets.begin(), parameterSets.end(), append);
    std::for_each(units.begin(), units.end(), append);
    return stream;
  }
};

/// Takes the encoder's output on its thread; the test waits for it.
class Output {
 public:
  CompressionOutputCallback callback() {
    return [this](Status status, std::uint32_t infoFlags, const EncodedSampleBuffer* buffer) {
      Encoded encoded;
      encoded.status = status;
      encoded.infoFlags = infoFlags;
      encoded.thread = std::this_thread::get_id();
      if (buffer != nullptr) copy(*buffer, encoded);
      const MutexLock lock{mutex_};
      frames_.push_back(std::move(encoded));
      changed_.notify_all();
    };
  }

  /// The next frame; one with status -1 if none comes in time.
  Encoded next() {
    MutexLock lock{mutex_};
    if (!changed_.wait_for(lock.native(), std::chrono::seconds{20},
                           [this]() TESSEL_REQUIRES(mutex_) { return !frames_.empty(); })) {
      Encoded none;
      none.status = -1;
      return none;
    }
    Encoded encoded = std::move(frames_.front());
    frames_.pop_front();
    return encoded;
  }

  std::size_t waiting() const {
    const MutexLock lock{mutex_};
    return frames_.size();
  }

 private:
  static void copy(const EncodedSampleBuffer& buffer, Encoded& to) {
    to.keyFrame = !buffer.notSync().value();
    const FormatDescription* description = buffer.formatDescription();
    if (description != nullptr) {
      const auto count = std::get<std::size_t>(description->parameterSetCount());
      for (std::size_t index = 0; index < count; ++index) {
        const auto set = std::get<std::span<const std::uint8_t>>(description->parameterSet(index));
        to.parameterSets.emplace_back(set.begin(), set.end());
      }
    }
    const auto units = buffer.nalUnits();
    for (const NalUnit unit : std::get<std::span<const NalUnit>>(units)) {
      to.units.emplace_back(unit.begin(), unit.end());
    }
  }

  mutable Mutex mutex_;
  std::condition_variable changed_;
  std::deque<Encoded> frames_ TESSEL_GUARDED_BY(mutex_);
};

/// Stands still but for the test, which moves it while no frame is under way.
class ClockByHand final : public Clock {
 public:
  Date now() override { return Date{}; }
  Duration uptime() override { return uptime_.load(); }
  void sleep(Duration duration) override { advance(duration); }
  bool wait(std::unique_lock<std::mutex>&, std::condition_variable&, std::optional<Duration>,
            const std::function<bool()>& ready) override {
    return ready();
  }
  void advance(Duration duration) { uptime_ = uptime_.load() + duration; }

 private:
  std::atomic<Duration> uptime_{Duration{}};
};

inline LibavVideoEncoding videoEncoding(
    std::shared_ptr<Clock> clock = std::make_shared<ClockByHand>()) {
  return LibavVideoEncoding{std::move(clock)};
}

inline std::shared_ptr<CompressionSession> makeSession(
    int width, int height, Output& output,
    std::shared_ptr<Clock> clock = std::make_shared<ClockByHand>()) {
  auto made =
      videoEncoding(std::move(clock)).makeCompressionSession(width, height, {}, output.callback());
  if (std::holds_alternative<Status>(made)) return nullptr;
  auto session = std::get<std::shared_ptr<CompressionSession>>(made);
  return session->prepareToEncodeFrames() == 0 ? session : nullptr;
}

inline PooledPicture patternPicture(int width, int height, std::uint32_t counter) {
  PooledPicture taken = PixelBufferPool{width, height}.take();
  const TestPattern pattern{width, height};
  paint(pattern.background(), taken.picture);
  paint(pattern.foreground(counter), taken.picture);
  return taken;
}

/// A page of small black marks on white, as hard to encode as a page of text.
inline PooledPicture textPicture(int width, int height, int scrolled) {
  PooledPicture taken = PixelBufferPool{width, height}.take();
  std::vector<FilledRectangle> page{{0, 0, width, height, 0xFFFFFF}};
  for (int line = -2; line < height / 16 + 2; ++line) {
    std::uint32_t letter = static_cast<std::uint32_t>(line + 100 + scrolled / 16) * 2654435761U;
    for (int x = 8; x < width - 16; x += 8) {
      letter = letter * 1664525U + 1013904223U;
      const int y = line * 16 + scrolled % 16;
      if (letter >> 29U == 0) continue;  // a space
      page.push_back({x + static_cast<int>(letter >> 8U & 3U), y, 1, 10, 0x101010});
      page.push_back({x, y + static_cast<int>(letter >> 16U & 7U), 6, 1, 0x202060});
      if ((letter >> 24U & 1U) != 0) page.push_back({x + 4, y + 3, 1, 7, 0x101010});
    }
  }
  paint(page, taken.picture);
  return taken;
}

inline double lumaPSNR(const PixelBuffer& sent, const AVFrame& shown) {
  double squares = 0;
  for (int y = 0; y < shown.height; ++y) {
    for (int x = 0; x < shown.width; ++x) {
      const double difference =
          sent.planes[0][y * sent.strides[0] + x] - shown.data[0][y * shown.linesize[0] + x];
      squares += difference * difference;
    }
  }
  const double mean = squares / (static_cast<double>(shown.width) * shown.height);
  return mean == 0 ? 100 : 10 * std::log10(255.0 * 255.0 / mean);
}

}  // namespace tessel::platform
