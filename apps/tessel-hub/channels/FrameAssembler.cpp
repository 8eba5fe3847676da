#include "apps/tessel-hub/channels/FrameAssembler.h"

#include <algorithm>
#include <utility>

#include "apps/tessel-hub/channels/ContextRequest.h"
#include "platform/base/ByteOrder.h"

namespace tessel::hub {
namespace {

// Header of every message:
//   at  size  field
//    0     2  length, these four bytes included
//    2     1  command
//    3     1  more: 1 if further pieces of the same frame follow
constexpr std::size_t kHeader = 4;

// Head of a frame's first piece:
//   at  size  field
//    0     4  header
//   12     2  12
//   14     1  1
//   16     4  bytes behind this offset, over all pieces: the frame's size + 40
//   52     4  the frame's size
constexpr std::size_t kTransmitHead = 56;
constexpr std::uint32_t kBehindCount = 40;

constexpr std::uint8_t kCreateContext = 0x02;
constexpr std::uint8_t kDestroyContext = 0x04;
constexpr std::uint8_t kSimpleTransmit = 0x05;

}  // namespace

bool FrameAssembler::feed(std::span<const std::uint8_t> bytes) {
  while (problem_.empty() && !bytes.empty()) {
    if (inData_) {
      const std::span<const std::uint8_t> data = bytes.first(std::min(bytes.size(), dataLeft_));
      bytes = bytes.subspan(data.size());
      takeData(data);
      continue;
    }
    const std::size_t missing = headSize() - headLength_;
    const std::span<const std::uint8_t> part = bytes.first(std::min(bytes.size(), missing));
    bytes = bytes.subspan(part.size());
    std::ranges::copy(part, head_.begin() + static_cast<std::ptrdiff_t>(headLength_));
    headLength_ += part.size();
    if (headLength_ == headSize()) takeHead();
  }
  return problem_.empty();
}

std::size_t FrameAssembler::headSize() const {
  if (headLength_ < kHeader) return kHeader;
  const std::span<const std::uint8_t, kHeader> header{head_.data(), kHeader};
  const std::size_t length = platform::getLittleEndian<0, std::uint16_t>(header);
  switch (header[2]) {
    case kCreateContext:
      return length == ContextRequest::kSize ? length : kHeader;
    case kSimpleTransmit:
      return !inFrame_ && length >= kTransmitHead ? kTransmitHead : kHeader;
    default:
      return kHeader;
  }
}

void FrameAssembler::takeHead() {
  const std::span<const std::uint8_t, kHeader> header{head_.data(), kHeader};
  const std::size_t length = platform::getLittleEndian<0, std::uint16_t>(header);
  const std::uint8_t command = header[2];
  if (length < headLength_) return fail("a message of " + std::to_string(length) + " bytes");
  if (inFrame_ && command != kSimpleTransmit) {
    return fail("command " + std::to_string(command) + " between two pieces of a frame");
  }
  dataLeft_ = length - headLength_;
  inData_ = true;
  switch (command) {
    case kCreateContext:
      if (length != ContextRequest::kSize) {
        return fail("a context request of " + std::to_string(length) + " bytes");
      }
      sink_.onContextRequest(std::span{head_}.first(headLength_));
      break;
    case kDestroyContext:
      sink_.onDestroyContext();
      break;
    case kSimpleTransmit:
      inFrame_ ? takeContinuation(header[3] == 1) : takeTransmitHead(header[3] == 1);
      break;
    default:
      sink_.onOtherMessage(command);
  }
  if (dataLeft_ == 0 && problem_.empty()) endMessage();
}

void FrameAssembler::takeTransmitHead(bool more) {
  if (headLength_ != kTransmitHead) return fail("the start of a frame is too short");
  const std::span<const std::uint8_t, kTransmitHead> head{head_.data(), kTransmitHead};
  const std::size_t size = platform::getLittleEndian<52, std::uint32_t>(head);
  if (size > kLargestFrame) return fail("a frame of " + std::to_string(size) + " bytes");
  if (platform::getLittleEndian<12, std::uint16_t>(head) != 12 || head[14] != 1 ||
      platform::getLittleEndian<16, std::uint32_t>(head) != size + kBehindCount) {
    return fail("the start of a frame contradicts itself");
  }
  frameSize_ = size;
  inFrame_ = true;
  takeContinuation(more);
}

void FrameAssembler::takeContinuation(bool more) {
  lastPiece_ = !more;
  const std::size_t left = frameSize_ - frame_.size();
  if (dataLeft_ > left || (lastPiece_ && dataLeft_ < left)) {
    return fail("a piece of " + std::to_string(dataLeft_) + " bytes where a frame lacks " +
                std::to_string(left));
  }
  // Without this a sender could go on for ever inside one frame.
  if (!lastPiece_ && (dataLeft_ == 0 || dataLeft_ == left)) return fail("a piece is missing");
}

void FrameAssembler::takeData(std::span<const std::uint8_t> data) {
  if (inFrame_) frame_.insert(frame_.end(), data.begin(), data.end());
  dataLeft_ -= data.size();
  if (dataLeft_ == 0) endMessage();
}

void FrameAssembler::endMessage() {
  headLength_ = 0;
  inData_ = false;
  if (inFrame_ && lastPiece_) {
    inFrame_ = false;
    sink_.onFrame(std::exchange(frame_, {}));
  }
}

void FrameAssembler::fail(std::string problem) {
  problem_ = std::move(problem);
  frame_ = {};
}

}  // namespace tessel::hub
