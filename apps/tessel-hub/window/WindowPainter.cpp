#include "apps/tessel-hub/window/WindowPainter.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace tessel::hub {
namespace {

// A sender reports its cursor's place, not its shape: an arrow that points there.
// X is black, . white, the rest transparent.
constexpr int kCursorWidth = 12;
constexpr int kCursorHeight = 17;
constexpr std::array<std::string_view, kCursorHeight> kCursor{
    "X           ", "XX          ", "X.X         ", "X..X        ", "X...X       ", "X....X      ",
    "X.....X     ", "X......X    ", "X.......X   ", "X........X  ", "X.....XXXXX ", "X..X..X     ",
    "X.X X..X    ", "XX  X..X    ", "X    X..X   ", "     X..X   ", "      XX    ",
};

SDL_YUV_CONVERSION_MODE coloursOf(const Picture& picture) {
  if (picture.fullRange) return SDL_YUV_CONVERSION_JPEG;
  return picture.bt709 ? SDL_YUV_CONVERSION_BT709 : SDL_YUV_CONVERSION_BT601;
}

}  // namespace

WindowPainter::WindowPainter(SDL_Window* window) {
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
  renderer_.reset(SDL_CreateRenderer(window, -1, 0));
  if (!renderer_) renderer_.reset(SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE));
  if (!renderer_) throw std::runtime_error{SDL_GetError()};
  makeCursor();
}

void WindowPainter::makeCursor() {
  std::array<std::uint32_t, static_cast<std::size_t>(kCursorWidth) * kCursorHeight> pixels{};
  std::size_t at = 0;
  for (const std::string_view row : kCursor) {
    for (const char c : row) pixels.at(at++) = c == 'X' ? 0xFF000000 : c == '.' ? 0xFFFFFFFF : 0;
  }
  cursor_.reset(SDL_CreateTexture(renderer_.get(), SDL_PIXELFORMAT_ARGB8888,
                                  SDL_TEXTUREACCESS_STATIC, kCursorWidth, kCursorHeight));
  SDL_UpdateTexture(cursor_.get(), nullptr, pixels.data(), kCursorWidth * 4);
  SDL_SetTextureBlendMode(cursor_.get(), SDL_BLENDMODE_BLEND);
}

void WindowPainter::setPicture(const Picture& picture) {
  const SDL_YUV_CONVERSION_MODE colours = coloursOf(picture);
  if (!picture_ || pictureWidth_ != picture.width || pictureHeight_ != picture.height ||
      colours != colours_) {
    SDL_SetYUVConversionMode(colours);
    picture_.reset(SDL_CreateTexture(renderer_.get(), SDL_PIXELFORMAT_IYUV,
                                     SDL_TEXTUREACCESS_STREAMING, picture.width, picture.height));
    pictureWidth_ = picture.width;
    pictureHeight_ = picture.height;
    colours_ = colours;
  }
  SDL_UpdateYUVTexture(picture_.get(), nullptr, picture.y, picture.yStride, picture.u,
                       picture.uStride, picture.v, picture.vStride);
}

void WindowPainter::clear() { picture_.reset(); }

void WindowPainter::paint(std::optional<SDL_Point> cursor, int width, int height) {
  SDL_SetRenderDrawColor(renderer_.get(), 0, 0, 0, SDL_ALPHA_OPAQUE);
  SDL_RenderClear(renderer_.get());
  int windowWidth = 0;
  int windowHeight = 0;
  SDL_GetRendererOutputSize(renderer_.get(), &windowWidth, &windowHeight);
  box_ = Letterbox::fit(width, height, windowWidth, windowHeight);
  if (picture_) {
    const SDL_Rect place{box_.x, box_.y, box_.width, box_.height};
    SDL_RenderCopy(renderer_.get(), picture_.get(), nullptr, &place);
    if (cursor) paintCursor(*cursor, width, height);
  }
  SDL_RenderPresent(renderer_.get());
}

void WindowPainter::paintCursor(SDL_Point cursor, int width, int height) {
  if (width <= 0 || height <= 0) return;
  const SDL_Rect place{box_.x + Letterbox::scaled(cursor.x, box_.width, width),
                       box_.y + Letterbox::scaled(cursor.y, box_.height, height), kCursorWidth,
                       kCursorHeight};
  SDL_RenderCopy(renderer_.get(), cursor_.get(), nullptr, &place);
}

}  // namespace tessel::hub
