#include "apps/tessel-hub/channels/FrameAssembler.h"

#include <algorithm>
#include <utility>

#include "wire/TransmitHeader.h"

namespace tessel::hub {
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

MessageHeader FrameAssembler::header() const {
  return *MessageHeader::parse(std::span{head_}.first(MessageHeader::kSize));
}

std::size_t FrameAssembler::headSize() const {
  if (headLength_ < MessageHeader::kSize) return MessageHeader::kSize;
  const std::size_t length = header().length;
  switch (header().command) {
    case VSCH_CMD_CREATE_CONTEXT:
      return length == ContextRequest::kSize ? length : MessageHeader::kSize;
    case VSCH_CMD_SIMPLE_TRANSMIT:
      return !inFrame_ && length >= TransmitHeader::kSize ? TransmitHeader::kSize
                                                          : MessageHeader::kSize;
    default:
      return MessageHeader::kSize;
  }
}

void FrameAssembler::takeHead() {
  const auto [length, command, more] = header();
  if (length < headLength_) return fail("a message of " + std::to_string(length) + " bytes");
  if (inFrame_ && command != VSCH_CMD_SIMPLE_TRANSMIT) {
    return fail("command " + std::to_string(command) + " between two pieces of a frame");
  }
  dataLeft_ = length - headLength_;
  inData_ = true;
  switch (command) {
    case VSCH_CMD_CREATE_CONTEXT:
      if (length != ContextRequest::kSize) {
        return fail("a context request of " + std::to_string(length) + " bytes");
      }
      sink_.onContextRequest(head_);
      break;
    case VSCH_CMD_DESTROY_CONTEXT:
      sink_.onDestroyContext();
      break;
    case VSCH_CMD_SIMPLE_TRANSMIT:
      inFrame_ ? takePiece(more) : takeTransmitHead();
      break;
    default:
      sink_.onOtherMessage(command);
  }
  if (dataLeft_ == 0 && problem_.empty()) endMessage();
}

void FrameAssembler::takeTransmitHead() {
  if (headLength_ != TransmitHeader::kSize) return fail("the start of a frame is too short");
  const auto head = TransmitHeader::parse(std::span{head_}.first(TransmitHeader::kSize));
  if (!head) return fail("the start of a frame contradicts itself");
  if (head->frameLength > kMaxFrameLength) {
    return fail("a frame of " + std::to_string(head->frameLength) + " bytes");
  }
  frameSize_ = head->frameLength;
  inFrame_ = true;
  takePiece(head->more);
}

void FrameAssembler::takePiece(bool more) {
  lastPiece_ = !more;
  const std::size_t left = frameSize_ - frame_.size();
  if (dataLeft_ > left || (lastPiece_ && dataLeft_ < left)) {
    return fail("a piece of " + std::to_string(dataLeft_) + " bytes where a frame lacks " +
                std::to_string(left));
  }
  // Without this a sender could stay in one frame without end.
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
