#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/PixelBufferPool.h"
#include "platform/TestPattern.h"
#include "platform/VideoEncoder.h"
#include "platform/linux/LibavVideoEncoding.h"
#include "platform/linux/NalUnits.h"
#include "tests/platform/Decoder.h"
#include "tests/support/ThreadSignals.h"

namespace tessel::platform {
namespace {

// One encoded frame, copied out of the callback.
struct Encoded {
  Status status = 0;
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

std::vector<Bytes> splitLengthPrefixed(std::span<const std::uint8_t> data) {
  std::vector<Bytes> units;
  while (data.size() > 4) {
    const std::size_t length = static_cast<std::size_t>(data[0]) << 24U |
                               static_cast<std::size_t>(data[1]) << 16U |
                               static_cast<std::size_t>(data[2]) << 8U | data[3];
    data = data.subspan(4);
    if (length > data.size()) return {};
    units.emplace_back(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length));
    data = data.subspan(length);
  }
  return data.empty() ? units : std::vector<Bytes>{};
}

// Takes the encoder's output on its thread; the test waits for it.
class Output {
 public:
  CompressionOutputCallback callback() {
    return [this](Status status, std::uint32_t, const EncodedSampleBuffer* buffer) {
      Encoded encoded;
      encoded.status = status;
      encoded.thread = std::this_thread::get_id();
      if (buffer != nullptr) copy(*buffer, encoded);
      const std::lock_guard lock{mutex_};
      frames_.push_back(std::move(encoded));
      changed_.notify_all();
    };
  }

  /// The next frame; one with status -1 when none comes in time.
  Encoded next() {
    std::unique_lock lock{mutex_};
    if (!changed_.wait_for(lock, std::chrono::seconds{20}, [this] { return !frames_.empty(); })) {
      Encoded none;
      none.status = -1;
      return none;
    }
    Encoded encoded = std::move(frames_.front());
    frames_.pop_front();
    return encoded;
  }

  std::size_t waiting() const {
    const std::lock_guard lock{mutex_};
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
    to.units = splitLengthPrefixed(std::get<std::span<const std::uint8_t>>(buffer.dataBuffer()));
  }

