#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "tessel/DisplayMessages.h"

namespace tessel {

/// H264ContextRequestMsg: asks the hub for an H.264 decoding context of a size. 228 bytes,
/// little-endian; what is not listed is 0. All but the size is constant.
///
///     at  size  value             meaning
///      0     2  228               length
///      2     1  0x02              command
///     12     4  0x01D88000
///     16     2  0x0010
///     18     2  0x0004
///     20     4  12
///     24     4  4
///     28     4  1
///     32     4  12
///     36     4  2
///     44     4  24
///     52     4  3
///     56     4  w * h * bits      image size, wrapped to 32 bits; counts bits, not bytes
///     68     4  72
///     72     4  1
///     76    16  vids              major type
///     92    16  H264              subtype
///    108    16  VideoInfo         format type
///    124     4  88                size of the format block, which starts at 140
///    132     4  1
///    140    16  0, 0, w, h        source rectangle: left, top, right, bottom
///    156    16  0, 0, w, h        target rectangle: left, top, right, bottom
///    172     4  0                 bit rate
///    176     4  0                 bit error rate
///    180     8  0                 average time per frame
///    188     4  40                size of the bitmap header, which starts here
///    192     4  w                 bitmap width
///    196     4  h                 bitmap height, positive
///    200     2  1                 planes
///    202     2  bits              bits per pixel
///    204    24  0                 compression, image size, pels per metre, colours
struct ContextRequest {
  static constexpr std::size_t kSize = sizeof(H264ContextRequestMsg);
  static constexpr std::uint32_t kBitsPerPixel = 12;

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t bitsPerPixel = kBitsPerPixel;

  /// The request whose fields that tell the size are 0.
  static H264ContextRequestMsg withoutSize();

  /// The size that `message` asks for; none unless it has 228 bytes. Whether it is a request at all
  /// shows when it is compared with the `bytes()` of that size.
  static std::optional<ContextRequest> parse(std::span<const std::uint8_t> message);

  H264ContextRequestMsg bytes() const;

  /// Writes the fields that tell the size, and no others.
  void putSize(H264ContextRequestMsg& message) const;
};

}  // namespace tessel
