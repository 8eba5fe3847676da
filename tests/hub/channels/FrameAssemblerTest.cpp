#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

#include "apps/tessel-hub/channels/FrameAssembler.h"
#include "platform/base/ByteOrder.h"
#include "tessel/DisplayMessages.h"

namespace tessel::hub {
namespace {

using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

struct FrameRecorder final : FrameAssembler::Sink {
  void onContextRequest(std::span<const std::uint8_t> message) override {
    requests.emplace_back(message.begin(), message.end());
  }
  void onDestroyContext() override { ++destroyed; }
  void onFrame(Bytes frame) override { frames.push_back(std::move(frame)); }
  void onOtherMessage(std::uint8_t command) override { others.push_back(command); }

  std::vector<Bytes> requests;
  std::vector<Bytes> frames;
  Bytes others;
  int destroyed = 0;
};

Bytes payload(std::size_t size) {
  Bytes bytes(size);
  std::uint8_t next = 0;
  std::ranges::generate(bytes, [&next] { return next += 7; });
  return bytes;
}

void append(Bytes& to, std::span<const std::uint8_t> more) {
  to.insert(to.end(), more.begin(), more.end());
}

// Head of a frame's first piece, with the fields that a sender fills.
SimpleTransmitMsg transmitHead(std::size_t piece, std::size_t total, bool more) {
  SimpleTransmitMsg head{};
  const std::span fields{head};
  platform::putLittleEndian<0>(fields, static_cast<std::uint16_t>(56 + piece));
  head[2] = 0x05;
  head[3] = more ? 1 : 0;
  platform::putLittleEndian<12>(fields, std::uint16_t{12});
  head[14] = 1;
  platform::putLittleEndian<16>(fields, static_cast<std::uint32_t>(total + 40));
  platform::putLittleEndian<52>(fields, static_cast<std::uint32_t>(total));
  return head;
}

Bytes continuation(std::span<const std::uint8_t> piece, bool more) {
  Bytes message(4);
  platform::putLittleEndian<0>(std::span<std::uint8_t, 4>{message},
                               static_cast<std::uint16_t>(4 + piece.size()));
  message[2] = 0x05;
  message[3] = more ? 1 : 0;
  append(message, piece);
  return message;
}

// The messages that carry `frame` in pieces of at most 50000 bytes.
Bytes framed(const Bytes& frame) {
  constexpr std::size_t kPiece = 50000;
  const std::size_t first = std::min(frame.size(), kPiece);
  Bytes messages;
  append(messages, transmitHead(first, frame.size(), frame.size() > kPiece));
  append(messages, std::span{frame}.first(first));
  for (std::size_t at = first; at < frame.size(); at += kPiece) {
    const std::size_t left = frame.size() - at;
    append(messages,
           continuation(std::span{frame}.subspan(at, std::min(left, kPiece)), left > kPiece));
  }
  return messages;
}

// The result of feeding `bytes`, `step` at a time.
struct Outcome {
  bool inStep = true;
  std::string problem;
  FrameRecorder seen;
};

Outcome assemble(const Bytes& bytes, std::size_t step) {
  Outcome outcome;
  FrameAssembler assembler{outcome.seen};
  for (std::size_t at = 0; at < bytes.size() && outcome.inStep; at += step) {
    outcome.inStep =
        assembler.feed(std::span{bytes}.subspan(at, std::min(step, bytes.size() - at)));
  }
  outcome.problem = assembler.problem();
  return outcome;
}

Outcome assemble(const Bytes& bytes) { return assemble(bytes, bytes.size()); }

TEST(FrameAssemblerTest, FramesOfOneAndOfSeveralPiecesComeWhole) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{49999}, std::size_t{50000},
                                 std::size_t{50001}, std::size_t{100000}, std::size_t{120000}}) {
    const Bytes frame = payload(size);
    const Outcome outcome = assemble(framed(frame));
    EXPECT_TRUE(outcome.inStep) << outcome.problem;
    EXPECT_THAT(outcome.seen.frames, ElementsAre(frame)) << size;
  }
}

TEST(FrameAssemblerTest, AStreamMayBeCutAnywhere) {
  H264ContextRequestMsg request{};
  DefaultH264ContextRequestMsg(request);
  const Bytes small = payload(300);
  const Bytes large = payload(50300);
  Bytes stream;
  append(stream, request);
  append(stream, framed(small));
  append(stream, framed(large));
  SimpleControlMsg control{};
  DefaultSimpleControlMsg(control);
  append(stream, control);
  append(stream, framed(small));
  append(stream, DefaultDestroyContextMsg());
  for (const std::size_t step : {1, 2, 3, 5, 55, 56, 57, 227, 228, 229, 4096, 65536}) {
    const Outcome outcome = assemble(stream, step);
    EXPECT_TRUE(outcome.inStep) << outcome.problem;
    EXPECT_THAT(outcome.seen.requests, ElementsAre(Bytes(request.begin(), request.end())));
    EXPECT_THAT(outcome.seen.frames, ElementsAre(small, large, small)) << step;
    EXPECT_THAT(outcome.seen.others, ElementsAre(0x06));
    EXPECT_EQ(outcome.seen.destroyed, 1);
  }
}