  mutable std::mutex mutex_;  // guards frames_
  std::condition_variable changed_;
  std::deque<Encoded> frames_;
};

std::shared_ptr<CompressionSession> makeSession(int width, int height, Output& output) {
  auto made = LibavVideoEncoding{}.makeCompressionSession(width, height, output.callback());
  if (std::holds_alternative<Status>(made)) return nullptr;
  auto session = std::get<std::shared_ptr<CompressionSession>>(made);
  session->setAllowFrameReordering(false);
  session->setRealTime(true);
  session->setExpectedFrameRate(30);
  return session->prepareToEncodeFrames() == 0 ? session : nullptr;
}

PooledPicture patternPicture(int width, int height, std::uint32_t counter) {
  PooledPicture taken = PixelBufferPool{width, height}.take();
  const TestPattern pattern{width, height};
  paint(pattern.background(), taken.picture);
  paint(pattern.foreground(counter), taken.picture);
  return taken;
}

// A page of small black marks on white, as hard to encode as a page of text.
PooledPicture textPicture(int width, int height, int scrolled) {
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

double lumaPSNR(const PixelBuffer& sent, const AVFrame& shown) {
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

TEST(VideoEncoderTest, StreamDecodesFrameByFrameInOrder) {
  Output output;
  const auto session = makeSession(1280, 720, output);
  ASSERT_NE(session, nullptr);
  Decoder decoder;
  for (std::uint32_t counter = 1; counter <= 40; ++counter) {
    ASSERT_EQ(session->encodeFrame(patternPicture(1280, 720, counter).buffer, {counter, 30}), 0);
    const Encoded encoded = output.next();
    ASSERT_EQ(encoded.status, 0);
    EXPECT_EQ(encoded.keyFrame, counter == 1);
    EXPECT_NE(encoded.thread, std::this_thread::get_id());
    const AVFrame* shown = decoder.decode(encoded.annexB());
    ASSERT_NE(shown, nullptr) << "frame " << counter;
    EXPECT_EQ(shown->width, 1280);
    EXPECT_EQ(shown->height, 720);
    EXPECT_NE(shown->pict_type, AV_PICTURE_TYPE_B);
    EXPECT_EQ(readFrameCounter(shown->data[0], shown->linesize[0], 1280, 720), counter);
  }
}

TEST(VideoEncoderTest, TextIsSharp) {
  Output output;
  const auto session = makeSession(1280, 720, output);
  ASSERT_NE(session, nullptr);
  Decoder decoder;
  for (int frame = 0; frame < 10; ++frame) {
    const PooledPicture page = textPicture(1280, 720, frame * 7);
    ASSERT_EQ(session->encodeFrame(page.buffer, {frame, 30}), 0);
    const AVFrame* shown = decoder.decode(output.next().annexB());
    ASSERT_NE(shown, nullptr);
    EXPECT_GT(lumaPSNR(*page.buffer, *shown), 30) << "frame " << frame;
  }
}

TEST(VideoEncoderTest, ParameterSetsStandApartFromTheFrames) {
  Output output;
  const auto session = makeSession(640, 360, output);
  ASSERT_NE(session, nullptr);
  for (std::uint32_t counter = 1; counter <= 3; ++counter) {
    ASSERT_EQ(session->encodeFrame(patternPicture(640, 360, counter).buffer, {counter, 30}), 0);
    const Encoded encoded = output.next();
    ASSERT_EQ(encoded.parameterSets.size(), 2U);
    EXPECT_EQ(nalType(encoded.parameterSets[0]), NalType::sequenceParameterSet);
    EXPECT_EQ(nalType(encoded.parameterSets[1]), NalType::pictureParameterSet);
    ASSERT_FALSE(encoded.units.empty());
    for (const Bytes& unit : encoded.units) {
      EXPECT_EQ(nalType(unit), counter == 1 ? NalType::idrSlice : NalType::slice);
    }
  }
}

TEST(VideoEncoderTest, ColoursAreTold) {
  Output output;
  const auto session = makeSession(640, 360, output);
  ASSERT_NE(session, nullptr);
  ASSERT_EQ(session->encodeFrame(patternPicture(640, 360, 1).buffer, {1, 30}), 0);
  Decoder decoder;
  const AVFrame* shown = decoder.decode(output.next().annexB());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->colorspace, AVCOL_SPC_SMPTE170M);
  EXPECT_EQ(shown->color_range, AVCOL_RANGE_MPEG);
}

TEST(VideoEncoderTest, OddSizesAreCutToEvenOnes) {
  Output output;
  const auto session = makeSession(641, 361, output);
  ASSERT_NE(session, nullptr);
  Decoder decoder;
  ASSERT_EQ(session->encodeFrame(patternPicture(641, 361, 5).buffer, {5, 30}), 0);
  const AVFrame* shown = decoder.decode(output.next().annexB());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->width, 640);
  EXPECT_EQ(shown->height, 360);
  EXPECT_EQ(readFrameCounter(shown->data[0], shown->linesize[0], 640, 360), 5U);
}

TEST(VideoEncoderTest, KeyFrameComesEveryTenSeconds) {
  Output output;
  const auto session = makeSession(64, 48, output);
  ASSERT_NE(session, nullptr);
  const PooledPicture picture = patternPicture(64, 48, 1);
  for (int frame = 1; frame <= 301; ++frame) {
    ASSERT_EQ(session->encodeFrame(picture.buffer, {frame, 30}), 0);
    ASSERT_EQ(output.next().keyFrame, frame == 1 || frame == 301) << "frame " << frame;
  }
}

TEST(VideoEncoderTest, TimeThatStandsStillIsNoObstacle) {
  Output output;
  const auto session = makeSession(64, 48, output);
  ASSERT_NE(session, nullptr);
  for (const int value : {9, 9, 3, 10}) {
    ASSERT_EQ(session->encodeFrame(patternPicture(64, 48, 1).buffer, {value, 30}), 0);
    EXPECT_EQ(output.next().status, 0);
  }
}

TEST(VideoEncoderTest, NothingComesAfterInvalidateFromAnotherThread) {
  for (int round = 0; round < 5; ++round) {
    Output output;
    const auto session = makeSession(1280, 720, output);
    ASSERT_NE(session, nullptr);
    const PooledPicture picture = patternPicture(1280, 720, 1);
    std::thread ending{[&] {
      output.next();
      session->invalidate();
    }};
    Status status = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
    for (int frame = 0; status == 0 || status == AVERROR(EAGAIN); ++frame) {
      status = session->encodeFrame(picture.buffer, {frame, 30});
      if (std::chrono::steady_clock::now() > end) break;
      std::this_thread::yield();
    }
    ending.join();
    EXPECT_EQ(status, AVERROR_EOF);
    const std::size_t waiting = output.waiting();
    EXPECT_EQ(session->encodeFrame(picture.buffer, {1, 30}), AVERROR_EOF);
    session->invalidate();
    EXPECT_EQ(output.waiting(), waiting);
  }
}

TEST(VideoEncoderTest, PictureOfAnotherSizeIsRefused) {
  Output output;
  const auto session = makeSession(640, 360, output);
  ASSERT_NE(session, nullptr);
  const Status status = session->encodeFrame(patternPicture(320, 240, 1).buffer, {1, 30});
  EXPECT_NE(status, 0);
  EXPECT_FALSE(LibavVideoEncoding{}.describe(status).empty());
  EXPECT_NE(session->encodeFrame(nullptr, {1, 30}), 0);
}

TEST(VideoEncoderTest, ImpossibleSizesAreRefused) {
  Output output;
  for (const auto& [width, height] : {std::pair{0, 0}, {1, 720}, {1280, -1}, {100000, 720}}) {
    EXPECT_TRUE(std::holds_alternative<Status>(
        LibavVideoEncoding{}.makeCompressionSession(width, height, output.callback())));
  }
}

TEST(VideoEncoderTest, TellsWhetherItIsHardwareBeforeItIsPrepared) {
  Output output;
  auto made = LibavVideoEncoding{}.makeCompressionSession(640, 360, output.callback());
  const auto session = std::get<std::shared_ptr<CompressionSession>>(made);
  EXPECT_TRUE(std::holds_alternative<bool>(session->usingHardwareAcceleratedVideoEncoder()));
  session->invalidate();
  EXPECT_NE(session->prepareToEncodeFrames(), 0);
}

TEST(NalUnitsTest, StartCodesOfBothLengthsSplit) {
  const Bytes stream{0, 0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x65, 0, 0, 3, 1};
  const std::vector<NalUnit> units = splitAnnexB(stream);
  ASSERT_EQ(units.size(), 3U);
  EXPECT_EQ(Bytes(units[0].begin(), units[0].end()), (Bytes{0x67, 1}));
  EXPECT_EQ(Bytes(units[1].begin(), units[1].end()), (Bytes{0x68, 2}));
  EXPECT_EQ(Bytes(units[2].begin(), units[2].end()), (Bytes{0x65, 0, 0, 3, 1}));
  EXPECT_EQ(nalType(units[2]), NalType::idrSlice);
}

TEST(NalUnitsTest, StreamWithoutStartCodeHasNoUnits) {
  EXPECT_TRUE(splitAnnexB({}).empty());
  EXPECT_TRUE(splitAnnexB(Bytes{0, 0, 1}).empty());
  EXPECT_TRUE(splitAnnexB(Bytes{0, 0, 2, 0, 0}).empty());
}

TEST(NalUnitsTest, LengthGoesInFrontBigEndian) {
  Bytes data{9};
  appendLengthPrefixed(Bytes(258, 7), data);
  ASSERT_EQ(data.size(), 263U);
  EXPECT_EQ(Bytes(data.begin(), data.begin() + 6), (Bytes{9, 0, 0, 1, 2, 7}));
}

TEST(VideoEncoderTest, TheHostsSignalsStayOffItsThread) {
  Output output;
  const auto session = makeSession(64, 48, output);
  ASSERT_NE(session, nullptr);
  ASSERT_EQ(session->encodeFrame(patternPicture(64, 48, 1).buffer, {1, 30}), 0);
  ASSERT_EQ(output.next().status, 0);
  EXPECT_EQ(test::keepsHostSignalsOff("tessel-encoder"), true);
}

}  // namespace
}  // namespace tessel::platform
