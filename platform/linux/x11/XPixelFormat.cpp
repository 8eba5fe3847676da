#include "platform/linux/x11/XPixelFormat.h"

#include <array>
#include <libyuv.h>
#include <vector>

namespace tessel::platform {
namespace {

const xcb_visualtype_t* rootVisual(const xcb_screen_t& screen) {
  for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
       xcb_depth_next(&depth)) {
    for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
         xcb_visualtype_next(&visual)) {
      if (visual.data->visual_id == screen.root_visual) return visual.data;
    }
  }
  return nullptr;
}

// libyuv converts 10-bit pixels by way of 8-bit ones.
void convertDeep(const std::uint8_t* pixels, int stride, const std::array<std::uint8_t*, 3>& to,
                 const std::array<int, 3>& strides, int width, int height) {
  std::vector<std::uint8_t> eightBit(static_cast<std::size_t>(width) * 4 *
                                     static_cast<std::size_t>(height));
  libyuv::AR30ToARGB(pixels, stride, eightBit.data(), width * 4, width, height);
  libyuv::ARGBToI420(eightBit.data(), width * 4, to[0], strides[0], to[1], strides[1], to[2],
                     strides[2], width, height);
}

}  // namespace

std::optional<XPixelFormat> XPixelFormat::of(const XConnection& connection) {
  const xcb_screen_t& screen = connection.screen();
  const xcb_setup_t& setup = connection.setup();
  const xcb_visualtype_t* visual = rootVisual(screen);
  if (visual == nullptr) return std::nullopt;

  XPixelFormat format;
  format.bitsPerPixel_ = 0;
  for (auto each = xcb_setup_pixmap_formats_iterator(&setup); each.rem > 0;
       xcb_format_next(&each)) {
    if (each.data->depth != screen.root_depth) continue;
    format.bitsPerPixel_ = each.data->bits_per_pixel;
    format.scanlinePad_ = each.data->scanline_pad;
  }
  const bool littleEndian = setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
  const std::uint32_t red = visual->red_mask;
  const std::uint32_t blue = visual->blue_mask;
  if (format.bitsPerPixel_ == 32 && red == 0xFF0000 && blue == 0xFF) {
    format.layout_ = littleEndian ? Layout::kBgrx : Layout::kXrgb;
  } else if (format.bitsPerPixel_ == 32 && red == 0xFF && blue == 0xFF0000 && littleEndian) {
    format.layout_ = Layout::kRgbx;
  } else if (format.bitsPerPixel_ == 32 && red == 0x3FF00000 && blue == 0x3FF && littleEndian) {
    format.layout_ = Layout::kRgb30;
  } else if (format.bitsPerPixel_ == 16 && red == 0xF800 && blue == 0x1F && littleEndian) {
    format.layout_ = Layout::kRgb565;
  } else if (format.bitsPerPixel_ == 16 && red == 0x7C00 && blue == 0x1F && littleEndian) {
    format.layout_ = Layout::kRgb555;
  } else {
    return std::nullopt;
  }
  return format;
}

std::size_t XPixelFormat::stride(int width) const {
  const auto pad = static_cast<std::size_t>(scanlinePad_);
  const std::size_t bits =
      static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel_);
  return (bits + pad - 1) / pad * pad / 8;
}

void XPixelFormat::convert(const std::uint8_t* pixels, int width, int height,
                           const PlanarPicture& picture, int x, int y) const {
  const int from = static_cast<int>(stride(width));
  const std::array<int, 3>& strides = picture.strides;
  const std::array<std::uint8_t*, 3> to{
      picture.planes[0] + static_cast<std::ptrdiff_t>(y) * strides[0] + x,
      picture.planes[1] + static_cast<std::ptrdiff_t>(y / 2) * strides[1] + x / 2,
      picture.planes[2] + static_cast<std::ptrdiff_t>(y / 2) * strides[2] + x / 2};

  // libyuv names formats by the order within a little-endian word.
  decltype(&libyuv::ARGBToI420) toI420 = nullptr;
  switch (layout_) {
    case Layout::kBgrx:
      toI420 = &libyuv::ARGBToI420;
      break;
    case Layout::kRgbx:
      toI420 = &libyuv::ABGRToI420;
      break;
    case Layout::kXrgb:
      toI420 = &libyuv::BGRAToI420;
      break;
    case Layout::kRgb565:
      toI420 = &libyuv::RGB565ToI420;
      break;
    case Layout::kRgb555:
      toI420 = &libyuv::ARGB1555ToI420;
      break;
    case Layout::kRgb30:
      convertDeep(pixels, from, to, strides, width, height);
      return;
  }
  toI420(pixels, from, to[0], strides[0], to[1], strides[1], to[2], strides[2], width, height);
}

}  // namespace tessel::platform