TEST(FrameAssemblerTest, UnknownCommandsAreSkippedWithTheirBodies) {
  Bytes stream{20, 0, 0x90, 0};
  append(stream, payload(16));
  append(stream, Bytes{4, 0, 0x91, 0});
  append(stream, framed(payload(10)));
  const Outcome outcome = assemble(stream, 1);
  EXPECT_THAT(outcome.seen.others, ElementsAre(0x90, 0x91));
  EXPECT_THAT(outcome.seen.frames, ElementsAre(payload(10)));
}

TEST(FrameAssemblerTest, AnEmptyFrameIsAFrame) {
  const Outcome outcome = assemble(framed({}));
  EXPECT_TRUE(outcome.inStep);
  EXPECT_THAT(outcome.seen.frames, ElementsAre(Bytes{}));
}

TEST(FrameAssemblerTest, LengthsBelowTheHeaderEndTheStream) {
  for (const std::uint8_t length : {0, 1, 2, 3}) {
    EXPECT_FALSE(assemble({length, 0, 0x90, 0}).inStep);
    EXPECT_FALSE(assemble({length, 0, 0x05, 0}).inStep);
  }
}

TEST(FrameAssemblerTest, AStartOfAFrameTooShortForItsHeadEndsTheStream) {
  EXPECT_FALSE(assemble({55, 0, 0x05, 0}).inStep);
}

TEST(FrameAssemblerTest, AContextRequestOfAnotherLengthEndsTheStream) {
  EXPECT_FALSE(assemble({227, 0, 0x02, 0}).inStep);
  EXPECT_FALSE(assemble({229, 0, 0x02, 0}).inStep);
}

TEST(FrameAssemblerTest, AFrameLargerThanTheBoundIsNotBegun) {
  const SimpleTransmitMsg head = transmitHead(50000, FrameAssembler::kMaxFrameLength + 1, true);
  const Outcome outcome = assemble({head.begin(), head.end()});
  EXPECT_FALSE(outcome.inStep);
  EXPECT_EQ(outcome.problem, "a frame of 16777217 bytes");
}

TEST(FrameAssemblerTest, AHeadThatContradictsItselfEndsTheStream) {
  for (const std::size_t at : {12, 14, 16, 52}) {
    Bytes stream = framed(payload(10));
    stream[at] ^= 1;
    EXPECT_FALSE(assemble(stream).inStep) << at;
  }
}

TEST(FrameAssemblerTest, PiecesThatDoNotAddUpEndTheStream) {
  // The only piece is shorter, or longer, than the frame.
  for (const std::size_t total : {9, 11}) {
    const SimpleTransmitMsg head = transmitHead(10, total, false);
    EXPECT_FALSE(assemble({head.begin(), head.end()}).inStep);
  }
  // More is announced where nothing is missing, or a piece brings nothing.
  SimpleTransmitMsg head = transmitHead(10, 10, true);
  EXPECT_FALSE(assemble({head.begin(), head.end()}).inStep);
  head = transmitHead(0, 10, true);
  EXPECT_FALSE(assemble({head.begin(), head.end()}).inStep);
}

TEST(FrameAssemblerTest, AnotherMessageBetweenTwoPiecesEndsTheStream) {
  Bytes stream = framed(payload(60000));
  const std::size_t firstPiece = 56 + 50000;
  stream.resize(firstPiece);
  append(stream, DefaultDestroyContextMsg());
  EXPECT_FALSE(assemble(stream).inStep);
}

TEST(FrameAssemblerTest, NothingIsTakenAfterTheStreamIsOutOfStep) {
  FrameRecorder seen;
  FrameAssembler assembler{seen};
  EXPECT_FALSE(assembler.feed(Bytes{3, 0, 0x90, 0}));
  EXPECT_FALSE(assembler.feed(framed(payload(10))));
  EXPECT_TRUE(seen.frames.empty());
}

TEST(FrameAssemblerTest, RandomBytesAndBrokenStreamsAreSurvived) {
  std::mt19937 random{20};
  const Bytes valid = framed(payload(70000));
  for (int round = 0; round < 300; ++round) {
    Bytes stream = valid;
    if (round % 2 == 0) {
      // Random bytes, but often with a command that is known.
      stream.resize(4096);
      std::ranges::generate(stream, [&random] { return static_cast<std::uint8_t>(random()); });
      stream[2] = static_cast<std::uint8_t>(random() % 8);
    } else {
      for (int flips = 0; flips < 4; ++flips) {
        stream[random() % 64] = static_cast<std::uint8_t>(random());
      }
    }
    const Outcome outcome = assemble(stream, 1 + random() % 5000);
    for (const Bytes& frame : outcome.seen.frames) {
      EXPECT_LE(frame.size(), stream.size());
    }
  }
}

}  // namespace
}  // namespace tessel::hub
