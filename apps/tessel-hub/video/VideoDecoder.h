#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "apps/tessel-hub/video/Picture.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace tessel::hub {

/// Decodes one sender's H.264 stream, a frame at a time and without delay.
///
/// One thread.
class VideoDecoder {
 public:
  /// For pictures of about `width` by `height`. Larger ones are not decoded, which bounds the
  /// memory that a stream can ask for. Throws std::runtime_error, with the reason, where H.264
  /// cannot be decoded.
  VideoDecoder(int width, int height);
  ~VideoDecoder();

  VideoDecoder(const VideoDecoder&) = delete;
  VideoDecoder& operator=(const VideoDecoder&) = delete;

  /// The picture of `frame`, a whole Annex B access unit. None if it yields none; `problem` then
  /// says why, or is empty if that is no fault.
  std::optional<Picture> decode(std::span<const std::uint8_t> frame, std::string& problem);

 private:
  struct Free {
    void operator()(AVCodecContext* context) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
  };

  std::optional<Picture> receive(std::string& problem);

  std::unique_ptr<AVCodecContext, Free> context_;
  std::unique_ptr<AVPacket, Free> packet_;
};

}  // namespace tessel::hub
