#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "wire/ContextRequest.h"
#include "wire/MessageHeader.h"

namespace tessel::hub {

/// Splits the bytes of a display channel into messages and puts the pieces of a frame together.
/// Holds at most one message and one frame of `kMaxFrameLength`, whatever a sender sends.
///
/// One thread. Calls `Sink` from within `feed`.
class FrameAssembler {
 public:
  static constexpr std::size_t kMaxFrameLength = std::size_t{16} << 20;

  class Sink {
   public:
    /// A whole context request, header included.
    virtual void onContextRequest(std::span<const std::uint8_t> message) = 0;
    virtual void onDestroyContext() = 0;
    /// A whole frame: an Annex B stream.
    virtual void onFrame(std::vector<std::uint8_t> frame) = 0;
    /// A message that the hub has no use for; its body is skipped.
    virtual void onOtherMessage(std::uint8_t command) = 0;

   protected:
    ~Sink() = default;
  };

  explicit FrameAssembler(Sink& sink) : sink_{sink} {}

  /// Takes the next bytes of the stream, cut anywhere. False once the stream is out of step;
  /// `problem` then says why, and no more bytes are taken.
  bool feed(std::span<const std::uint8_t> bytes);

  const std::string& problem() const { return problem_; }

 private:
  /// Of the message being read, of which at least so many bytes are here.
  MessageHeader header() const;
  /// Bytes that the message being read begins with, as far as is known, before its data.
  std::size_t headSize() const;
  void takeHead();
  void takeTransmitHead();
  void takePiece(bool more);
  void takeData(std::span<const std::uint8_t> data);
  void endMessage();
  void fail(std::string problem);

  Sink& sink_;
  std::string problem_;

  // The message being read: its head so far, and the data behind the head still to come.
  std::array<std::uint8_t, ContextRequest::kSize> head_{};
  std::size_t headLength_ = 0;
  bool inData_ = false;
  std::size_t dataLeft_ = 0;

  // The frame being put together.
  bool inFrame_ = false;
  bool lastPiece_ = false;
  std::size_t frameSize_ = 0;
  std::vector<std::uint8_t> frame_;
};

}  // namespace tessel::hub
