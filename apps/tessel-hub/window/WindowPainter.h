#pragma once

#include <SDL.h>
#include <memory>
#include <optional>

#include "apps/tessel-hub/video/Picture.h"
#include "apps/tessel-hub/window/Letterbox.h"

namespace tessel::hub {

/// Paints a window: the picture, and the sender's cursor on it.
///
/// Main thread.
class WindowPainter {
 public:
  /// Throws std::runtime_error if this display offers no way to paint.
  explicit WindowPainter(SDL_Window* window);

  /// `paint` shows this picture from now on.
  void setPicture(const Picture& picture);
  void clear();

  /// Paints everything. `cursor` is a place in a session of `width` by `height`.
  void paint(std::optional<SDL_Point> cursor, int width, int height);

  /// Where the last `paint` put the picture.
  const Letterbox& box() const { return box_; }

 private:
  struct Free {
    void operator()(SDL_Renderer* renderer) const { SDL_DestroyRenderer(renderer); }
    void operator()(SDL_Texture* texture) const { SDL_DestroyTexture(texture); }
  };

  void makeCursor();
  void paintCursor(SDL_Point cursor, int width, int height);

  std::unique_ptr<SDL_Renderer, Free> renderer_;
  std::unique_ptr<SDL_Texture, Free> picture_;
  std::unique_ptr<SDL_Texture, Free> cursor_;
  int pictureWidth_ = 0;
  int pictureHeight_ = 0;
  SDL_YUV_CONVERSION_MODE colours_ = SDL_YUV_CONVERSION_BT601;
  Letterbox box_;
};

}  // namespace tessel::hub
